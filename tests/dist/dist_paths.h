#pragma once

#include <string>

namespace tw::test {

// Where the installable files are: their sources and what the build made of them.
inline std::string sourcePath(const std::string& relative) { return TIDEWARDEN_SOURCE_DIR "/" + relative; }
inline std::string buildPath(const std::string& relative) { return TIDEWARDEN_BUILD_DIR "/" + relative; }

}  // namespace tw::test
