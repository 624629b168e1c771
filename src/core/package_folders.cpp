#include "core/package_folders.h"

#include "fs/path.h"

namespace tw {

const std::set<std::string>& packageFolderExtensions() {
  static const std::set<std::string> extensions{"app",       "photoslibrary", "musiclibrary", "bundle", "framework",
                                                "xcodeproj", "xcworkspace",   "xcarchive",    "logicx", "fcpbundle"};
  return extensions;
}

bool isPackageFolder(const std::string& name) {
  const std::string extension = pathExtension(name);
  return !extension.empty() && packageFolderExtensions().contains(extension);
}

}  // namespace tw
