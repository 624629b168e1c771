#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <regex>

#include "support/fake_home.h"
#include "support/file_fixtures.h"
#include "support/listening_socket.h"
#include "support/screen_output.h"
#include "support/stand_in_tools.h"

namespace tw::test {
namespace {

using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

constexpr std::int64_t MiB = 1024 * 1024;

// A made-up system under a temporary root: apt's downloads, a journal with its service
// running, snapd with an old revision and a snapshot, an unused Flatpak runtime and crash
// dumps, with stand-ins for the tools that manage them.
class SystemCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    writeFilledFile(root / "var/cache/apt/archives/git_2.39.2-1_amd64.deb", 2 * MiB);
    writeFilledFile(root / "var/cache/apt/archives/jq_1.6-2.1_amd64.deb", MiB);
    writeFile(root / "var/cache/apt/archives/lock", "");
    makeFolders(root / "var/cache/apt/archives/partial");
    writeFilledFile(root / "var/log/journal/0123abcd/system.journal", 3 * MiB);

    writeFilledFile(root / "var/lib/snapd/snaps/firefox_4033.snap", 3 * MiB);
    writeFilledFile(root / "var/lib/snapd/snaps/firefox_3941.snap", 2 * MiB);
    writeFilledFile(root / "var/lib/snapd/snapshots/7_firefox_123.0_3941.zip", MiB);

    writeFilledFile(home / ".local/share/flatpak/runtime/org.gnome.Platform/x86_64/44/active/files/lib.so", 2 * MiB);
    writeFilledFile(home / ".local/share/flatpak/runtime/org.gnome.Platform/x86_64/45/active/files/lib.so", MiB);

    const std::vector<std::pair<std::string, double>> crashes{{"var/crash/_usr_bin_old.1000.crash", 5},
                                                              {"var/crash/_usr_bin_new.1000.crash", 1},
                                                              {"var/lib/systemd/coredump/core.app.1000.zst", 10}};
    for (const auto& [path, days] : crashes) {
      writeFilledFile(root / path, 100'000);
      setDaysAgo(root / path, days, days);
    }

    journalctl = writeStandInTool(bin + "/journalctl", {{"*", ""}});
    aptGet = writeStandInTool(bin + "/apt-get", {{"clean", ""}});
    snap = writeStandInTool(bin + "/snap", {{"list --all",
                                             "Name     Version    Rev   Tracking       Publisher  Notes\n"
                                             "firefox  124.0-2    4033  latest/stable  mozilla**  -\n"
                                             "firefox  123.0.1-1  3941  latest/stable  mozilla**  disabled\n"},
                                            {"saved",
                                             "Set  Snap     Age  Version  Rev   Size    Notes\n"
                                             "7    firefox  2d   123.0    3941  1.05MB  auto\n"},
                                            {"remove *", ""},
                                            {"forget *", ""}});
    flatpak = writeStandInTool(bin + "/flatpak", {{"uninstall --unused --user",
                                                   "        ID                    Branch    Op\n"
                                                   " 1.     org.gnome.Platform    44        r\n\n"
                                                   "Proceed with these changes to the user installation? [Y/n]: n",
                                                   1},
                                                  {"uninstall --unused --system", "Nothing unused to uninstall"},
                                                  {"uninstall --unused --user --noninteractive", ""}});
    writeStandInPkexec(bin);
  }

  [[nodiscard]] RunResult run(const std::vector<std::string>& arguments) const {
    return runOnSystem(root.path(), arguments);
  }
  [[nodiscard]] nlohmann::json list() const { return screenOnSystem(root.path(), "system"); }

  // The commands the stand-in pkexec was given to run, after the shell, its script, the
  // script's name and its mark.
  [[nodiscard]] std::vector<std::string> privilegedCommands() const {
    const auto words = standInPkexecArguments(bin);
    return words.size() > 5 ? std::vector<std::string>(words.begin() + 5, words.end()) : std::vector<std::string>{};
  }

  FakeHome home;
  TempFolder root{"tw-system-root"};
  ListeningSocket snapd{root / "run/snapd.socket"};
  ListeningSocket journald{root / "run/systemd/journal/stdout"};
  std::string bin = home.folder(".local/bin");
  std::string journalctl, aptGet, snap, flatpak;
};

TEST_F(SystemCommand, ListsEachKindOfSystemDataWithTheCommandThatRemovesIt) {
  const auto output = list();
  EXPECT_TRUE(output["note"].is_null()) << output["note"];
  EXPECT_THAT(fieldOf(output["groups"], "id"), UnorderedElementsAre("journal", "apt-cache", "snap-revisions",
                                                                    "snap-snapshots", "flatpak-runtimes", "crashes"));
  const auto& journal = itemNamed(groupWithId(output, "journal"), "System journal");
  EXPECT_EQ(journal["selected"], false);
  EXPECT_EQ(journal["size"], 3 * MiB);
  EXPECT_EQ(journal["freeable"], 0) << "the newest 100 MB are kept";
  EXPECT_EQ(journal["action"], "as administrator: 'journalctl' '--rotate' && 'journalctl' '--vacuum-size=100M'");

  const auto& cache = itemNamed(groupWithId(output, "apt-cache"), "Downloaded packages");
  EXPECT_EQ(cache["selected"], true);
  EXPECT_EQ(cache["size"], 3 * MiB);
  EXPECT_EQ(cache["action"], "as administrator: 'apt-get' 'clean'");

  const auto& revision = itemNamed(groupWithId(output, "snap-revisions"), "firefox revision 3941");
  EXPECT_EQ(revision["selected"], true);
  EXPECT_EQ(revision["size"], 2 * MiB);
  EXPECT_EQ(revision["action"], "as administrator: 'snap' 'remove' 'firefox' '--revision=3941'");
  const auto& snapshot = itemNamed(groupWithId(output, "snap-snapshots"), "firefox snapshot 7");
  EXPECT_EQ(snapshot["selected"], false);
  EXPECT_EQ(snapshot["size"], MiB);
  EXPECT_EQ(snapshot["action"], "as administrator: 'snap' 'forget' '7' 'firefox'");

  const auto& runtimes = itemNamed(groupWithId(output, "flatpak-runtimes"), "Unused runtimes (user installation)");
  EXPECT_EQ(runtimes["selected"], false);
  EXPECT_EQ(runtimes["detail"], "org.gnome.Platform");
  EXPECT_EQ(runtimes["size"], 2 * MiB) << "only the unused branch";
  EXPECT_EQ(runtimes["action"], "flatpak uninstall --unused --user --noninteractive");

  EXPECT_THAT(namesTicked(groupWithId(output, "crashes")),
              UnorderedElementsAre("_usr_bin_old.1000.crash*", "core.app.1000.zst*", "_usr_bin_new.1000.crash"));
  EXPECT_TRUE(standInCalls(aptGet).empty() && standInCalls(journalctl).empty()) << "listing removes nothing";
  EXPECT_EQ(standInCalls(flatpak),
            (std::vector<std::string>{"uninstall --unused --user", "uninstall --unused --system"}));
}

TEST_F(SystemCommand, CleanRunsExactlyTheTickedCommandsThroughOnePrivilegedCall) {
  const auto clean = run({"system", "clean", "--selected", "--yes"});
  ASSERT_EQ(clean.code, 0) << clean.out << clean.err;
  EXPECT_THAT(clean.out, HasSubstr("4 done"));
  EXPECT_EQ(standInCalls(bin + "/pkexec").size(), 1u);
  EXPECT_THAT(privilegedCommands(),
              UnorderedElementsAre("'apt-get' 'clean'", "'snap' 'remove' 'firefox' '--revision=3941'",
                                   "'rm' '-f' '--' '" + root / "var/crash/_usr_bin_old.1000.crash" + "'",
                                   "'rm' '-f' '--' '" + root / "var/lib/systemd/coredump/core.app.1000.zst" + "'"));
  EXPECT_EQ(standInCalls(aptGet), std::vector<std::string>{"clean"});
  EXPECT_THAT(standInCalls(snap), ::testing::Contains("remove firefox --revision=3941"));
  EXPECT_TRUE(standInCalls(journalctl).empty());
  EXPECT_FALSE(exists(root / "var/crash/_usr_bin_old.1000.crash"));
  EXPECT_FALSE(exists(root / "var/lib/systemd/coredump/core.app.1000.zst"));
  EXPECT_TRUE(exists(root / "var/crash/_usr_bin_new.1000.crash"));
}

TEST_F(SystemCommand, ADismissedPromptFailsEveryItemAndRemovesNothing) {
  writeFile(bin + "/pkexec.deny", "");
  const auto clean = run({"system", "clean", "--selected", "--yes", "--json"});
  EXPECT_EQ(clean.code, 1);
  const auto output = nlohmann::json::parse(clean.out);
  EXPECT_EQ(output["done"], 0);
  ASSERT_EQ(output["failed"].size(), 4u);
  for (const auto& failure : output["failed"]) EXPECT_EQ(failure["error"], "Cancelled") << failure["name"];
  EXPECT_TRUE(standInCalls(aptGet).empty());
  EXPECT_TRUE(exists(root / "var/crash/_usr_bin_old.1000.crash"));
}

TEST_F(SystemCommand, AStoppedServiceLeavesItsGroupOutSaysWhyAndItsToolNeverRuns) {
  snapd.close();
  journald.close();
  const auto output = list();
  EXPECT_EQ(output["note"],
            "Not checked: the systemd journal (systemd-journald isn't running); snaps (snapd isn't running).");
  EXPECT_THAT(fieldOf(output["groups"], "id"), UnorderedElementsAre("apt-cache", "flatpak-runtimes", "crashes"));
  EXPECT_TRUE(standInCalls(snap).empty());
}

// The real system, read as it is: apt's cache against du, the journal against journalctl.
// Other programs may change either while we look (apt downloading), so a reading counts only
// when the peer's figure was the same before and after ours.
struct Reading {
  nlohmann::json output;
  std::string peer;
};

template <typename Peer>
std::optional<Reading> steadyReading(Peer peer) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    const std::string before = peer();
    const auto result = runTidewarden({"system", "--json"});
    EXPECT_EQ(result.code, 0) << result.err;
    if (peer() == before) return Reading{nlohmann::json::parse(result.out), before};
  }
  return std::nullopt;
}

const nlohmann::json* groupOrNull(const nlohmann::json& output, const std::string& id) {
  for (const auto& group : output["groups"]) {
    if (group["id"] == id) return &group;
  }
  return nullptr;
}

TEST(SystemCommandOnThisMachine, ThePackageCacheAgreesWithDu) {
  FakeHome home;
  const std::string archives = "/var/cache/apt/archives";
  const auto count = runProcess({"/bin/sh", "-c", "ls \"$0\"/*.deb 2>/dev/null | wc -l", archives});
  const int debCount = std::stoi(count.out.empty() ? "0" : count.out);
  if (!exists("/usr/bin/apt-get") || debCount == 0) GTEST_SKIP() << "no apt-get, or nothing in " << archives;
  const auto reading = steadyReading([&] { return runProcess({"du", "-sb", archives}).out; });
  if (!reading) GTEST_SKIP() << archives << " kept changing while it was measured";
  const auto* cache = groupOrNull(reading->output, "apt-cache");
  ASSERT_NE(cache, nullptr) << reading->output.dump();
  const std::int64_t ours = (*cache)["items"][0]["size"];
  // du adds the folders and the lock file and counts bytes, where we count the blocks of
  // the packages: at most one block apart per file.
  EXPECT_NEAR(static_cast<double>(ours), static_cast<double>(std::stoll(reading->peer)), 4096.0 * (debCount + 8))
      << "du -sb " << archives;
}

TEST(SystemCommandOnThisMachine, TheJournalAgreesWithJournalctl) {
  FakeHome home;
  if (!exists("/usr/bin/journalctl") && !exists("/bin/journalctl")) GTEST_SKIP() << "journalctl isn't installed";
  const auto reading = steadyReading([] { return runProcess({"journalctl", "--disk-usage"}).out; });
  if (!reading) GTEST_SKIP() << "the journal kept growing while it was measured";
  std::smatch match;
  const std::regex size(R"(take up ([0-9.]+)([BKMGT]))");
  if (!std::regex_search(reading->peer, match, size)) GTEST_SKIP() << "journalctl says: " << reading->peer;
  const double units[] = {1, 1024, 1024.0 * 1024, 1024.0 * 1024 * 1024, 1024.0 * 1024 * 1024 * 1024};
  const double reported = std::stod(match[1]) * units[std::string("BKMGT").find(match[2].str()[0])];
  if (const auto* journal = groupOrNull(reading->output, "journal")) {
    // journalctl rounds to one decimal.
    EXPECT_NEAR((*journal)["items"][0]["size"].get<double>(), reported, reported * 0.06 + MiB) << reading->peer;
  } else {
    const auto& note = reading->output["note"];
    const std::string text = note.is_string() ? note.get<std::string>() : "";
    EXPECT_TRUE(reported == 0 || text.find("systemd-journald isn't running") != std::string::npos)
        << "journalctl: " << reading->peer << "; no journal group; note: " << text;
  }
}

}  // namespace
}  // namespace tw::test
