#pragma once

#include <set>
#include <string>
#include <vector>

namespace tw {

// A tool version that a project asks for in one of its files: ".nvmrc" says "18",
// "rust-toolchain.toml" says "1.70.0", ".sdkmanrc" says "java=17.0.8-tem".
struct ProjectPin {
  std::string language;  // "node", "python", "ruby", "rust", "go", "flutter", "ndk", "gradle-wrapper" or an SDKMAN
                         // candidate ("java", "gradle", ...)
  std::string value;     // as the file writes it, trimmed
  std::string project;   // the project folder
  std::string file;      // the file that says so, relative to the project
};

// A pin file that exists but could not be read: any of `languages` may be pinned by it.
struct UnreadablePin {
  std::set<std::string> languages;
  std::string project;
  std::string file;
};

struct ProjectPins {
  std::vector<ProjectPin> pins;
  std::vector<UnreadablePin> unreadable;

  // Reads the pin files at the top of each project folder (and the Gradle build files one
  // level down, where Android projects keep them).
  [[nodiscard]] static ProjectPins read(const std::vector<std::string>& projects);

  // The pins of one language, and whether some unreadable file may hold one.
  [[nodiscard]] std::vector<ProjectPin> of(const std::string& language) const;
  [[nodiscard]] const UnreadablePin* unreadableFor(const std::string& language) const;
};

}  // namespace tw
