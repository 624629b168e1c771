#pragma once

#include <map>
#include <optional>
#include <string>

namespace tw::test {

// Sets environment variables (a null value unsets one) for as long as it lives, then puts
// back what was there, so later tests in the same process see the usual environment.
class ScopedEnvironment {
 public:
  explicit ScopedEnvironment(const std::map<std::string, std::optional<std::string>>& values);
  ScopedEnvironment(const std::string& name, const std::optional<std::string>& value)
      : ScopedEnvironment(std::map<std::string, std::optional<std::string>>{{name, value}}) {}
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::map<std::string, std::optional<std::string>> saved_;
};

}  // namespace tw::test
