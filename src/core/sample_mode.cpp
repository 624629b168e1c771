#include "core/sample_mode.h"

#include <cstdlib>

namespace tw {

bool sampleDataMode() { return std::getenv("TIDEWARDEN_SNAPSHOT") != nullptr; }

}  // namespace tw
