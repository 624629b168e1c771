#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/history.h"
#include "trash/trash_fixture.h"

// A file name is shown, never obeyed: control characters and direction overrides in it
// reach a terminal escaped, and JSON keeps the name exactly.
namespace tw::test {
namespace {

// Retitles the window, clears the screen, and turns "exe.png" into what looks like a picture.
const std::string hostile = "evil\x1b]0;owned\x07\x1b[2J\xe2\x80\xaegnp.exe";

void expectNothingObeyable(const std::string& text) {
  EXPECT_EQ(text.find('\x1b'), std::string::npos) << text;
  EXPECT_EQ(text.find('\x07'), std::string::npos) << text;
  EXPECT_EQ(text.find("\xe2\x80\xae"), std::string::npos) << text;
}

TEST(TerminalNames, TrashListingsAndHistoryShowHostileNamesEscapedAndJSONExact) {
  FakeHome home;
  placeInHomeTrash(home, hostile, trashInfoText(home / ("from\x1b[31m/" + hostile), daysAgo(1)), 1000);
  home.context().history->record("Developer", hostile, 10, "restore\x1b[H");

  const auto list = runTidewarden({"trash"});
  ASSERT_EQ(list.code, 0) << list.err;
  expectNothingObeyable(list.out);
  EXPECT_NE(list.out.find("evil\\x1b]0;owned\\x07\\x1b[2J\\u202egnp.exe"), std::string::npos) << list.out;
  EXPECT_NE(list.out.find("from\\x1b[31m/"), std::string::npos) << "the origin is escaped too";

  const auto preview = runTidewarden({"trash", "empty"});
  expectNothingObeyable(preview.out + preview.err);

  const auto history = runTidewarden({"history"});
  ASSERT_EQ(history.code, 0) << history.err;
  expectNothingObeyable(history.out);
  EXPECT_NE(history.out.find("restore\\x1b[H"), std::string::npos) << history.out;

  const auto json = runTidewarden({"trash", "--json"});
  ASSERT_EQ(json.code, 0) << json.err;
  EXPECT_EQ(nlohmann::json::parse(json.out)["items"][0]["name"], hostile) << "JSON stays exact";
  const auto historyJson = runTidewarden({"history", "--json"});
  EXPECT_NE(historyJson.out.find("\\u001b]0;owned"), std::string::npos) << historyJson.out;
}

TEST(TerminalNames, ProjectListingsAndPreviewsShowHostileNamesEscaped) {
  FakeHome home;
  home.file("code/" + hostile + "/package.json", 10);
  home.file("code/" + hostile + "/node_modules/dep/index.js", 40000);
  writeFile(home / ("code/" + hostile + "/.git/HEAD"), "ref: refs/heads/main\n");
  writeFile(home / ("code/" + hostile + "/.git/index"), "DIRC");
  setModificationTime(home / ("code/" + hostile + "/.git/index"), 40 * 86400);
  const auto list = runTidewarden({"projects"});
  ASSERT_EQ(list.code, 0) << list.err;
  expectNothingObeyable(list.out);
  EXPECT_NE(list.out.find("\\u202egnp.exe"), std::string::npos) << list.out;
  const auto preview = runTidewarden({"projects", "clean", "--selected"});
  expectNothingObeyable(preview.out + preview.err);
}

}  // namespace
}  // namespace tw::test
