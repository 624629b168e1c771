#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tw {

// A version as Semantic Versioning 2.0.0 writes it: MAJOR.MINOR.PATCH, an optional
// pre-release after "-" and optional build metadata after "+".
struct SemanticVersion {
  std::uint64_t major = 0;
  std::uint64_t minor = 0;
  std::uint64_t patch = 0;
  std::vector<std::string> preRelease;  // the dot-separated identifiers; empty for a release
  std::vector<std::string> build;       // never affects precedence

  [[nodiscard]] bool isPreRelease() const { return !preRelease.empty(); }
  [[nodiscard]] std::string text() const;
};

// Only the exact grammar: no "v" prefix, no leading zeros in numbers, no empty identifiers,
// no surrounding blanks, numbers that fit in 64 bits.
[[nodiscard]] std::optional<SemanticVersion> parseSemanticVersion(std::string_view text);

// Precedence as the standard orders it: numbers numerically, a pre-release before its
// release, pre-release identifiers one by one (numeric below alphanumeric, more
// identifiers above fewer), build metadata ignored; so two different texts can be
// equivalent.
[[nodiscard]] std::weak_ordering precedence(const SemanticVersion& left, const SemanticVersion& right);

}  // namespace tw
