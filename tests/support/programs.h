#pragma once

#include <string>

namespace tw::test {

// Whether `program` is on PATH, for tests that skip when a real tool is missing.
[[nodiscard]] bool isInstalled(const std::string& program);

// The path of the built tidewarden program.
[[nodiscard]] const char* tidewardenBinary();

}  // namespace tw::test
