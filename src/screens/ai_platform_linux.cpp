#include "screens/ai_locations.h"

namespace tw {

const ModelLocations& platformModelLocations() { return linuxModelLocations(); }

}  // namespace tw
