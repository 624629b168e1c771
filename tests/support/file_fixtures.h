#pragma once

#include <cstdint>
#include <string>

namespace tw::test {

// Sets a file's access and modification times to these many days ago.
void setDaysAgo(const std::string& path, double accessedDaysAgo, double modifiedDaysAgo);

// A file of `bytes` really allocated on disk (no data written, so it is cheap however big).
std::string allocatedFile(const std::string& path, std::int64_t bytes);

// A file `bytes` long with nothing allocated.
std::string sparseFile(const std::string& path, std::int64_t bytes);

}  // namespace tw::test
