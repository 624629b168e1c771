#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <regex>
#include <set>
#include <thread>

#include <nlohmann/json.hpp>

#include "core/history.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

const std::string someId = "0b5b2a8e-3c1d-4f6a-9e2b-7d4c1a2b3c4d";

nlohmann::json entryJSON(const std::string& name, std::int64_t bytes = 1) {
  return {
      {"id", someId}, {"date", "2026-08-02T09:41:07Z"}, {"category", "Developer"}, {"name", name}, {"bytes", bytes}};
}

void writeHistory(const std::string& text) { writeFile(History::filePath(), text); }

nlohmann::json fileJSON() { return nlohmann::json::parse(readFile(History::filePath())); }

}  // namespace

TEST(History, FirstRecordCreatesTheFolderAndAOneEntryCompactFile) {
  FakeHome home;
  EXPECT_EQ(History::filePath(), home.path() + "/.local/share/Tidewarden/history.json");
  ASSERT_TRUE(exists(home / ".local/share/Tidewarden")) << "the folder is made when the location is worked out";
  EXPECT_FALSE(exists(History::filePath()));

  History::record("Developer", "node_modules", 123456789, "Run npm install");
  const std::string text = readFile(History::filePath());
  EXPECT_EQ(text.find('\n'), std::string::npos) << text;
  EXPECT_EQ(text.find("\": "), std::string::npos) << "compact, no indentation: " << text;
  const auto json = nlohmann::json::parse(text);
  ASSERT_TRUE(json.is_array());
  ASSERT_EQ(json.size(), 1u);
  const auto& entry = json[0];
  EXPECT_EQ(entry.size(), 6u);
  EXPECT_TRUE(std::regex_match(entry["id"].get<std::string>(),
                               std::regex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}")))
      << entry["id"];
  EXPECT_TRUE(std::regex_match(entry["date"].get<std::string>(), std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)")))
      << entry["date"];
  EXPECT_EQ(entry["category"], "Developer");
  EXPECT_EQ(entry["name"], "node_modules");
  EXPECT_EQ(entry["bytes"], 123456789);
  EXPECT_EQ(entry["restore"], "Run npm install");

  const auto entries = History::entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].id, entry["id"].get<std::string>());
  EXPECT_EQ(entries[0].restore, "Run npm install");
  const auto age = std::chrono::system_clock::now() - entries[0].date;
  EXPECT_LT(std::chrono::abs(age), std::chrono::seconds(5));
}

TEST(History, EntryWithoutRestoreHintHasNoRestoreKey) {
  FakeHome home;
  History::record("Trash", "old.zip", 0, std::nullopt);
  History::record("Trash", "other.zip", 5, "In the Trash until it's emptied");
  const auto json = fileJSON();
  ASSERT_EQ(json.size(), 2u);
  EXPECT_FALSE(json[0].contains("restore"));
  EXPECT_TRUE(json[1].contains("restore"));
  const auto entries = History::entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].restore, std::nullopt);
  EXPECT_EQ(entries[0].name, "old.zip");
  EXPECT_EQ(entries[1].name, "other.zip") << "oldest first, newest last";
  EXPECT_NE(entries[0].id, entries[1].id);
}

TEST(History, RecordingThe5001stEntryDropsTheOldest) {
  FakeHome home;
  nlohmann::json full = nlohmann::json::array();
  for (int i = 0; i < 5000; ++i) full.push_back(entryJSON("entry-" + std::to_string(i)));
  writeHistory(full.dump());
  ASSERT_EQ(History::entries().size(), 5000u);

  History::record("Developer", "newest", 7, std::nullopt);
  const auto entries = History::entries();
  ASSERT_EQ(entries.size(), 5000u);
  EXPECT_EQ(entries.front().name, "entry-1");
  EXPECT_EQ(entries.back().name, "newest");
}

TEST(History, AnOverlongFileIsCutBackToTheNewest5000) {
  FakeHome home;
  nlohmann::json full = nlohmann::json::array();
  for (int i = 0; i < 5010; ++i) full.push_back(entryJSON("entry-" + std::to_string(i)));
  writeHistory(full.dump());
  History::record("Developer", "newest", 7, std::nullopt);
  const auto entries = History::entries();
  ASSERT_EQ(entries.size(), 5000u);
  EXPECT_EQ(entries.front().name, "entry-11");
  EXPECT_EQ(entries.back().name, "newest");
}

TEST(History, OneBadObjectSpoilsTheFileAndTheNextRecordStartsAfresh) {
  FakeHome home;
  auto withoutBytes = entryJSON("no-bytes");
  withoutBytes.erase("bytes");
  writeHistory(nlohmann::json::array({entryJSON("good"), withoutBytes}).dump());
  EXPECT_TRUE(History::entries().empty());

  History::record("Developer", "fresh", 42, std::nullopt);
  const auto entries = History::entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].name, "fresh");
}

TEST(History, DamagedFilesReadAsEmptyAndNeverCrash) {
  FakeHome home;
  auto badDate = entryJSON("x");
  badDate["date"] = "yesterday";
  auto badId = entryJSON("x");
  badId["id"] = "not-a-uuid";
  auto badRestore = entryJSON("x");
  badRestore["restore"] = 12;
  auto fractionalBytes = entryJSON("x");
  fractionalBytes["bytes"] = 1.5;
  auto hugeBytes = nlohmann::json::parse(R"({"id":")" + someId +
                                         R"(","date":"2026-08-02T09:41:07Z","category":"c","name":"n",)"
                                         R"("bytes":18446744073709551615})");
  const std::vector<std::string> damaged{
      "",
      "[",
      "{}",
      "null",
      "[1,2,3]",
      std::string("[{\"name\":\"\xff\xfe\"}]"),
      "\xef\xbb\xbf\xff\x00garbage",
      nlohmann::json::array({badDate}).dump(),
      nlohmann::json::array({badId}).dump(),
      nlohmann::json::array({badRestore}).dump(),
      nlohmann::json::array({fractionalBytes}).dump(),
      nlohmann::json::array({hugeBytes}).dump(),
      std::string(100000, '['),
  };
  for (const auto& text : damaged) {
    writeHistory(text);
    EXPECT_TRUE(History::entries().empty()) << text.substr(0, 60);
  }
}

TEST(History, HugeFileIsNotReadAndIsReplacedByTheNextRecord) {
  FakeHome home;
  writeHistory("[");
  ASSERT_EQ(::truncate(History::filePath().c_str(), 200LL << 20), 0);  // sparse, costs no space
  EXPECT_TRUE(History::entries().empty());
  History::record("Developer", "after", 1, std::nullopt);
  EXPECT_EQ(History::entries().size(), 1u);
  struct stat info {};
  ASSERT_EQ(::stat(History::filePath().c_str(), &info), 0);
  EXPECT_LT(info.st_size, 1000);
}

TEST(History, AcceptsDatesWithFractionsAndOffsetsAndNullRestore) {
  FakeHome home;
  auto first = entryJSON("a");
  first["date"] = "2026-08-02T09:41:07.250Z";
  first["restore"] = nullptr;
  auto second = entryJSON("b");
  second["date"] = "2026-08-02T11:41:07+02:00";
  writeHistory(nlohmann::json::array({first, second}).dump());
  const auto entries = History::entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].restore, std::nullopt);
  EXPECT_EQ(std::chrono::floor<std::chrono::seconds>(entries[0].date), entries[1].date);
}

TEST(History, ConcurrentRecordsNeverLeaveAHalfWrittenFile) {
  FakeHome home;
  History::record("Developer", "seed", 1, std::nullopt);
  std::atomic<bool> stop{false};
  std::atomic<int> unreadable{0};
  std::atomic<int> looks{0};
  // Reads the file behind the lock's back, as another process would.
  std::thread watcher([&] {
    while (!stop) {
      const auto json = nlohmann::json::parse(readFile(History::filePath()), nullptr, false);
      if (!json.is_array() || json.empty()) ++unreadable;
      ++looks;
    }
  });
  std::vector<std::thread> writers;
  for (int t = 0; t < 8; ++t) {
    writers.emplace_back([t] {
      for (int i = 0; i < 20; ++i)
        History::record("Developer", "t" + std::to_string(t) + "-" + std::to_string(i), i, std::nullopt);
    });
  }
  for (auto& writer : writers) writer.join();
  stop = true;
  watcher.join();

  EXPECT_EQ(unreadable.load(), 0) << "out of " << looks.load() << " looks";
  const auto entries = History::entries();
  // Records that race between their read and their write may drop each other's entry.
  EXPECT_GE(entries.size(), 2u);
  EXPECT_LE(entries.size(), 161u);
  std::set<std::string> ids;
  for (const auto& entry : entries) ids.insert(entry.id);
  EXPECT_EQ(ids.size(), entries.size());
  // No temporary files are left beside the log.
  std::vector<std::string> names;
  for (const auto& item : std::filesystem::directory_iterator(home / ".local/share/Tidewarden")) {
    names.push_back(item.path().filename().string());
  }
  EXPECT_EQ(names, std::vector<std::string>{"history.json"});
}

TEST(History, SampleDataModeRecordsNothing) {
  FakeHome home;
  writeHistory(nlohmann::json::array({entryJSON("kept")}).dump());
  const std::string before = readFile(History::filePath());
  ::setenv("TIDEWARDEN_SNAPSHOT", "1", 1);
  History::record("Developer", "sample", 100, std::nullopt);
  ::unsetenv("TIDEWARDEN_SNAPSHOT");
  EXPECT_EQ(readFile(History::filePath()), before);
}

TEST(History, ClearDeletesTheFileAndKeepsTheFolder) {
  FakeHome home;
  History::clear();  // no file: nothing happens
  EXPECT_FALSE(exists(History::filePath()));
  History::record("Developer", "x", 1, std::nullopt);
  ASSERT_TRUE(exists(History::filePath()));
  History::clear();
  EXPECT_FALSE(exists(History::filePath()));
  EXPECT_TRUE(exists(home / ".local/share/Tidewarden"));
  EXPECT_TRUE(History::entries().empty());
}

}  // namespace tw::test
