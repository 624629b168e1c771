#include "core/program_path.h"

#include "fs/file_io.h"

namespace tw {

std::string currentProgramPath() { return resolvedPath("/proc/self/exe").value_or(std::string()); }

}  // namespace tw
