#include "core/platform_words.h"

namespace tw {

const PlatformWords& platformWords() { return linuxWords(); }

}  // namespace tw
