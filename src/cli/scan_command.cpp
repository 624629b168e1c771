#include <sys/stat.h>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "cli/commands.h"
#include "core/format.h"
#include "core/platform_words.h"
#include "fs/file_io.h"
#include "lens/disk_scanner.h"

namespace tw::CLI {
namespace {

// Each level of the JSON tree is a nested object and array; a bound keeps printing it
// (and any reader's parser) far from the end of the stack on trees of any depth.
constexpr std::int64_t deepestLevelShown = 1000;

struct ScanView {
  std::int64_t top = 20;
  std::int64_t depth = 1;
};

// The folder to scan: the path as given, or what it points to when it is a link to a folder
// (the scan itself never follows links).
std::string folderToScan(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) throw std::runtime_error("not a folder: " + path);
  if (::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
    if (auto resolved = resolvedPath(path)) return *resolved;
  }
  return path;
}

nlohmann::json childrenJSON(const FSNode& node, const ScanView& view, std::int64_t level) {
  nlohmann::json children = nlohmann::json::array();
  if (level > view.depth) return children;
  for (const auto& child : node.children) {
    if (static_cast<std::int64_t>(children.size()) == view.top) break;
    nlohmann::json item{{"name", printable(child->name)}, {"path", printable(child->path())},
                        {"isDir", child->isDir},          {"size", child->size},
                        {"freeable", child->freeable},    {"items", child->itemCount}};
    if (child->isDir && level < view.depth) item["children"] = childrenJSON(*child, view, level + 1);
    children.push_back(std::move(item));
  }
  return children;
}

void printText(const FSNode& root, const ScanView& view, double seconds, const std::string& home) {
  const auto shown = std::min<std::size_t>(root.children.size(), static_cast<std::size_t>(view.top));
  if (shown > 0) {
    std::vector<std::vector<std::string>> rows{{"SIZE", "REAL", "NAME"}};
    for (std::size_t i = 0; i < shown; ++i) {
      const FSNode& child = *root.children[i];
      rows.push_back({byteFormatter(child.size), byteFormatter(child.freeable),
                      terminalText(child.name) + (child.isDir ? "/" : "")});
    }
    table(rows, {Align::right, Align::right}, "  ");
  }
  if (root.children.size() > shown) {
    std::int64_t restBytes = 0;
    for (std::size_t i = shown; i < root.children.size(); ++i) restBytes += root.children[i]->size;
    std::printf("  … %s (%s)\n", plural(static_cast<std::int64_t>(root.children.size() - shown), "more item").c_str(),
                byteFormatter(restBytes).c_str());
  }
  if (root.smallCount > 0) {
    std::printf("  %s under 1 MB (%s)\n", plural(root.smallCount, "item").c_str(),
                byteFormatter(root.smallBytes).c_str());
  }
  std::printf("\n%s: %s (%s freeable) in %s, %.1fs\n", terminalText(tilde(root.name, home)).c_str(),
              byteFormatter(root.size).c_str(), byteFormatter(root.freeable).c_str(),
              plural(root.itemCount, "item").c_str(), seconds);
  std::printf("\nREAL is the space deleting would free (%s and hard links excluded).\n",
              platformWords().sharedCopies.c_str());
}

}  // namespace

int scanCommand(const Args& args, const Context& context) {
  const ScanView view{args.number("top", 20, 1), args.number("depth", 1, 0, deepestLevelShown)};
  const std::string path = folderToScan(expand(args.positional.empty() ? "~" : args.positional.front(), context.home));

  DiskScanner scanner(DiskScanner::skipsFor(path));
  const auto progress = [&scanner, &context] {
    return "· " + plural(scanner.items(), "item") + " · " + terminalText(tilde(scanner.current(), context.home));
  };
  const auto started = std::chrono::steady_clock::now();
  const auto root = busy(args.json(), progress, "Scanning " + terminalText(tilde(path, context.home)),
                         [&] { return scanner.scan(path); });
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

  if (args.json()) {
    emit({{"path", printable(root->path())},
          {"size", root->size},
          {"freeable", root->freeable},
          {"items", root->itemCount},
          {"elapsed", decimal(seconds, 3)},
          {"smallItems", root->smallCount},
          {"smallBytes", root->smallBytes},
          {"children", childrenJSON(*root, view, 1)}});
  } else {
    printText(*root, view, seconds, context.home);
  }
  return 0;
}

}  // namespace tw::CLI
