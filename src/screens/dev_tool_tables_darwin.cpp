#include "screens/dev_tool_tables.h"

namespace tw {

const DevToolTables& platformDevToolTables() { return macOSDevToolTables(); }

}  // namespace tw
