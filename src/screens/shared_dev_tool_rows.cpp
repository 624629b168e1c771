#include "screens/shared_dev_tool_rows.h"

namespace tw::SharedDevToolRows {
namespace {

using Kind = ToolchainManager::Kind;

// nvm and SDKMAN are shell functions: a shell sources them from the folder we found, and
// the folder and version travel as arguments, never inside the script text.
ToolCommand shellFunction(const char* script, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"-c", script});
  return {"bash", {}, {}, std::move(arguments)};
}

ToolCommand trashInstead() { return {}; }

}  // namespace

ToolchainManager nvm() {
  ToolCommand uninstall = shellFunction(R"(export NVM_DIR="$1"; . "$1/nvm.sh" --no-use && nvm uninstall "$2")",
                                        {"nvm", "{root}", "{name}"});
  uninstall.needs = {"{root}/nvm.sh"};
  return {Kind::nvm, "nvm",     "Node.js \u00b7 nvm",   "node", {"$NVM_DIR", "~/.nvm"}, "versions/node", {"bin/node"},
          {},        uninstall, "nvm install {version}"};
}

ToolchainManager fnm(std::vector<std::string> roots) {
  return {Kind::fnm,
          "fnm",
          "Node.js \u00b7 fnm",
          "node",
          std::move(roots),
          "node-versions",
          {"installation/bin/node"},
          {},
          {"fnm", {"{root}"}, {}, {"--fnm-dir", "{root}", "uninstall", "{name}"}},
          "fnm install {version}"};
}

ToolchainManager volta() {
  return {Kind::volta,
          "volta",
          "Node.js \u00b7 Volta",
          "node",
          {"$VOLTA_HOME", "~/.volta"},
          "tools/image/node",
          {"bin/node"},
          {},
          trashInstead(),
          "volta install node@{version}"};
}

ToolchainManager pyenv() {
  return {Kind::pyenv,
          "pyenv",
          "Python \u00b7 pyenv",
          "python",
          {"$PYENV_ROOT", "~/.pyenv"},
          "versions",
          {"bin/python"},
          {"PYENV_VERSION"},
          {"pyenv", {"{root}/bin"}, {}, {"uninstall", "-f", "{name}"}},
          "pyenv install {name}"};
}

// `rbenv uninstall` comes with the ruby-build plugin.
ToolchainManager rbenv() {
  return {Kind::rbenv,
          "rbenv",
          "Ruby \u00b7 rbenv",
          "ruby",
          {"$RBENV_ROOT", "~/.rbenv"},
          "versions",
          {"bin/ruby"},
          {"RBENV_VERSION"},
          {"rbenv", {"{root}/bin"}, {"{root}/plugins/ruby-build/bin/rbenv-uninstall"}, {"uninstall", "-f", "{name}"}},
          "rbenv install {name}"};
}

ToolchainManager rustup() {
  return {Kind::rustup,
          "rustup",
          "Rust \u00b7 rustup",
          "rust",
          {"$RUSTUP_HOME", "~/.rustup"},
          "toolchains",
          {"bin/rustc", "bin/cargo"},
          {"RUSTUP_TOOLCHAIN"},
          {"rustup", {"$CARGO_HOME/bin", "~/.cargo/bin"}, {}, {"toolchain", "uninstall", "{name}"}},
          "rustup toolchain install {name}"};
}

ToolchainManager sdkman() {
  ToolCommand uninstall =
      shellFunction(R"(export SDKMAN_DIR="$1"; . "$1/bin/sdkman-init.sh" && sdk uninstall "$2" "$3")",
                    {"sdk", "{root}", "{candidate}", "{name}"});
  uninstall.needs = {"{root}/bin/sdkman-init.sh"};
  return {Kind::sdkman,
          "sdkman",
          "Java and JVM tools \u00b7 SDKMAN!",
          "sdkman",
          {"$SDKMAN_DIR", "~/.sdkman"},
          "candidates",
          {"bin/{candidate}", "bin/java", "bin/mvn"},
          {},
          uninstall,
          "sdk install {candidate} {name}"};
}

ToolchainManager goToolchains() {
  return {Kind::goToolchains,
          "go-toolchains",
          "Go \u00b7 downloaded toolchains",
          "go",
          {"$GOMODCACHE", "$GOPATH/pkg/mod", "~/go/pkg/mod"},
          "golang.org",
          {"bin/go"},
          {},
          trashInstead(),
          "GOTOOLCHAIN=go{version} go version"};
}

ToolchainManager goSdks() {
  return {Kind::goSdks,
          "go-sdks",
          "Go \u00b7 golang.org/dl",
          "go",
          {"~/sdk"},
          "",
          {"bin/go"},
          {},
          trashInstead(),
          "go install golang.org/dl/{name}@latest && {name} download"};
}

ToolchainManager fvm() {
  return {Kind::fvm,
          "fvm",
          "Flutter \u00b7 fvm",
          "flutter",
          {"$FVM_CACHE_PATH", "$FVM_HOME", "~/fvm", "~/.fvm"},
          "versions",
          {"bin/flutter", "bin/cache/dart-sdk/bin/dart"},
          {},
          trashInstead(),
          "fvm install {name}"};
}

ToolchainManager androidNdk(std::vector<std::string> sdk, std::string compiler) {
  return {Kind::androidNdk,
          "android-ndk",
          "Android NDK",
          "ndk",
          std::move(sdk),
          "ndk",
          {std::move(compiler), "ndk-build"},
          {},
          {"sdkmanager", androidTools(), {}, {"--sdk_root={root}", "--uninstall", "ndk;{name}"}},
          "sdkmanager --install \"ndk;{name}\""};
}

std::vector<std::string> editorCaches() {
  return {"Cache",      "CachedData", "CachedExtensionVSIXs", "CachedProfilesData",
          "Code Cache", "GPUCache",   "DawnGraphiteCache",    "DawnWebGPUCache",
          "logs"};
}

std::vector<std::string> gradleHome() { return {"$GRADLE_USER_HOME", "~/.gradle"}; }

std::vector<std::string> avdHome() {
  return {"$ANDROID_AVD_HOME", "$ANDROID_USER_HOME/avd", "$ANDROID_EMULATOR_HOME/avd", "~/.android/avd"};
}

std::vector<std::string> androidTools() { return {"{root}/cmdline-tools/latest/bin", "{root}/tools/bin"}; }

PackageStore bun() {
  return {"bun",
          "Bun cache",
          {"$BUN_INSTALL_CACHE_DIR", "~/.bun/install/cache"},
          {"bun", {"$BUN_INSTALL/bin", "~/.bun/bin"}, {}, {"pm", "cache", "rm"}}};
}

PackageStore uv() {
  return {"uv", "uv cache", {"$UV_CACHE_DIR", "$XDG_CACHE_HOME/uv"}, {"uv", {"~/.cargo/bin"}, {}, {"cache", "prune"}}};
}

PackageStore npm() {
  return {"npm", "npm cache", {"$npm_config_cache/_cacache", "~/.npm/_cacache"}, {"npm", {}, {}, {"cache", "verify"}}};
}

}  // namespace tw::SharedDevToolRows
