#include <gtest/gtest.h>

#include "core/dev_item.h"
#include "screens/app_bundles.h"
#include "screens/screen_fixtures.h"
#include "screens/uninstaller.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using Groups = std::map<std::string, std::vector<std::string>>;

std::string infoPlist(const std::string& identifier, const std::string& name) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
         "\t<key>CFBundleName</key>\n\t<string>" +
         name + "</string>\n\t<key>CFBundleIdentifier</key>\n\t<string>" + identifier +
         "</string>\n</dict>\n</plist>\n";
}

void bundle(const std::string& app, const std::string& identifier, const std::string& name) {
  writeFile(app + "/Contents/Info.plist", infoPlist(identifier, name));
  writeFilledFile(app + "/Contents/MacOS/" + name, 2 * MiB);
}

TEST(UninstallerMacOS, OffersEachAppWithItsLibraryFoldersAndShowsLeftoversUnticked) {
  FakeHome home;
  TempFolder root;
  bundle(root / "Applications/Sketch.app", "com.bohemiancoding.sketch3", "Sketch");
  bundle(root / "Applications/Safari.app", "com.apple.Safari", "Safari");  // part of the system
  bundle(home / "Applications/Tool.app", "org.example.tool", "Tool &amp; Co");
  // A binary property list: the app is offered alone.
  writeFile(root / "Applications/Binary.app/Contents/Info.plist", "bplist00\x01\x02");
  home.file("Library/Application Support/com.bohemiancoding.sketch3/data.db", 3 * MiB);
  home.file("Library/Caches/com.bohemiancoding.sketch3/cache.bin", 1 * MiB);
  home.file("Library/Preferences/com.bohemiancoding.sketch3.plist", 2000);
  home.file("Library/Preferences/com.bohemiancoding.sketch3.other.plist", 2000);  // another app's
  home.file("Library/Containers/org.example.tool/Data/settings", 500);
  home.file("Library/Containers/com.gone.Editor/Data/big.bin", 4 * MiB);
  home.file("Library/Saved Application State/com.gone.Viewer.savedState/windows.plist", 100);
  home.folder("Library/Containers/com.apple.mail");

  const auto result = Uninstaller::scan(macOSUninstallerTable(), home.context(), root.path());
  EXPECT_EQ(summary(result), (Groups{{"bundles", {"Binary", "Sketch", "Tool & Co"}},
                                     {"leftovers", {"com.gone.Editor", "com.gone.Viewer"}}}));
  const DevItem& sketch = itemWithId(result, root / "Applications/Sketch.app");
  ASSERT_TRUE(std::holds_alternative<DevAction::Trash>(sketch.action.value));
  EXPECT_EQ(std::get<DevAction::Trash>(sketch.action.value).paths,
            (std::vector<std::string>{root / "Applications/Sketch.app",
                                      home / "Library/Application Support/com.bohemiancoding.sketch3",
                                      home / "Library/Caches/com.bohemiancoding.sketch3",
                                      home / "Library/Preferences/com.bohemiancoding.sketch3.plist"}));
  EXPECT_GE(sketch.freeable.value_or(0), 6 * MiB) << "the app and its Library folders together";
  EXPECT_EQ(std::get<DevAction::Trash>(itemWithId(result, root / "Applications/Binary.app").action.value).paths.size(),
            1u);
  EXPECT_EQ(result.note, std::nullopt);
}

TEST(UninstallerMacOS, ReadsTheIdentifierFromXmlPropertyListsOnly) {
  EXPECT_EQ(plistString(infoPlist("com.example.a", "A"), "CFBundleIdentifier"), "com.example.a");
  EXPECT_EQ(plistString("<key>CFBundleIdentifier</key><integer>4</integer>", "CFBundleIdentifier"), std::nullopt);
  EXPECT_EQ(plistString("<key>CFBundleIdentifier</key>\n  <string>unterminated", "CFBundleIdentifier"), std::nullopt);
  TempFolder folder;
  writeFile(folder / "Odd.app/Contents/Info.plist", "bplist00");
  const auto info = readBundleInfo(folder / "Odd.app");
  EXPECT_EQ(info.identifier, "");
  EXPECT_EQ(info.name, "Odd");
}

}  // namespace
}  // namespace tw::test
