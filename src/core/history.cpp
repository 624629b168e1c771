#include "core/history.h"

#include <sys/stat.h>
#include <unistd.h>

#include <mutex>

#include <nlohmann/json.hpp>

#include "core/app_paths.h"
#include "core/file_io.h"
#include "core/sample_mode.h"
#include "core/text.h"
#include "core/uuid.h"

namespace tw {
namespace {

// 5000 entries take about a megabyte; anything far beyond that is not our file.
constexpr off_t largestReadableFile = 64 << 20;

// Serialises every read, write and clear of the file within this process.
std::mutex& historyLock() {
  static std::mutex lock;
  return lock;
}

// Worked out once; the folder is made at that moment (a failure shows up later as an
// unreadable or unwritable file, which every operation already absorbs).
const std::string& historyFile() {
  static const std::string path = [] {
    const std::string folder = applicationSupportFolder();
    (void)createDirectories(folder);
    return folder + "/history.json";
  }();
  return path;
}

std::optional<std::string> optionalString(const nlohmann::json& object, const char* key, bool& ok) {
  const auto found = object.find(key);
  if (found == object.end() || found->is_null()) return std::nullopt;
  if (!found->is_string()) ok = false;
  return ok ? std::optional(found->get<std::string>()) : std::nullopt;
}

std::optional<HistoryEntry> decodeEntry(const nlohmann::json& object) {
  if (!object.is_object()) return std::nullopt;
  const auto id = object.find("id");
  const auto date = object.find("date");
  const auto category = object.find("category");
  const auto name = object.find("name");
  const auto bytes = object.find("bytes");
  if (id == object.end() || !id->is_string() || !isUuid(id->get_ref<const std::string&>())) return std::nullopt;
  if (date == object.end() || !date->is_string()) return std::nullopt;
  if (category == object.end() || !category->is_string()) return std::nullopt;
  if (name == object.end() || !name->is_string()) return std::nullopt;
  if (bytes == object.end() || !bytes->is_number_integer()) return std::nullopt;
  if (bytes->is_number_unsigned() && bytes->get<std::uint64_t>() > std::uint64_t(INT64_MAX)) return std::nullopt;
  const auto when = parseIso8601(date->get_ref<const std::string&>());
  if (!when) return std::nullopt;
  bool ok = true;
  auto restore = optionalString(object, "restore", ok);
  if (!ok) return std::nullopt;
  return HistoryEntry{id->get<std::string>(),       *when,
                      category->get<std::string>(), name->get<std::string>(),
                      bytes->get<std::int64_t>(),   std::move(restore)};
}

// One bad object spoils the whole file: a partly trusted log is worse than a fresh one.
std::vector<HistoryEntry> decode(const std::string& text) {
  const auto parsed = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!parsed.is_array()) return {};
  std::vector<HistoryEntry> entries;
  entries.reserve(parsed.size());
  for (const auto& object : parsed) {
    auto entry = decodeEntry(object);
    if (!entry) return {};
    entries.push_back(std::move(*entry));
  }
  return entries;
}

std::string encode(const std::vector<HistoryEntry>& entries) {
  nlohmann::json array = nlohmann::json::array();
  for (const auto& entry : entries) {
    nlohmann::json object{{"id", entry.id},
                          {"date", iso8601(entry.date)},
                          {"category", validUtf8(entry.category)},
                          {"name", validUtf8(entry.name)},
                          {"bytes", entry.bytes}};
    if (entry.restore) object["restore"] = validUtf8(*entry.restore);
    array.push_back(std::move(object));
  }
  return array.dump();
}

std::vector<HistoryEntry> readLocked(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size > largestReadableFile) return {};
  const auto contents = readWholeFile(path);
  return contents ? decode(*contents) : std::vector<HistoryEntry>{};
}

}  // namespace

std::string History::filePath() { return historyFile(); }

std::vector<HistoryEntry> History::entries() {
  const std::string& path = historyFile();
  std::lock_guard lock(historyLock());
  return readLocked(path);
}

void History::record(const std::string& category, const std::string& name, std::int64_t bytes,
                     const std::optional<std::string>& restore) {
  if (sampleDataMode()) return;
  // Read and write under two separate holds of the lock: a recording that races another
  // in between may lose that one's entry, but every file written is whole.
  std::vector<HistoryEntry> list = entries();
  std::lock_guard lock(historyLock());
  list.push_back({makeUuid(), std::chrono::system_clock::now(), category, name, bytes, restore});
  if (list.size() > cap) list.erase(list.begin(), list.end() - static_cast<std::ptrdiff_t>(cap));
  std::string text;
  try {
    text = encode(list);
  } catch (const nlohmann::json::exception&) {
    return;  // leave the file as it was
  }
  (void)writeFileAtomically(historyFile(), text);
}

void History::clear() {
  const std::string& path = historyFile();
  std::lock_guard lock(historyLock());
  ::unlink(path.c_str());
}

}  // namespace tw
