#pragma once

// The rows that both platforms' tables share: these tools keep the same folders and
// take the same commands on Linux and macOS. Each table lists them in its own order
// beside its platform's own rows.

#include "screens/dev_tool_tables.h"

namespace tw::SharedDevToolRows {

[[nodiscard]] ToolchainManager nvm();
[[nodiscard]] ToolchainManager volta();
[[nodiscard]] ToolchainManager pyenv();
[[nodiscard]] ToolchainManager rbenv();
[[nodiscard]] ToolchainManager rustup();
[[nodiscard]] ToolchainManager sdkman();
[[nodiscard]] ToolchainManager goToolchains();
[[nodiscard]] ToolchainManager goSdks();
[[nodiscard]] ToolchainManager fvm();
// fnm keeps its versions in the platform's data folder.
[[nodiscard]] ToolchainManager fnm(std::vector<std::string> roots);
// The NDK lives in the Android SDK; its compiler sits in a folder named for the platform.
[[nodiscard]] ToolchainManager androidNdk(std::vector<std::string> sdk, std::string compiler);

[[nodiscard]] std::vector<std::string> editorCaches();
[[nodiscard]] std::vector<std::string> gradleHome();
[[nodiscard]] std::vector<std::string> avdHome();
[[nodiscard]] std::vector<std::string> androidTools();

[[nodiscard]] PackageStore bun();
[[nodiscard]] PackageStore uv();
[[nodiscard]] PackageStore npm();

}  // namespace tw::SharedDevToolRows
