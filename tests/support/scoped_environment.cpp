#include "support/scoped_environment.h"

#include <cstdlib>

namespace tw::test {
namespace {

void assign(const std::string& name, const std::optional<std::string>& value) {
  if (value) {
    ::setenv(name.c_str(), value->c_str(), 1);
  } else {
    ::unsetenv(name.c_str());
  }
}

}  // namespace

ScopedEnvironment::ScopedEnvironment(const std::map<std::string, std::optional<std::string>>& values) {
  for (const auto& [name, value] : values) {
    const char* old = std::getenv(name.c_str());
    saved_[name] = old != nullptr ? std::optional<std::string>(old) : std::nullopt;
    assign(name, value);
  }
}

ScopedEnvironment::~ScopedEnvironment() {
  for (const auto& [name, value] : saved_) assign(name, value);
}

}  // namespace tw::test
