#include "screens/project_kinds.h"

namespace tw {

// The shared tables already are the Mac's.
const ProjectKinds& macOSProjectKinds() {
  static const ProjectKinds kinds;
  return kinds;
}

}  // namespace tw
