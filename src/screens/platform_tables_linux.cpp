#include "screens/large_files.h"
#include "screens/project_kinds.h"
#include "screens/system_data.h"
#include "screens/uninstaller.h"

namespace tw {

const LargeFilesTable& platformLargeFilesTable() { return linuxLargeFilesTable(); }
const UninstallerTable& platformUninstallerTable() { return linuxUninstallerTable(); }
const SystemDataTable& platformSystemDataTable() { return linuxSystemDataTable(); }
const ProjectKinds& platformProjectKinds() { return linuxProjectKinds(); }

}  // namespace tw
