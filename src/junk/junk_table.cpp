#include "junk/junk_table.h"

#include <utility>

#include "fs/path.h"

namespace tw {

JunkSource JunkSource::entries(std::string folder, std::set<std::string> exceptNames) {
  JunkSource source;
  source.kind = Kind::entries;
  source.paths = {std::move(folder)};
  source.exceptNames = std::move(exceptNames);
  return source;
}

JunkSource JunkSource::entriesWithExtensions(std::string folder, std::set<std::string> extensions) {
  JunkSource source = entries(std::move(folder));
  source.extensions = std::move(extensions);
  return source;
}

JunkSource JunkSource::existing(std::vector<std::string> paths) {
  JunkSource source;
  source.kind = Kind::existing;
  source.paths = std::move(paths);
  return source;
}

JunkSource JunkSource::cacheFolders(std::string root, int maxDepth) {
  JunkSource source;
  source.kind = Kind::cacheFolders;
  source.paths = {std::move(root)};
  source.folderNames = cacheFolderNames();
  source.maxDepth = maxDepth;
  return source;
}

JunkSource JunkSource::insideEach(std::string root, std::vector<std::string> insidePaths) {
  JunkSource source;
  source.kind = Kind::insideEach;
  source.paths = {std::move(root)};
  source.insidePaths = std::move(insidePaths);
  return source;
}

JunkSource JunkSource::noteWhenUnreadable(std::string note, bool missingIsEmpty) const {
  JunkSource source = *this;
  source.unreadableNote = std::move(note);
  source.missingIsEmpty = missingIsEmpty;
  return source;
}

const std::set<std::string>& cacheFolderNames() {
  static const std::set<std::string> names{
      "Cache",         "Code Cache", "GPUCache",          "CachedData",      "ShaderCache",
      "GrShaderCache", "DawnCache",  "DawnGraphiteCache", "DawnWebGPUCache", "CachedExtensionVSIXs",
  };
  return names;
}

const JunkTable* junkTableNamed(const std::string& name) {
  if (name == macOSJunkTable().name) return &macOSJunkTable();
  if (name == linuxJunkTable().name) return &linuxJunkTable();
  return nullptr;
}

JunkRoots JunkRoots::of(const Context& context) {
  return {context.home, context.cacheHome, context.configHome, context.dataHome};
}

std::string JunkRoots::expand(const std::string& path) const {
  const std::pair<std::string_view, const std::string*> prefixes[] = {
      {"$XDG_CACHE_HOME", &cacheHome},
      {"$XDG_CONFIG_HOME", &configHome},
      {"$XDG_DATA_HOME", &dataHome},
      {"~", &home},
  };
  for (const auto& [prefix, folder] : prefixes) {
    if (path.starts_with(prefix)) return *folder + path.substr(prefix.size());
  }
  return path;
}

std::string JunkRoots::tilde(const std::string& path) const { return tildePath(path, home); }

}  // namespace tw
