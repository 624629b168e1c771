#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "screens/project_kinds.h"
#include "screens/projects.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using ::testing::UnorderedElementsAre;
using Artifacts = std::map<std::string, std::string>;  // path relative to the project -> hint

Artifacts artifactsOf(const std::string& project) {
  Artifacts artifacts;
  for (const auto& found : Projects::artifacts(project)) {
    for (const auto& artifact : found.artifacts) artifacts[artifact.path.substr(project.size() + 1)] = artifact.hint;
  }
  return artifacts;
}

const std::string cmake = "CMake build folder \u00b7 rebuilt on next cmake configure and build";
const std::string python = "Python build output and tool cache";
const std::string scala = "Scala build output and editor caches";
const std::string zig = "Zig cache and output";
const std::string elixir = "Elixir build output \u00b7 restore with mix deps.get";

}  // namespace

TEST(LinuxProjectKinds, EachKindIsAProjectAndOffersWhatItsToolRebuilds) {
  FakeHome home;
  home.file("code/engine/CMakeLists.txt");
  home.file("code/engine/build/CMakeCache.txt", 100);
  home.file("code/engine/cmake-build-debug/CMakeCache.txt", 100);
  home.file("code/engine/cmake-build-release-clang/CMakeCache.txt", 100);
  home.file("code/phoenix/mix.exs");
  home.file("code/phoenix/_build/dev/app.beam");
  home.file("code/phoenix/deps/plug/mix.exs");
  home.file("code/ziggy/build.zig");
  for (const char* folder : {"zig-cache", ".zig-cache", "zig-out"}) home.folder(std::string("code/ziggy/") + folder);
  home.file("code/parser/stack.yaml");
  home.folder("code/parser/.stack-work/dist");
  home.file("code/lens/lens.cabal");
  home.folder("code/lens/dist-newstyle/cache");
  home.file("code/play/build.sbt");
  for (const char* folder : {"target", ".bloop", ".metals"}) home.folder(std::string("code/play/") + folder);
  home.file("code/infra/main.tf");
  home.folder("code/infra/.terraform/providers");
  home.file("code/shop/composer.json");
  home.file("code/shop/vendor/autoload.php");
  home.file("code/legacy/setup.py");
  for (const char* folder : {".nox", ".eggs", "build/lib"}) home.folder(std::string("code/legacy/") + folder);

  EXPECT_THAT(Projects::discover({home / "code"}, {}, home.path()),
              UnorderedElementsAre(home / "code/engine", home / "code/phoenix", home / "code/ziggy",
                                   home / "code/parser", home / "code/lens", home / "code/play", home / "code/infra",
                                   home / "code/shop", home / "code/legacy"));
  EXPECT_EQ(artifactsOf(home / "code/engine"),
            (Artifacts{{"build", cmake}, {"cmake-build-debug", cmake}, {"cmake-build-release-clang", cmake}}));
  EXPECT_EQ(artifactsOf(home / "code/phoenix"), (Artifacts{{"_build", elixir}, {"deps", elixir}}));
  EXPECT_EQ(artifactsOf(home / "code/ziggy"), (Artifacts{{"zig-cache", zig}, {".zig-cache", zig}, {"zig-out", zig}}));
  EXPECT_EQ(artifactsOf(home / "code/parser"),
            (Artifacts{{".stack-work", "Stack build output \u00b7 rebuilt on next stack build"}}));
  EXPECT_EQ(artifactsOf(home / "code/lens"),
            (Artifacts{{"dist-newstyle", "Cabal build output \u00b7 rebuilt on next cabal build"}}));
  EXPECT_EQ(artifactsOf(home / "code/play"), (Artifacts{{"target", scala}, {".bloop", scala}, {".metals", scala}}));
  EXPECT_EQ(artifactsOf(home / "code/infra"),
            (Artifacts{{".terraform", "Terraform providers and modules \u00b7 restore with terraform init"}}));
  EXPECT_EQ(artifactsOf(home / "code/shop"),
            (Artifacts{{"vendor", "PHP dependencies \u00b7 reinstall with composer install"}}));
  EXPECT_EQ(artifactsOf(home / "code/legacy"), (Artifacts{{".nox", python}, {".eggs", python}, {"build", python}}));
}

TEST(LinuxProjectKinds, FoldersOfCheckedInCodeAreNeverOffered) {
  FakeHome home;
  // Go and Ruby vendor their sources into the repository.
  home.file("code/svc/go.mod");
  home.file("code/svc/vendor/modules.txt");
  home.file("code/site/Gemfile");
  home.folder("code/site/vendor/bundle");
  // A vendor folder Composer did not write, a build folder CMake did not configure.
  home.file("code/plugin/composer.json");
  home.file("code/plugin/vendor/lib/Thing.php");
  home.file("code/tool/CMakeLists.txt");
  home.file("code/tool/build/toolchain.cmake");
  home.file("code/tool/cmake-build-notes/README");
  // The Xcode rule for build still wins beside an Xcode project, and Maven's for target.
  home.file("code/app/CMakeLists.txt");
  home.folder("code/app/App.xcodeproj");
  home.folder("code/app/build");
  home.file("code/jvm/pom.xml");
  home.file("code/jvm/build.sbt");
  home.folder("code/jvm/target");

  for (const char* project : {"svc", "site", "plugin", "tool"}) {
    EXPECT_EQ(artifactsOf(home / ("code/" + std::string(project))), Artifacts{}) << project;
  }
  EXPECT_EQ(artifactsOf(home / "code/app"), (Artifacts{{"build", "Build output \u00b7 rebuilt on next build"}}));
  EXPECT_EQ(artifactsOf(home / "code/jvm"),
            (Artifacts{{"target", "Rust/Maven build output \u00b7 rebuilt on next build"}}));
}

TEST(LinuxProjectKinds, TheSharedRulesComeFirstUnchanged) {
  const auto& rules = Projects::rules();
  const auto& added = linuxProjectKinds().rules;
  ASSERT_EQ(rules.size(), 16 + added.size());
  EXPECT_EQ(rules[15].hint, "Test coverage report");
  for (std::size_t index = 0; index < added.size(); ++index) EXPECT_EQ(rules[16 + index].hint, added[index].hint);
  EXPECT_TRUE(macOSProjectKinds().rules.empty());
}

TEST(LinuxProjectDiscovery, MediaFoldersModuleStoresAndSnapsAreNotSearched) {
  FakeHome home;
  home.file("code/real/package.json");
  for (const char* folder : {"Videos", "Music", "Pictures", "Templates", "Public"}) {
    home.file(std::string(folder) + "/stuff/package.json");
  }
  home.file("go/pkg/mod/github.com/x/y@v1.0.0/go.mod");
  home.file("go/src/mine/go.mod");  // a GOPATH project of the user's own is still found
  home.file("snap/code/common/.config/ext/package.json");
  home.file("snap/code/123/project/package.json");
  home.file("work/snap/package.json");  // only the home folder's snap is skipped

  EXPECT_THAT(Projects::discover({home.path()}, {}, home.path()),
              UnorderedElementsAre(home / "code/real", home / "go/src/mine", home / "work/snap"));
  // A root the user chose is searched even when it is one of them.
  EXPECT_THAT(Projects::discover({home / "snap"}, {}, home.path()),
              UnorderedElementsAre(home / "snap/code/123/project"));
}

TEST(ProjectsNote, ProjectsWithNothingToCleanAreNamedAsFound) {
  FakeHome home;
  EXPECT_EQ(Projects::scan(home.path(), {home / "code"}).note,
            "No projects found. Add the folders where you keep your code.");
  home.file("code/engine/CMakeLists.txt");
  home.folder("code/engine/build");  // not configured: no CMakeCache.txt, not an artifact
  EXPECT_EQ(Projects::scan(home.path(), {home / "code"}).note,
            "Found 1 project; it holds no dependencies, build output or caches that take space.");
  home.file("code/web/package.json");
  home.folder("code/web/node_modules");  // measures 0
  EXPECT_EQ(Projects::scan(home.path(), {home / "code"}).note,
            "Found 2 projects; none holds dependencies, build output or caches that take space.");
  home.file("code/engine/build/CMakeCache.txt", 4096);
  const auto result = Projects::scan(home.path(), {home / "code"});
  EXPECT_EQ(result.note, std::nullopt);
  ASSERT_EQ(result.groups.size(), 1u);
  EXPECT_EQ(result.groups[0]->id, home / "code/engine");
}

}  // namespace tw::test
