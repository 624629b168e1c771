#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <regex>

#include "core/text.h"
#include "support/fake_home.h"
#include "support/file_fixtures.h"
#include "support/screen_output.h"

namespace tw::test {
namespace {

using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;

constexpr std::int64_t MiB = 1024 * 1024;

// Origins of what trash-list shows under `folder`, without the deletion dates.
std::vector<std::string> trashListOrigins(const std::string& folder) {
  std::vector<std::string> origins;
  const std::regex dated(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d (.*))");
  std::smatch match;
  for (const auto& line : splitLines(runProcess({"trash-list"}).out)) {
    if (std::regex_match(line, match, dated) && std::string(match[1]).starts_with(folder + "/")) {
      origins.push_back(match[1]);
    }
  }
  return origins;
}

// A home with old and new downloads, one of them under a name that is not UTF-8.
class LargeCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const auto& name : {"ubuntu-22.04.iso", "caf\xe9.img", "tools.zip"}) {
      setDaysAgo(home.file("Downloads/" + std::string(name), 2 * MiB), 120, 120);
    }
    setDaysAgo(home.file("Downloads/fresh.iso", 2 * MiB), 3, 3);
    setDaysAgo(home.file("Downloads/manual.pdf", 2 * MiB), 200, 200);
  }

  [[nodiscard]] std::vector<std::string> ticked() const {
    return {home / "Downloads/ubuntu-22.04.iso", home / "Downloads/caf\xe9.img", home / "Downloads/tools.zip"};
  }

  FakeHome home;
};

TEST_F(LargeCommand, ListsTheGroupsAsJsonAndText) {
  const auto result = runTidewarden({"large", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto output = nlohmann::json::parse(result.out);
  EXPECT_EQ(fieldOf(output["groups"], "id"), (std::vector<std::string>{"installers", "downloads"}));
  const auto& installers = groupWithId(output, "installers");
  EXPECT_THAT(fieldOf(installers["items"], "name"),
              UnorderedElementsAre("ubuntu-22.04.iso", "caf\uFFFD.img", "tools.zip", "fresh.iso"));
  EXPECT_EQ(itemNamed(installers, "fresh.iso")["selected"], false);
  EXPECT_EQ(itemNamed(installers, "tools.zip")["selected"], true);
  EXPECT_EQ(itemNamed(installers, "tools.zip")["action"], "move to Trash: ~/Downloads/tools.zip");
  EXPECT_EQ(output["selected"], 3 * 2 * MiB);

  const auto text = runTidewarden({"large"});
  EXPECT_THAT(text.out, HasSubstr("Installers & Disk Images"));
  EXPECT_THAT(text.out, HasSubstr("[x]"));
  EXPECT_THAT(text.out, HasSubstr("Old Downloads"));
  EXPECT_TRUE(validUtf8(text.out) == text.out) << "a name that is not UTF-8 is shown with a replacement character";
}

TEST_F(LargeCommand, CleanMovesExactlyTheTickedFilesToTheTrashWhereTrashListShowsTheirOrigin) {
  const auto preview = runTidewarden({"large", "clean", "--selected"});
  EXPECT_EQ(preview.code, 1) << "without --yes nothing happens";
  EXPECT_THAT(preview.out, HasSubstr("Will run 3 actions"));
  for (const auto& path : ticked()) EXPECT_TRUE(exists(path)) << path;

  const auto clean = runTidewarden({"large", "clean", "--selected", "--yes"});
  ASSERT_EQ(clean.code, 0) << clean.out << clean.err;
  EXPECT_THAT(clean.out, HasSubstr("3 done"));
  for (const auto& path : ticked()) EXPECT_FALSE(exists(path)) << path;
  for (const auto& name : {"fresh.iso", "manual.pdf"})
    EXPECT_TRUE(exists(home / ("Downloads/" + std::string(name)))) << name;
  EXPECT_TRUE(exists(home / ".local/share/Trash/info/tools.zip.trashinfo"));

  if (runProcess({"/bin/sh", "-c", "command -v trash-list"}).code != 0) {
    GTEST_SKIP() << "trash-list (trash-cli) isn't installed, so the Trash was checked by its files only";
  }
  // trash-list shows a name that is not UTF-8 with a replacement character; the record
  // itself keeps the exact bytes.
  std::vector<std::string> shown;
  for (const auto& path : ticked()) shown.push_back(validUtf8(path));
  EXPECT_THAT(trashListOrigins(home.path()), UnorderedElementsAreArray(shown));
  EXPECT_THAT(readFile(home / ".local/share/Trash/info/caf\xe9.img.trashinfo"),
              HasSubstr("Path=" + home / "Downloads/caf%E9.img\n"));
}

}  // namespace
}  // namespace tw::test
