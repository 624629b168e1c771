#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "core/format.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

constexpr std::int64_t kMiB = 1024 * 1024;

// Allocated bytes of every file below `root`, each inode once, as find reports them.
std::int64_t findBytes(const std::string& root) {
  const auto found = runProcess({"find", root, "!", "-type", "d", "-printf", "%i %b\n"});
  std::istringstream lines(found.out);
  std::set<std::uint64_t> seen;
  std::uint64_t inode = 0;
  std::int64_t blocks = 0, total = 0;
  while (lines >> inode >> blocks) {
    if (seen.insert(inode).second) total += blocks * 512;
  }
  return total;
}

std::set<std::string> keysOf(const nlohmann::json& object) {
  std::set<std::string> keys;
  for (const auto& [key, value] : object.items()) keys.insert(key);
  return keys;
}

void makeProject(FakeHome& home) {
  home.file("work/app/build/output.bin", 5 * kMiB);
  home.file("work/app/src/main.c", 2000);
  home.file("work/app/node_modules/pkg/blob", 2 * kMiB);
  home.file("work/video.mov", 3 * kMiB);
  home.file("work/notes.txt", 300);
  home.folder("work/empty");
}

TEST(ScanCommand, JsonDescribesTheTreeWithItsTotalsAndDepthAndTopShapeIt) {
  FakeHome home;
  makeProject(home);
  const auto result = runTidewarden({"scan", home / "work", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.err, "") << "no spinner when the output is not a terminal";
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(keysOf(json), (std::set<std::string>{"path", "size", "freeable", "items", "elapsed", "smallItems",
                                                 "smallBytes", "children"}));
  EXPECT_EQ(json["path"], home / "work");
  EXPECT_EQ(json["size"].get<std::int64_t>(), findBytes(home / "work"));
  EXPECT_EQ(json["items"], 11);
  EXPECT_EQ(json["smallItems"], 2) << "notes.txt and the empty folder";
  EXPECT_TRUE(json["elapsed"].is_number());

  const auto& children = json["children"];
  ASSERT_EQ(children.size(), 2u);
  EXPECT_EQ(children[0]["name"], "app");
  EXPECT_EQ(children[0]["path"], home / "work/app");
  EXPECT_EQ(children[0]["isDir"], true);
  EXPECT_EQ(children[0]["items"], 7);
  EXPECT_EQ(children[1]["name"], "video.mov");
  EXPECT_EQ(children[1]["isDir"], false);
  EXPECT_EQ(keysOf(children[0]), (std::set<std::string>{"name", "path", "isDir", "size", "freeable", "items"}))
      << "the default depth shows one level";
  EXPECT_GE(children[0]["size"].get<std::int64_t>(), children[1]["size"].get<std::int64_t>());

  // Deeper levels, --top at every level, and depth 0 with the same total.
  const auto deep = nlohmann::json::parse(runTidewarden({"scan", home / "work", "--json", "--depth", "3"}).out);
  const auto& app = deep["children"][0];
  ASSERT_TRUE(app.contains("children"));
  ASSERT_EQ(app["children"].size(), 2u);
  EXPECT_EQ(app["children"][0]["name"], "build");
  EXPECT_EQ(app["children"][0]["children"][0]["name"], "output.bin");
  EXPECT_FALSE(app["children"][0]["children"][0].contains("children")) << "files have no children";
  EXPECT_EQ(app["children"][1]["children"][0]["name"], "pkg");
  EXPECT_FALSE(app["children"][1]["children"][0].contains("children")) << "depth 3 stops here";

  const auto top = nlohmann::json::parse(runTidewarden({"scan", home / "work", "--json", "--top=1", "--depth=2"}).out);
  ASSERT_EQ(top["children"].size(), 1u);
  EXPECT_EQ(top["children"][0]["children"].size(), 1u) << "--top applies at every level";

  const auto none = nlohmann::json::parse(runTidewarden({"scan", home / "work", "--json", "--depth", "0"}).out);
  EXPECT_TRUE(none["children"].empty());
  EXPECT_EQ(none["size"], json["size"]);
}

TEST(ScanCommand, TextListsTheLargestItemsAndSummarises) {
  FakeHome home;
  makeProject(home);
  const auto result = runTidewarden({"scan", home / "work", "--top", "1"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto& out = result.out;
  EXPECT_NE(out.find("SIZE"), std::string::npos);
  EXPECT_NE(out.find("REAL"), std::string::npos);
  EXPECT_NE(out.find("app/\n"), std::string::npos);
  EXPECT_EQ(out.find("video.mov"), std::string::npos) << "only the top item is listed";
  EXPECT_NE(out.find("1 more item ("), std::string::npos);
  EXPECT_NE(out.find("2 items under 1 MB"), std::string::npos);
  const std::string total = byteFormatter(findBytes(home / "work"));
  EXPECT_NE(out.find("~/work: " + total + " ("), std::string::npos) << out;
  EXPECT_NE(out.find(" freeable) in 11 items, "), std::string::npos) << out;
  EXPECT_TRUE(out.ends_with("\nREAL is the space deleting would free (APFS clones and hard links excluded).\n"));
}

TEST(ScanCommand, ScansWhatThePathNamesAndFailsOnAnythingButAFolder) {
  FakeHome home;
  home.file("Downloads/big.iso", 2 * kMiB);
  home.file("-weird-folder/file", 2 * kMiB);
  home.file("real/file", 2 * kMiB);
  ASSERT_EQ(::symlink((home / "real").c_str(), (home / "alias").c_str()), 0);
  // By default the home folder; a relative path from the working folder; a link as its folder.
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"scan", "--json"}, home.path()},
      {{"scan", "--json", "--", "-weird-folder"}, home / "-weird-folder"},
      {{"scan", home / "alias", "--json"}, home / "real"},
  };
  for (const auto& [arguments, path] : cases) {
    const auto result = runTidewarden(arguments, {}, home.path());
    ASSERT_EQ(result.code, 0) << result.err;
    const auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["path"], path);
    if (path != home.path()) {
      EXPECT_EQ(json["items"], 1) << path;
    }
  }

  const std::string file = home.file("plain.txt", 10);
  for (const auto& path : {file, home / "missing"}) {
    const auto result = runTidewarden({"scan", path, "--json"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "tidewarden: not a folder: " + path + "\n");
  }
}

TEST(ScanCommand, NamesThatAreNotUtf8StayReadable) {
  FakeHome home;
  const std::string odd = "caf\xe9-\xff\xfe";
  home.file("mixed/" + odd + "/big", 2 * kMiB);
  const auto json = runTidewarden({"scan", home / "mixed", "--json"});
  ASSERT_EQ(json.code, 0) << json.err;
  const auto parsed = nlohmann::json::parse(json.out);  // throws on invalid UTF-8
  const std::string name = parsed["children"][0]["name"];
  EXPECT_TRUE(name.starts_with("caf\xef\xbf\xbd-")) << "invalid bytes become U+FFFD";
  EXPECT_EQ(parsed["children"][0]["path"], home / "mixed/" + name);

  const auto text = runTidewarden({"scan", home / "mixed"});
  ASSERT_EQ(text.code, 0);
  EXPECT_NE(text.out.find(name + "/"), std::string::npos);
  EXPECT_EQ(text.out.find(odd), std::string::npos) << "raw invalid bytes never reach the terminal";
}

}  // namespace
}  // namespace tw::test
