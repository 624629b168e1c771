#include "core/history.h"

#include <sys/stat.h>
#include <unistd.h>

#include <mutex>

#include <fmt/format.h>
#include <simdjson.h>

#include "core/text.h"
#include "core/uuid.h"
#include "fs/file_io.h"
#include "fs/file_lock.h"
#include "fs/regular_file.h"

namespace tw {
namespace {

// 5000 entries take about a megabyte; anything far beyond that is not our file.
constexpr std::size_t largestReadableFile = 64 << 20;

std::optional<HistoryEntry> decodeEntry(simdjson::dom::element element) {
  simdjson::dom::object object;
  std::string_view id, date, category, name;
  std::int64_t bytes = 0;
  if (element.get(object) || object["id"].get(id) || object["date"].get(date) || object["category"].get(category) ||
      object["name"].get(name) || object["bytes"].get(bytes)) {
    return std::nullopt;
  }
  const auto when = parseIso8601(date);
  if (!isUuid(id) || !when) return std::nullopt;
  HistoryEntry entry{std::string(id), *when, std::string(category), std::string(name), bytes, std::nullopt};
  simdjson::dom::element restore;
  if (!object["restore"].get(restore) && !restore.is_null()) {
    std::string_view text;
    if (restore.get(text)) return std::nullopt;
    entry.restore = std::string(text);
  }
  return entry;
}

// One bad object spoils the whole file: a partly trusted log is worse than a fresh one.
// (The parser also rejects text that is not UTF-8.)
std::vector<HistoryEntry> decode(const std::string& text) {
  simdjson::dom::parser parser;
  simdjson::dom::array array;
  if (parser.parse(simdjson::padded_string(text)).get(array)) return {};
  std::vector<HistoryEntry> entries;
  entries.reserve(array.size());
  for (const auto element : array) {
    auto entry = decodeEntry(element);
    if (!entry) return {};
    entries.push_back(std::move(*entry));
  }
  return entries;
}

// `text` must be valid UTF-8 (stored entries are; new ones are cleaned when recorded).
void appendString(std::string& out, std::string_view text) {
  out += '"';
  std::size_t plainFrom = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c >= 0x20 && c != '"' && c != '\\') continue;
    out.append(text, plainFrom, i - plainFrom);
    plainFrom = i + 1;
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        out += fmt::format("\\u{:04x}", c);
    }
  }
  out.append(text, plainFrom);
  out += '"';
}

// Compact JSON, written directly: this runs on every record over up to 5000 entries.
std::string encode(const std::vector<HistoryEntry>& entries) {
  std::string out = "[";
  out.reserve(entries.size() * 200);
  for (const auto& entry : entries) {
    if (out.size() > 1) out += ',';
    out += "{\"id\":";
    appendString(out, entry.id);
    out += ",\"date\":\"" + iso8601(entry.date) + "\",\"category\":";
    appendString(out, entry.category);
    out += ",\"name\":";
    appendString(out, entry.name);
    out += ",\"bytes\":" + std::to_string(entry.bytes);
    if (entry.restore) {
      out += ",\"restore\":";
      appendString(out, *entry.restore);
    }
    out += '}';
  }
  out += ']';
  return out;
}

// Only a regular file, opened without blocking and read up to the limit: a pipe or a
// device put in its place reads as an empty history at once.
std::vector<HistoryEntry> readLocked(const std::string& path) {
  const auto contents = readRegularFile(path, largestReadableFile);
  return contents ? decode(*contents) : std::vector<HistoryEntry>{};
}

}  // namespace

History::History(std::string folder, bool recording)
    : folder_(std::move(folder)), path_(folder_ + "/history.json"), recording_(recording) {}

const std::string& History::file() const {
  // A failure to make the folder shows up later as an unreadable or unwritable file,
  // which every operation already absorbs.
  std::call_once(folderMade_, [this] { (void)createDirectories(folder_); });
  return path_;
}

std::string History::filePath() const { return file(); }

std::string History::lockFile() const { return file() + ".lock"; }

std::vector<HistoryEntry> History::entries() const {
  const std::string& path = file();
  std::lock_guard lock(lock_);
  return readLocked(path);
}

void History::record(const std::string& category, const std::string& name, std::int64_t bytes,
                     const std::optional<std::string>& restore) {
  record(std::vector<HistoryRecord>{{category, name, bytes, restore}});
}

void History::record(const std::vector<HistoryRecord>& records) {
  if (!recording_ || records.empty()) return;
  // The whole read-modify-write under this process's lock and the lock file's, so that
  // another Tidewarden process (the app, its runner, a terminal) recording at the same
  // time waits instead of writing over these entries.
  const std::string& path = file();
  std::lock_guard lock(lock_);
  const ExclusiveFileLock otherProcesses(lockFile());
  std::vector<HistoryEntry> list = readLocked(path);
  for (const auto& record : records) {
    list.push_back({makeUuid(), std::chrono::system_clock::now(), validUtf8(record.category), validUtf8(record.name),
                    record.bytes, record.restore ? std::optional(validUtf8(*record.restore)) : std::nullopt});
  }
  if (list.size() > cap) list.erase(list.begin(), list.end() - static_cast<std::ptrdiff_t>(cap));
  // A failed write leaves the file as it was.
  (void)writeFileAtomically(path, encode(list));
}

void History::clear() {
  const std::string& path = file();
  std::lock_guard lock(lock_);
  const ExclusiveFileLock otherProcesses(lockFile());
  ::unlink(path.c_str());
}

}  // namespace tw
