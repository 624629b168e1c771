#include "junk/junk_table.h"

namespace tw {

const JunkTable& platformJunkTable() { return macOSJunkTable(); }

}  // namespace tw
