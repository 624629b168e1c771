#include <mach-o/dyld.h>

#include <cstdint>
#include <vector>

#include "core/program_path.h"
#include "fs/file_io.h"

namespace tw {

std::string currentProgramPath() {
  std::uint32_t size = 0;
  _NSGetExecutablePath(nullptr, &size);
  std::vector<char> buffer(size + 1, '\0');
  if (_NSGetExecutablePath(buffer.data(), &size) != 0) return {};
  return resolvedPath(buffer.data()).value_or(std::string(buffer.data()));
}

}  // namespace tw
