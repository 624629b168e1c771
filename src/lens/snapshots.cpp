#include "lens/snapshots.h"

#include <algorithm>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "core/app_paths.h"
#include "core/crypto_library.h"
#include "fs/file_io.h"
#include "fs/regular_file.h"

namespace tw {
namespace {

// A snapshot holds only big folders, so even a whole disk's stays far below this.
constexpr std::size_t maxSnapshotBytes = 64 << 20;

// Only while libcrypto cannot be loaded: a name that still tells the folders apart.
std::string hexName(const std::string& rootPath) {
  static constexpr char hex[] = "0123456789abcdef";
  std::string name;
  for (const char c : rootPath) {
    name += hex[static_cast<unsigned char>(c) >> 4];
    name += hex[static_cast<unsigned char>(c) & 0x0F];
  }
  return name + ".json";
}

std::string childPath(const std::string& parent, const std::string& name) {
  return parent == "/" ? "/" + name : parent + "/" + name;
}

void flattenInto(const FSNode& node, const std::string& path, int depth, std::map<std::string, std::int64_t>& sizes) {
  if (depth > Snapshots::maxDescentDepth) return;
  for (const auto& child : node.children) {
    if (!child->isDir) continue;
    const std::string folderPath = childPath(path, child->name);
    sizes[folderPath] = child->freeable;
    if (child->size >= Snapshots::descentBytes) flattenInto(*child, folderPath, depth + 1, sizes);
  }
}

struct Stored {
  Date date;
  std::map<std::string, std::int64_t> sizes;
};

std::optional<Stored> readSnapshot(const std::string& file) {
  const auto text = readRegularFile(file, maxSnapshotBytes);
  if (!text) return std::nullopt;
  const auto json = nlohmann::json::parse(*text, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object() || !json.contains("date") || !json["date"].is_string() || !json.contains("sizes") ||
      !json["sizes"].is_object()) {
    return std::nullopt;
  }
  const auto date = parseIso8601(json["date"].get<std::string>());
  if (!date) return std::nullopt;
  Stored stored{*date, {}};
  for (const auto& [path, size] : json["sizes"].items()) {
    if (!size.is_number_integer()) return std::nullopt;
    stored.sizes.emplace(path, size.get<std::int64_t>());
  }
  return stored;
}

void writeSnapshot(const std::string& folder, const std::string& file, Date now,
                   const std::map<std::string, std::int64_t>& sizes) {
  if (createDirectories(folder)) return;
  nlohmann::json json{{"date", iso8601(now)}, {"sizes", sizes}};
  // A folder name that is not UTF-8 is stored with replacement characters: it then simply
  // never matches, which costs a comparison, never the snapshot.
  (void)writeFileAtomically(file, json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

std::vector<ScanChange> changesBetween(const std::map<std::string, std::int64_t>& before,
                                       const std::map<std::string, std::int64_t>& after) {
  std::vector<ScanChange> changes;
  for (const auto& [path, size] : after) {
    const auto old = before.find(path);
    const std::int64_t was = old == before.end() ? 0 : old->second;
    // Sizes are far below the overflow of a difference.
    if (std::llabs(size - was) >= Snapshots::changeBytes) changes.push_back({path, was, size});
  }
  std::sort(changes.begin(), changes.end(), [](const ScanChange& a, const ScanChange& b) {
    const auto delta = [](const ScanChange& c) { return std::llabs(c.after - c.before); };
    if (delta(a) != delta(b)) return delta(a) > delta(b);
    return a.path < b.path;
  });
  if (changes.size() > Snapshots::maxChanges) changes.resize(Snapshots::maxChanges);
  return changes;
}

}  // namespace

std::map<std::string, std::int64_t> Snapshots::flatten(const FSNode& root) {
  std::map<std::string, std::int64_t> sizes;
  sizes[root.name] = root.freeable;
  flattenInto(root, root.name, 0, sizes);
  return sizes;
}

std::string Snapshots::folder(const Context& context) { return applicationSupportFolder(context) + "/snapshots"; }

std::string Snapshots::fileName(const std::string& rootPath) {
  const CryptoLibrary* crypto = cryptoLibrary();
  if (crypto == nullptr) return hexName(rootPath);
  std::string encoded(4 * ((rootPath.size() + 2) / 3) + 1, '\0');
  const int length =
      crypto->encodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
                          reinterpret_cast<const unsigned char*>(rootPath.data()), static_cast<int>(rootPath.size()));
  encoded.resize(static_cast<std::size_t>(std::max(length, 0)));
  std::replace(encoded.begin(), encoded.end(), '/', '_');
  return encoded + ".json";
}

std::optional<Snapshots::Comparison> Snapshots::compareAndSave(const Context& context, const FSNode& root, Date now) {
  if (context.sampleData) return std::nullopt;
  auto sizes = flatten(root);
  const std::string dir = folder(context);
  const std::string file = dir + "/" + fileName(root.name);
  const auto previous = readSnapshot(file);
  writeSnapshot(dir, file, now, sizes);
  if (!previous) return std::nullopt;
  return Comparison{previous->date, changesBetween(previous->sizes, sizes)};
}

}  // namespace tw
