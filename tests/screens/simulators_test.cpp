#include <stdio.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_home.h"
#include "screens/simulators.h"
#include "support/program_in.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

TEST(Simulators, OffersDevicesWithTheirSnapshotsAndPreselectsSystemImagesNoDeviceUses) {
  FakeHome home;
  stockAndroidHome(home);
  setModificationTime(home / ".android/avd/Pixel_7.avd/userdata-qemu.img", 12 * oneDay);
  const auto result = Simulators::scan(inputFor(home), linuxDevToolTables());
  EXPECT_FALSE(result.note.has_value());
  EXPECT_THAT(summaries(result),
              UnorderedElementsAre("android-avds: Pixel 7 API 34, Pixel 7 API 34 \u00b7 snapshot before-login, Pixel 7 "
                                   "API 34 \u00b7 snapshot default_boot, Tablet",
                                   "android-system-images: android-30 \u00b7 default \u00b7 x86_64*, android-33 \u00b7 "
                                   "google_apis_playstore \u00b7 x86_64*, android-34 \u00b7 google_apis \u00b7 x86_64 "
                                   "[used by Pixel 7 API 34, Tablet]"));
  const auto* pixel = itemNamed(result, "Pixel 7 API 34");
  EXPECT_EQ(pixel->id, home / ".android/avd/Pixel_7.avd");
  EXPECT_EQ(pixel->detail,
            "Virtual device Pixel_7 \u00b7 system-images/android-34/google_apis/x86_64 \u00b7 last used "
            "12 days ago");
  // The snapshots are items of their own and not counted twice.
  EXPECT_GE(pixel->size.value_or(0), 80'000);
  EXPECT_LT(pixel->size.value_or(0), 80'000 + 30'000);
  EXPECT_THAT(commandsOf(*pixel), ElementsAre(ElementsAre(home / "Android/Sdk/cmdline-tools/latest/bin/avdmanager",
                                                          "delete", "avd", "-n", "Pixel_7")));
  // A .ini pointing outside the home folder does not lead the removal there.
  EXPECT_EQ(itemNamed(result, "Tablet")->id, home / ".android/avd/Tablet.avd");
  const auto* unused = itemNamed(result, "android-30 \u00b7 default \u00b7 x86_64");
  EXPECT_THAT(commandsOf(*unused), ElementsAre(ElementsAre(home / "Android/Sdk/cmdline-tools/latest/bin/sdkmanager",
                                                           "--sdk_root=" + home.path() + "/Android/Sdk", "--uninstall",
                                                           "system-images;android-30;default;x86_64")));
  EXPECT_EQ(unused->restoreHint, "sdkmanager --install \"system-images;android-30;default;x86_64\"");
  EXPECT_TRUE(std::holds_alternative<DevAction::Trash>(
      itemNamed(result, "Pixel 7 API 34 \u00b7 snapshot default_boot")->action.value));
}

// An emulator runs the android-30 image and works in Pixel 7's default_boot snapshot.
void expectEmulatorMarkedInUse(const ProviderResult& result) {
  expectMarkedInUse(result, "android-30 \u00b7 default \u00b7 x86_64");
  expectMarkedInUse(result, "Pixel 7 API 34 \u00b7 snapshot default_boot");
  expectMarkedInUse(result, "Pixel 7 API 34");
  // The other unused image is still offered ticked.
  EXPECT_TRUE(itemNamed(result, "android-33 \u00b7 google_apis_playstore \u00b7 x86_64")->selected);
}

// A running emulator keeps its device and image open: both show it and neither is ticked.
// Deleting a device deletes its snapshots too, so a snapshot in use marks its device.
TEST(Simulators, WhatARunningProgramUsesIsMarkedAndNeverPreselected) {
  FakeHome home;
  stockAndroidHome(home);
  const ProgramIn emulator(home / "Android/Sdk/system-images/android-30/default/x86_64");
  const ProgramIn snapshotting(home / ".android/avd/Pixel_7.avd/snapshots/default_boot");
  const auto result = Simulators::scan(inputFor(home), linuxDevToolTables());
  expectEmulatorMarkedInUse(result);
  EXPECT_FALSE(itemNamed(result, "Tablet")->warning.has_value());
  EXPECT_FALSE(itemNamed(result, "Pixel 7 API 34 \u00b7 snapshot before-login")->warning.has_value());
}

// Programs' files are seen with every link resolved; items reached through linked folders
// (both moved to another disk, say) are compared the same way.
TEST(Simulators, WhatARunningProgramUsesIsMarkedThroughLinkedFolders) {
  FakeHome home;
  stockAndroidHome(home);
  makeFolders(home / "disk");
  for (const std::string moved : {".android", "Android"}) {
    ASSERT_EQ(::rename((home / moved).c_str(), (home / "disk/" + moved).c_str()), 0) << moved;
    ASSERT_EQ(::symlink((home / "disk/" + moved).c_str(), (home / moved).c_str()), 0) << moved;
  }
  const ProgramIn emulator(home / "disk/Android/Sdk/system-images/android-30/default/x86_64");
  const ProgramIn snapshotting(home / "disk/.android/avd/Pixel_7.avd/snapshots/default_boot");
  expectEmulatorMarkedInUse(Simulators::scan(inputFor(home), linuxDevToolTables()));
}

TEST(Simulators, RemovesThroughTheSdkToolsAndAfterwardsOffersNothingPreselected) {
  FakeHome home;
  stockAndroidHome(home);
  const auto result = Simulators::scan(inputFor(home), linuxDevToolTables());
  performPreselected(result, contextFor(home));
  EXPECT_EQ(itemNamed(result, "Tablet")->action.perform(contextFor(home)).error(), std::nullopt);
  const std::string sdk = "--sdk_root=" + home.path() + "/Android/Sdk";
  EXPECT_THAT(toolCalls(home),
              UnorderedElementsAre(
                  "sdkmanager [" + sdk + "] [--uninstall] [system-images;android-30;default;x86_64]",
                  "sdkmanager [" + sdk + "] [--uninstall] [system-images;android-33;google_apis_playstore;x86_64]",
                  "avdmanager [delete] [avd] [-n] [Tablet]"));
  EXPECT_FALSE(exists(home / "Android/Sdk/system-images/android-30/default/x86_64"));
  EXPECT_TRUE(exists(home / "Android/Sdk/system-images/android-34/google_apis/x86_64/system.img"));
  EXPECT_FALSE(exists(home / ".android/avd/Tablet.avd"));
  EXPECT_TRUE(exists("/etc"));
  const auto again = Simulators::scan(inputFor(home), linuxDevToolTables());
  EXPECT_THAT(
      summaries(again),
      UnorderedElementsAre("android-avds: Pixel 7 API 34, Pixel 7 API 34 \u00b7 snapshot before-login, Pixel 7 "
                           "API 34 \u00b7 snapshot default_boot",
                           "android-system-images: android-34 \u00b7 google_apis \u00b7 x86_64 [used by Pixel 7 "
                           "API 34]"));
}

TEST(Simulators, ADeviceWhoseSettingsCannotBeReadStopsSystemImagePreselection) {
  FakeHome home;
  stockAndroidHome(home);
  removeTree(home / ".android/avd/Tablet.avd/config.ini");
  removeTree(home / "Android/Sdk/cmdline-tools");
  const auto result = Simulators::scan(inputFor(home), linuxDevToolTables());
  EXPECT_EQ(groupWithId(result, "android-system-images")->note(),
            "Can't read the settings of Tablet, so no system image is pre-selected.");
  for (const auto& item : groupWithId(result, "android-system-images")->items()) EXPECT_FALSE(item.selected);
  // Without the SDK's tools, removal moves the files to the Trash.
  const auto* trash = std::get_if<DevAction::Trash>(&itemNamed(result, "Pixel 7 API 34")->action.value);
  ASSERT_NE(trash, nullptr);
  EXPECT_THAT(trash->paths, ElementsAre(home / ".android/avd/Pixel_7.avd", home / ".android/avd/Pixel_7.ini"));
}

// `xcrun simctl` as a Mac with three runtimes answers, recording each call.
void fakeSimctl(FakeHome& home) {
  const std::string devices = home / "Library/Developer/CoreSimulator/Devices";
  for (const std::string udid : {"A-17", "B-17-BOOTED", "C-16", "D-15", "E-16-BOOTED"}) {
    home.file("Library/Developer/CoreSimulator/Devices/" + udid + "/data/Containers/app.bin", 30'000);
  }
  const auto device = [&](const std::string& udid, const std::string& name, const std::string& state, bool available) {
    return R"({"udid": ")" + udid + R"(", "name": ")" + name + R"(", "state": ")" + state + R"(", "isAvailable": )" +
           (available ? "true" : "false") + R"(, "dataPath": ")" + devices + "/" + udid + R"(/data"})";
  };
  home.fileWithContents("simctl-devices.json", R"({"devices": {"com.apple.CoreSimulator.SimRuntime.iOS-17-2": [)" +
                                                   device("A-17", "iPhone 15", "Shutdown", true) + "," +
                                                   device("B-17-BOOTED", "iPhone 15 Pro", "Booted", true) +
                                                   R"(], "com.apple.CoreSimulator.SimRuntime.iOS-16-4": [)" +
                                                   device("C-16", "iPhone 14", "Shutdown", true) + "," +
                                                   device("E-16-BOOTED", "iPad Air", "Booted", true) +
                                                   R"(], "com.apple.CoreSimulator.SimRuntime.iOS-15-5": [)" +
                                                   device("D-15", "iPhone 12", "Shutdown", false) + "]}}");
  home.fileWithContents(
      "simctl-runtimes.json",
      R"({"R17": {"identifier": "R17", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.iOS-17-2",
                                    "version": "17.2", "sizeBytes": 7000000000, "deletable": true},
                            "R16": {"identifier": "R16", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.iOS-16-4",
                                    "version": "16.4", "sizeBytes": 5000000000, "deletable": true},
                            "R15": {"identifier": "R15", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.iOS-15-5",
                                    "version": "15.5", "sizeBytes": 4000000000, "deletable": false}})");
  standIn(home, ".local/bin/xcrun",
          "case \"$2 $3\" in\n"
          "  'list devices') cat \"$HOME/simctl-devices.json\" ;;\n"
          "  'runtime list') cat \"$HOME/simctl-runtimes.json\" ;;\n"
          "  'delete '*) rm -rf \"$HOME/Library/Developer/CoreSimulator/Devices/$3\" ;;\n"
          "esac");
}

TEST(Simulators, MacHomesListIOSSimulatorsThroughSimctlAndPreselectUnavailableAndOldOnes) {
  FakeHome home;
  fakeSimctl(home);
  const auto result = Simulators::scan(inputFor(home), macOSDevToolTables());
  EXPECT_THAT(
      summaries(result),
      UnorderedElementsAre("ios-simulators: iPad Air \u00b7 iOS 16.4 [old runtime] [booted], iPhone 12 \u00b7 iOS "
                           "15.5* [unavailable], iPhone 14 \u00b7 iOS 16.4* [old runtime], iPhone 15 Pro \u00b7 "
                           "iOS 17.2 [booted], iPhone 15 \u00b7 iOS 17.2",
                           "ios-runtimes: iOS 16.4 runtime, iOS 17.2 runtime"));
  const auto* runtime = itemNamed(result, "iOS 16.4 runtime");
  EXPECT_EQ(runtime->size, 5'000'000'000);
  EXPECT_EQ(runtime->detail, "2 simulators use it");
  const auto* old = itemNamed(result, "iPhone 14 \u00b7 iOS 16.4");
  EXPECT_EQ(old->detail, "Runs iOS 16.4; the newest runtime is 17.2");
  EXPECT_GE(old->size.value_or(0), 30'000);
  EXPECT_THAT(commandsOf(*old), ElementsAre(ElementsAre(home / ".local/bin/xcrun", "simctl", "delete", "C-16")));
  EXPECT_EQ(old->action.perform(contextFor(home)).error(), std::nullopt);
  EXPECT_FALSE(exists(home / "Library/Developer/CoreSimulator/Devices/C-16"));
  EXPECT_THAT(toolCalls(home), ElementsAre("xcrun [simctl] [list] [devices] [--json]",
                                           "xcrun [simctl] [runtime] [list] [-j]", "xcrun [simctl] [delete] [C-16]"));
}

TEST(Simulators, AnEmptyHomeSaysWhatTheScreenLooksFor) {
  FakeHome home;
  const auto result = Simulators::scan(inputFor(home), linuxDevToolTables());
  EXPECT_THAT(result.groups, IsEmpty());
  EXPECT_EQ(result.note,
            "No simulators or emulators found. Tidewarden looks for Android virtual devices (~/.android/avd) and "
            "system images in the Android SDK (~/Android/Sdk or $ANDROID_HOME).");
  const auto mac = Simulators::scan(inputFor(home), macOSDevToolTables());
  EXPECT_THAT(mac.groups, IsEmpty());
  EXPECT_TRUE(mac.note->ends_with(" Xcode isn't installed, so there are no iOS simulators to list.")) << *mac.note;
}

}  // namespace
}  // namespace tw::test
