#include "screens/large_files.h"
#include "screens/project_kinds.h"
#include "screens/system_data.h"
#include "screens/uninstaller.h"

namespace tw {

const LargeFilesTable& platformLargeFilesTable() { return macOSLargeFilesTable(); }
const UninstallerTable& platformUninstallerTable() { return macOSUninstallerTable(); }
const SystemDataTable& platformSystemDataTable() { return macOSSystemDataTable(); }
const ProjectKinds& platformProjectKinds() { return macOSProjectKinds(); }

}  // namespace tw
