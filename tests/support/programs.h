#pragma once

#include <string>

namespace tw::test {

// Whether `program` is on PATH, for tests that skip when a real tool is missing.
[[nodiscard]] bool isInstalled(const std::string& program);

}  // namespace tw::test
