#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/date.h"

namespace tw {

struct HistoryEntry {
  std::string id;  // canonical hyphenated UUID
  Date date;
  std::string category;
  std::string name;
  std::int64_t bytes = 0;
  std::optional<std::string> restore;
};

// One removal to record: an entry before it gets its id and date.
struct HistoryRecord {
  std::string category;
  std::string name;
  std::int64_t bytes = 0;
  std::optional<std::string> restore;
};

// The persistent log of every removal: one JSON array in <folder>/history.json, newest
// last, at most 5000 entries. The folder is made the first time the log is used.
class History {
 public:
  static constexpr std::size_t cap = 5000;

  // A history that is not recording (sample-data mode) leaves the file alone.
  History(std::string folder, bool recording);
  History(const History&) = delete;
  History& operator=(const History&) = delete;

  // Never reports failure.
  void record(const std::string& category, const std::string& name, std::int64_t bytes,
              const std::optional<std::string>& restore);
  // Several entries in one write, in order; nothing to record writes nothing.
  void record(const std::vector<HistoryRecord>& records);
  // Oldest first; any failure reads as the empty list.
  [[nodiscard]] std::vector<HistoryEntry> entries() const;
  void clear();
  [[nodiscard]] std::string filePath() const;

 private:
  const std::string& file() const;  // makes the folder the first time

  const std::string folder_;
  const std::string path_;
  const bool recording_;
  // Beside the history file; every process holds it around a read-modify-write.
  [[nodiscard]] std::string lockFile() const;

  // Serialises every read, write and clear of the file by this store.
  mutable std::mutex lock_;
  mutable std::once_flag folderMade_;
};

}  // namespace tw
