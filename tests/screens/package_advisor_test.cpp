#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "core/format.h"
#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_home.h"
#include "screens/package_advisor.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr std::int64_t smallWorthwhile = 100'000;

// Projects of every kind under ~/code, and the pnpm, npm and uv stores.
void stockPackageHome(FakeHome& home) {
  home.file("code/shop/package.json", 10);
  home.file("code/shop/package-lock.json", 10);
  home.file("code/shop/node_modules/react/index.js", 200'000);
  home.file("code/admin/package.json", 10);
  home.file("code/admin/yarn.lock", 10);
  home.file("code/admin/node_modules/vue/index.js", 150'000);
  home.file("code/linked/package.json", 10);
  home.file("code/linked/pnpm-lock.yaml", 10);
  const std::string stored = home.file(".local/share/pnpm/store/v3/files/ab/cdef", 180'000);
  home.folder("code/linked/node_modules/.pnpm/lodash");
  EXPECT_EQ(::link(stored.c_str(), (home / "code/linked/node_modules/.pnpm/lodash/index.js").c_str()), 0);
  home.file("code/fast/package.json", 10);
  home.file("code/fast/bun.lockb", 10);
  home.file("code/fast/node_modules/hono/index.js", 50'000);
  home.file("code/ml/pyproject.toml", 10);
  home.file("code/ml/poetry.lock", 10);
  home.fileWithContents("code/ml/.venv/pyvenv.cfg", "home = /usr/bin\n");
  home.file("code/ml/.venv/lib/numpy.so", 120'000);
  home.file("code/scripts/requirements.txt", 10);
  home.fileWithContents("code/scripts/venv/pyvenv.cfg", "home = /usr/bin\n");
  home.file("code/scripts/venv/lib/requests.py", 80'000);
  home.file("code/modern/pyproject.toml", 10);
  home.file("code/modern/uv.lock", 10);
  home.file("code/modern/.venv/lib/httpx.py", 60'000);
  home.file("code/tool/Cargo.toml", 10);
  home.file("code/tool/Cargo.lock", 10);
  home.file("code/fresh/package.json", 10);
  home.file(".npm/_cacache/content-v2/sha512/aa/bb", 90'000);
  home.file(".cache/uv/archive-v0/x/y.py", 40'000);
  standIn(home, ".local/bin/pnpm");
}

std::vector<std::string> projectLines(const PackageAdvisor::Report& report, const FakeHome& home) {
  std::vector<std::string> lines;
  for (const auto& project : report.projects) {
    lines.push_back(project.path.substr(home.path().size() + 1) + " " + project.manager +
                    (project.lockFile.empty() ? "" : " (" + project.lockFile + ")"));
  }
  return lines;
}

TEST(PackageAdvisor, NamesEachProjectsManagerAndAdvisesASharedStoreWhereItPays) {
  FakeHome home;
  stockPackageHome(home);
  const auto report = PackageAdvisor::advise(inputFor(home), linuxDevToolTables(), smallWorthwhile);
  EXPECT_FALSE(report.note.has_value());
  EXPECT_THAT(
      projectLines(report, home),
      ElementsAre("code/shop npm (package-lock.json)", "code/admin Yarn (yarn.lock)", "code/ml Poetry (poetry.lock)",
                  "code/scripts pip", "code/modern uv (uv.lock)", "code/fast Bun (bun.lockb)",
                  "code/linked pnpm (pnpm-lock.yaml)", "code/fresh npm", "code/tool Cargo (Cargo.lock)"));
  ASSERT_EQ(report.projects.size(), 9u);
  const auto& linked = report.projects[6];
  EXPECT_GE(linked.size, 180'000);
  EXPECT_EQ(linked.freeable, 0);  // the store keeps every byte of it

  ASSERT_EQ(report.advice.size(), 2u);
  const auto& javascript = report.advice[0];
  EXPECT_THAT(javascript.projects, ElementsAre(home / "code/shop", home / "code/admin"));
  EXPECT_GE(javascript.freeable, 350'000);
  EXPECT_EQ(javascript.text, "These 2 npm and Yarn projects hold " + byteFormatter(javascript.freeable) +
                                 " of dependencies that pnpm or Bun would keep once, in a hard-linked store on the "
                                 "same file system.");
  const auto& python = report.advice[1];
  EXPECT_THAT(python.projects, ElementsAre(home / "code/ml", home / "code/scripts"));
  EXPECT_EQ(python.text,
            "These 2 Poetry and pip projects hold " + byteFormatter(python.freeable) +
                " in virtualenvs that uv would keep once, in a hard-linked cache on the same file system.");

  // Below the threshold the numbers are still there, the advice is not.
  const auto quiet = PackageAdvisor::advise(inputFor(home), linuxDevToolTables(), 10'000'000);
  EXPECT_THAT(quiet.advice, IsEmpty());
  EXPECT_EQ(quiet.projects.size(), report.projects.size());
}

TEST(PackageAdvisor, OffersTheSharedStoresWithTheirOwnPruneCommandNothingPreselected) {
  FakeHome home;
  stockPackageHome(home);
  const auto report = PackageAdvisor::advise(inputFor(home), linuxDevToolTables(), smallWorthwhile);
  std::vector<std::string> names;
  for (const auto& store : report.stores) {
    names.push_back(store.name);
    EXPECT_FALSE(store.selected) << store.name;
  }
  EXPECT_THAT(names, ElementsAre("npm cache", "uv cache", "pnpm store"));
  const auto& pnpm = report.stores[2];
  EXPECT_EQ(pnpm.detail, "~/.local/share/pnpm/store \u00b7 pruned with `pnpm store prune`");
  EXPECT_LT(pnpm.freeable.value_or(-1), pnpm.size.value_or(0));
  const auto* prune = std::get_if<DevAction::Commands>(&pnpm.action.value);
  ASSERT_NE(prune, nullptr);
  EXPECT_THAT(prune->commands, ElementsAre(ElementsAre(home / ".local/bin/pnpm", "store", "prune")));
  EXPECT_EQ(pnpm.action.perform(contextFor(home)).error(), std::nullopt);
  EXPECT_THAT(toolCalls(home), ElementsAre("pnpm [store] [prune]"));
  EXPECT_EQ(report.stores[0].detail,
            "~/.npm/_cacache \u00b7 npm isn't installed; moving the store to the Trash frees "
            "all of it");
  EXPECT_TRUE(std::holds_alternative<DevAction::Trash>(report.stores[0].action.value));
}

TEST(PackageAdvisor, WithoutProjectsSaysWhereToLook) {
  FakeHome home;
  const auto report = PackageAdvisor::advise(inputFor(home), macOSDevToolTables());
  EXPECT_THAT(report.projects, IsEmpty());
  EXPECT_THAT(report.advice, IsEmpty());
  EXPECT_THAT(report.stores, IsEmpty());
  EXPECT_EQ(report.note, "No projects found. Add the folders where you keep your code.");
}

}  // namespace
}  // namespace tw::test
