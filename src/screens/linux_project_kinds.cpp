#include "screens/project_kinds.h"

namespace tw {

// Each kind's folders are offered only beside the manifest of the tool that rebuilds them.
// Where a folder of that name can also hold checked-in code, the rule asks for the file the
// tool always writes into it (CMakeCache.txt, Composer's autoload.php), so a hand-made
// build/ or vendor/ folder is never offered; Go's and Ruby's vendor folders have no rule.
const ProjectKinds& linuxProjectKinds() {
  static const ProjectKinds kinds{
      .rules =
          {
              {{"build", "cmake-build-*"},
               {"CMakeLists.txt"},
               "CMakeCache.txt",
               "CMake build folder \u00b7 rebuilt on next cmake configure and build"},
              {{"_build", "deps"}, {"mix.exs"}, std::nullopt, "Elixir build output \u00b7 restore with mix deps.get"},
              {{"zig-cache", ".zig-cache", "zig-out"}, {"build.zig"}, std::nullopt, "Zig cache and output"},
              {{".stack-work"}, {"stack.yaml"}, std::nullopt, "Stack build output \u00b7 rebuilt on next stack build"},
              {{"dist-newstyle"}, {".cabal"}, std::nullopt, "Cabal build output \u00b7 rebuilt on next cabal build"},
              {{"target", ".bloop", ".metals"}, {"build.sbt"}, std::nullopt, "Scala build output and editor caches"},
              {{".terraform"},
               {".tf"},
               std::nullopt,
               "Terraform providers and modules \u00b7 restore with terraform init"},
              {{"vendor"},
               {"composer.json"},
               "autoload.php",
               "PHP dependencies \u00b7 reinstall with composer install"},
              {{".nox", ".eggs", "build"}, {"setup.py"}, std::nullopt, "Python build output and tool cache"},
          },
      .manifests = {"CMakeLists.txt", "mix.exs", "build.zig", "stack.yaml", "build.sbt", "setup.py"},
      .manifestSuffixes = {".cabal", ".tf"},
      .skip = {"Videos", "Templates", "Public"},
      .skipBelowHome = {"go/pkg", "snap"},
  };
  return kinds;
}

}  // namespace tw
