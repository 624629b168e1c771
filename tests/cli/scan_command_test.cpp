#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <tuple>

#include "core/format.h"
#include "lens/disk_scanner.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using nlohmann::json;
constexpr std::int64_t kMiB = 1024 * 1024;

// The names and nesting of a scan's JSON tree, as "(child child(grandchild))": "()" is an
// empty list of children, and a node without a list shows none.
std::string shape(const json& node) {
  std::string text = node.value("name", "");
  if (!node.contains("children")) return text;
  text += "(";
  for (const auto& child : node["children"]) text += (text.back() == '(' ? "" : " ") + shape(child);
  return text + ")";
}

json scanJson(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"scan", "--json"});
  const auto result = runTidewarden(arguments);
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.err, "") << "no spinner when the output is not a terminal";
  return json::parse(result.out);
}

void makeProject(FakeHome& home) {
  home.file("work/app/build/output.bin", 5 * kMiB);
  home.file("work/app/src/main.c", 2000);
  home.file("work/app/node_modules/pkg/blob", 2 * kMiB);
  home.file("work/video.mov", 3 * kMiB);
  home.file("work/notes.txt", 300);
  home.folder("work/empty");
}

TEST(ScanCommand, JsonDescribesTheTreeAsTheScannerSeesIt) {
  FakeHome home;
  makeProject(home);
  json answer = scanJson({home / "work"});
  EXPECT_TRUE(answer["elapsed"].is_number());
  answer.erase("elapsed");
  const auto tree = DiskScanner().scan(home / "work");
  const auto node = [](const FSNode& n) {
    return json{{"name", n.name}, {"path", n.path()},       {"isDir", n.isDir},
                {"size", n.size}, {"freeable", n.freeable}, {"items", n.itemCount}};
  };
  // The small items are notes.txt and the empty folder.
  EXPECT_EQ(answer, (json{{"path", home / "work"},
                          {"size", tree->size},
                          {"freeable", tree->freeable},
                          {"items", 11},
                          {"smallItems", 2},
                          {"smallBytes", tree->smallBytes},
                          {"children", {node(*tree->children.at(0)), node(*tree->children.at(1))}}}));
  EXPECT_EQ(shape(answer), "(app video.mov)") << "the default depth shows one level";
  EXPECT_EQ(answer["children"][0]["items"], 7);
}

TEST(ScanCommand, DepthAndTopShapeTheJson) {
  FakeHome home;
  makeProject(home);
  // Files have no list of children, depth 3 stops at pkg, and --top applies at every level.
  const json deep = scanJson({home / "work", "--depth", "3"});
  EXPECT_EQ(shape(deep), "(app(build(output.bin) node_modules(pkg)) video.mov)");
  EXPECT_EQ(shape(scanJson({home / "work", "--top=1", "--depth=2"})), "(app(build))");
  const json none = scanJson({home / "work", "--depth", "0"});
  EXPECT_EQ(shape(none), "()");
  EXPECT_EQ(none["size"], deep["size"]);
}

TEST(ScanCommand, TextListsTheLargestItemsAndSummarises) {
  FakeHome home;
  makeProject(home);
  const auto result = runTidewarden({"scan", home / "work", "--top", "1"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto& out = result.out;
  for (const char* expected :
       {"SIZE", "REAL", "app/\n", "1 more item (", "2 items under 1 MB", " freeable) in 11 items, "}) {
    EXPECT_NE(out.find(expected), std::string::npos) << expected << " in:\n" << out;
  }
  EXPECT_EQ(out.find("video.mov"), std::string::npos) << "only the top item is listed";
  const std::string total = byteFormatter(DiskScanner().scan(home / "work")->size);
  EXPECT_NE(out.find("~/work: " + total + " ("), std::string::npos) << out;
  EXPECT_TRUE(
      out.ends_with("\nREAL is the space deleting would free (shared reflink extents and hard links excluded).\n"));
}

TEST(ScanCommand, ScansTheHomeRelativePathsAndLinkedFolders) {
  FakeHome home;
  home.file("Downloads/big.iso", 3 * kMiB);
  home.file("-weird-folder/file", 2 * kMiB);
  ASSERT_EQ(::symlink((home / "Downloads").c_str(), (home / "alias").c_str()), 0);
  // The arguments, the folder scanned and its largest child: the home folder by default, a
  // relative path that looks like an option, a link to a folder.
  const std::vector<std::tuple<std::vector<std::string>, std::string, std::string>> cases{
      {{"scan", "--json"}, home.path(), "Downloads"},
      {{"scan", "--json", "--", "-weird-folder"}, home / "-weird-folder", "file"},
      {{"scan", home / "alias", "--json"}, home / "Downloads", "big.iso"}};
  for (const auto& [arguments, path, largest] : cases) {
    const auto result = runTidewarden(arguments, {}, home.path());
    ASSERT_EQ(result.code, 0) << result.err;
    const json answer = json::parse(result.out);
    EXPECT_EQ(answer["path"], path);
    EXPECT_EQ(answer["children"][0]["name"], largest);
  }
}

TEST(ScanCommand, RejectsMisuseAndPathsThatAreNotFolders) {
  FakeHome home;
  const std::string file = home.file("plain.txt", 10), usage = "\nRun 'tidewarden help' for usage.\n";
  const std::vector<std::tuple<std::vector<std::string>, int, std::string>> cases{
      {{"scan", "--top", "0"}, 2, "tidewarden: --top expects a number ≥ 1, got '0'" + usage},
      {{"scan", "--depth", "-1"}, 2, "tidewarden: --depth expects a number from 0 to 1000, got '-1'" + usage},
      {{"scan", "--top", "many"}, 2, "tidewarden: --top expects a number ≥ 1, got 'many'" + usage},
      {{"scan", "a", "b"}, 2, "tidewarden: unexpected argument 'b'" + usage},
      {{"scan", file}, 1, "tidewarden: not a folder: " + file + "\n"},
      {{"scan", home / "missing", "--json"}, 1, "tidewarden: not a folder: " + (home / "missing") + "\n"}};
  for (const auto& [arguments, code, error] : cases) {
    const auto result = runTidewarden(arguments);
    EXPECT_EQ(result.code, code) << error;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, error);
  }
}

TEST(ScanCommand, NamesThatAreNotUtf8StayReadable) {
  FakeHome home;
  const std::string odd = "caf\xe9-\xff\xfe";
  home.file("mixed/" + odd + "/big", 2 * kMiB);
  const json answer = scanJson({home / "mixed"});  // parsing throws on invalid UTF-8
  const std::string name = answer["children"][0]["name"];
  EXPECT_TRUE(name.starts_with("caf\xef\xbf\xbd-")) << "invalid bytes become U+FFFD";
  EXPECT_EQ(answer["children"][0]["path"], home / "mixed/" + name);

  const auto text = runTidewarden({"scan", home / "mixed"});
  ASSERT_EQ(text.code, 0);
  EXPECT_NE(text.out.find(name + "/"), std::string::npos);
  EXPECT_EQ(text.out.find(odd), std::string::npos) << "raw invalid bytes never reach the terminal";
}

}  // namespace
}  // namespace tw::test
