#include <gtest/gtest.h>
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

nlohmann::json entryJSON(const std::string& name, const nlohmann::json& changes = nlohmann::json::object()) {
  nlohmann::json entry{
      {"id", someId}, {"date", "2026-08-02T09:41:07Z"}, {"category", "Developer"}, {"name", name}, {"bytes", 1}};
  entry.update(changes);
  return entry;
}

void writeHistory(const History& history, const std::string& text) { writeFile(history.filePath(), text); }

std::vector<std::string> recordedNames(const History& history) {
  std::vector<std::string> names;
  for (const auto& entry : history.entries()) names.push_back(entry.name);
  return names;
}

}  // namespace

TEST(History, RecordsWriteACompactArrayWithARestoreKeyOnlyWhenThereIsAHint) {
  FakeHome home;
  History& history = *home.context().history;
  EXPECT_EQ(history.filePath(), home.path() + "/.local/share/Tidewarden/history.json");
  ASSERT_TRUE(exists(home / ".local/share/Tidewarden")) << "the folder is made when the location is worked out";
  EXPECT_FALSE(exists(history.filePath()));

  history.record("Developer", "node_modules", 123456789, "Run npm install");
  history.record("Trash", "old.zip", 0, std::nullopt);
  const std::string text = readFile(history.filePath());
  EXPECT_EQ(text.find('\n'), std::string::npos) << text;
  EXPECT_EQ(text.find("\": "), std::string::npos) << "compact, no indentation: " << text;
  auto json = nlohmann::json::parse(text);
  ASSERT_EQ(json.size(), 2u);
  for (auto& entry : json) {
    EXPECT_TRUE(std::regex_match(entry["id"].get<std::string>(),
                                 std::regex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}")))
        << entry["id"];
    EXPECT_TRUE(std::regex_match(entry["date"].get<std::string>(), std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)")))
        << entry["date"];
    entry.erase("id");
    entry.erase("date");
  }
  EXPECT_EQ(json, nlohmann::json::parse(R"([{"category": "Developer", "name": "node_modules", "bytes": 123456789,
      "restore": "Run npm install"}, {"category": "Trash", "name": "old.zip", "bytes": 0}])"));

  const auto entries = history.entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].id, nlohmann::json::parse(text)[0]["id"]);
  EXPECT_NE(entries[0].id, entries[1].id);
  EXPECT_EQ(entries[0].restore, "Run npm install");
  EXPECT_EQ(entries[1].name, "old.zip") << "oldest first, newest last";
  EXPECT_EQ(entries[1].restore, std::nullopt);
  EXPECT_LT(std::chrono::abs(std::chrono::system_clock::now() - entries[0].date), std::chrono::seconds(5));
}

TEST(History, TheLogKeepsTheNewest5000Entries) {
  FakeHome home;
  History& history = *home.context().history;
  // A full log loses its oldest entry to the 5001st; an overlong one is cut back.
  for (const auto& [stored, oldestKept] : {std::pair{5000, "entry-1"}, std::pair{5010, "entry-11"}}) {
    nlohmann::json full = nlohmann::json::array();
    for (int i = 0; i < stored; ++i) full.push_back(entryJSON("entry-" + std::to_string(i)));
    writeHistory(history, full.dump());
    history.record("Developer", "newest", 7, std::nullopt);
    const auto names = recordedNames(history);
    ASSERT_EQ(names.size(), 5000u) << stored;
    EXPECT_EQ(names.front(), oldestKept);
    EXPECT_EQ(names.back(), "newest");
  }
}

TEST(History, DamagedFilesReadAsEmptyAndTheNextRecordStartsAfresh) {
  FakeHome home;
  History& history = *home.context().history;
  auto withoutBytes = entryJSON("no-bytes");
  withoutBytes.erase("bytes");
  const std::vector<std::string> damaged{
      "",
      "[",
      "{}",
      "null",
      "[1,2,3]",
      std::string("[{\"name\":\"\xff\xfe\"}]"),
      "\xef\xbb\xbf\xff\x00garbage",
      std::string(100000, '['),
      // One bad entry spoils the whole file.
      nlohmann::json::array({entryJSON("good"), withoutBytes}).dump(),
      nlohmann::json::array({entryJSON("x", {{"date", "yesterday"}})}).dump(),
      nlohmann::json::array({entryJSON("x", {{"id", "not-a-uuid"}})}).dump(),
      nlohmann::json::array({entryJSON("x", {{"restore", 12}})}).dump(),
      nlohmann::json::array({entryJSON("x", {{"bytes", 1.5}})}).dump(),
      R"([{"id":")" + someId +
          R"(","date":"2026-08-02T09:41:07Z","category":"c","name":"n","bytes":18446744073709551615}])",
  };
  for (const auto& text : damaged) {
    writeHistory(history, text);
    EXPECT_TRUE(history.entries().empty()) << text.substr(0, 60);
    history.record("Developer", "fresh", 42, std::nullopt);
    EXPECT_EQ(recordedNames(history), std::vector<std::string>{"fresh"}) << text.substr(0, 60);
  }

  // A huge file is not read, and the next record replaces it.
  writeHistory(history, "[");
  ASSERT_EQ(::truncate(history.filePath().c_str(), 200LL << 20), 0);  // sparse, costs no space
  EXPECT_TRUE(history.entries().empty());
  history.record("Developer", "after", 1, std::nullopt);
  EXPECT_EQ(recordedNames(history), std::vector<std::string>{"after"});
  EXPECT_LT(std::filesystem::file_size(history.filePath()), 1000u);
}

TEST(History, AcceptsDatesWithFractionsAndOffsetsAndNullRestore) {
  FakeHome home;
  History& history = *home.context().history;
  writeHistory(history,
               nlohmann::json::array({entryJSON("a", {{"date", "2026-08-02T09:41:07.250Z"}, {"restore", nullptr}}),
                                      entryJSON("b", {{"date", "2026-08-02T11:41:07+02:00"}})})
                   .dump());
  const auto entries = history.entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].restore, std::nullopt);
  EXPECT_EQ(std::chrono::floor<std::chrono::seconds>(entries[0].date), entries[1].date);
}

TEST(History, ConcurrentRecordsNeverLeaveAHalfWrittenFile) {
  FakeHome home;
  History& history = *home.context().history;
  history.record("Developer", "seed", 1, std::nullopt);
  std::atomic<bool> stop{false};
  std::atomic<int> unreadable{0};
  std::atomic<int> looks{0};
  // Reads the file behind the lock's back, as another process would.
  std::thread watcher([&] {
    while (!stop) {
      const auto json = nlohmann::json::parse(readFile(history.filePath()), nullptr, false);
      if (!json.is_array() || json.empty()) ++unreadable;
      ++looks;
    }
  });
  std::vector<std::thread> writers;
  for (int t = 0; t < 8; ++t) {
    writers.emplace_back([t, &history] {
      for (int i = 0; i < 20; ++i)
        history.record("Developer", "t" + std::to_string(t) + "-" + std::to_string(i), i, std::nullopt);
    });
  }
  for (auto& writer : writers) writer.join();
  stop = true;
  watcher.join();

  EXPECT_EQ(unreadable.load(), 0) << "out of " << looks.load() << " looks";
  const auto entries = history.entries();
  // Each record reads and writes under the lock: none drops another's entry.
  EXPECT_EQ(entries.size(), 161u);
  std::set<std::string> ids;
  for (const auto& entry : entries) ids.insert(entry.id);
  EXPECT_EQ(ids.size(), entries.size());
  // No temporary files are left beside the log, only the lock file.
  std::set<std::string> names;
  for (const auto& item : std::filesystem::directory_iterator(home / ".local/share/Tidewarden")) {
    names.insert(item.path().filename().string());
  }
  EXPECT_EQ(names, (std::set<std::string>{"history.json", "history.json.lock"}));
}

TEST(History, SampleDataModeRecordsNothingAndClearKeepsTheFolder) {
  FakeHome home;
  History& history = *home.context().history;
  history.clear();  // no file: nothing happens
  EXPECT_FALSE(exists(history.filePath()));
  writeHistory(history, nlohmann::json::array({entryJSON("kept")}).dump());
  const std::string before = readFile(history.filePath());
  {
    ScopedEnvironment sampleMode("TIDEWARDEN_SNAPSHOT", "1");
    const Context sample = Context::fromEnvironment(Context::processEnvironment());
    EXPECT_TRUE(sample.sampleData);
    EXPECT_EQ(sample.history->filePath(), history.filePath());
    sample.history->record("Developer", "sample", 100, std::nullopt);
  }
  EXPECT_EQ(readFile(history.filePath()), before);

  history.clear();
  EXPECT_FALSE(exists(history.filePath()));
  EXPECT_TRUE(exists(home / ".local/share/Tidewarden"));
  EXPECT_TRUE(history.entries().empty());
}

}  // namespace tw::test
