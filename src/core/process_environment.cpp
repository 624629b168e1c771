#include "core/process_environment.h"

#include <string_view>

extern char** environ;

namespace tw {

std::map<std::string, std::string> processEnvironment() {
  std::map<std::string, std::string> env;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const std::string_view text(*entry);
    const std::size_t equals = text.find('=');
    if (equals != std::string_view::npos) env.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  return env;
}

}  // namespace tw
