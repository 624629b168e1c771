#include "updates/semantic_version.h"

#include <algorithm>
#include <charconv>
#include <tuple>

namespace tw {
namespace {

bool isDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isIdentifier(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
  });
}

// "0" or digits without a leading zero.
bool isNumericIdentifier(std::string_view text) { return isDigits(text) && (text.size() == 1 || text.front() != '0'); }

std::vector<std::string_view> splitDots(std::string_view text) {
  std::vector<std::string_view> parts;
  std::size_t start = 0;
  while (true) {
    const std::size_t dot = text.find('.', start);
    parts.push_back(text.substr(start, dot == std::string_view::npos ? std::string_view::npos : dot - start));
    if (dot == std::string_view::npos) return parts;
    start = dot + 1;
  }
}

std::optional<std::uint64_t> parseNumber(std::string_view text) {
  if (!isNumericIdentifier(text)) return std::nullopt;
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// Pre-release identifiers need no leading zeros in numbers; build identifiers may have them.
std::optional<std::vector<std::string>> parseIdentifiers(std::string_view text, bool preRelease) {
  std::vector<std::string> identifiers;
  for (const std::string_view part : splitDots(text)) {
    if (!isIdentifier(part)) return std::nullopt;
    if (preRelease && isDigits(part) && !isNumericIdentifier(part)) return std::nullopt;
    identifiers.emplace_back(part);
  }
  return identifiers;
}

std::weak_ordering compareIdentifiers(const std::string& left, const std::string& right) {
  const bool leftNumeric = isDigits(left);
  const bool rightNumeric = isDigits(right);
  if (leftNumeric && rightNumeric) {
    // Without leading zeros the longer number is the larger; this holds past 64 bits too.
    if (left.size() != right.size()) return left.size() <=> right.size();
    return left <=> right;
  }
  if (leftNumeric != rightNumeric) return leftNumeric ? std::weak_ordering::less : std::weak_ordering::greater;
  return left <=> right;
}

std::string joinDots(const std::vector<std::string>& identifiers) {
  std::string text;
  for (const auto& identifier : identifiers) {
    if (!text.empty()) text += '.';
    text += identifier;
  }
  return text;
}

}  // namespace

std::optional<SemanticVersion> parseSemanticVersion(std::string_view text) {
  SemanticVersion version;
  const std::size_t plus = text.find('+');
  if (plus != std::string_view::npos) {
    auto build = parseIdentifiers(text.substr(plus + 1), false);
    if (!build) return std::nullopt;
    version.build = std::move(*build);
    text = text.substr(0, plus);
  }
  const std::size_t dash = text.find('-');
  if (dash != std::string_view::npos) {
    auto preRelease = parseIdentifiers(text.substr(dash + 1), true);
    if (!preRelease) return std::nullopt;
    version.preRelease = std::move(*preRelease);
    text = text.substr(0, dash);
  }
  const auto core = splitDots(text);
  if (core.size() != 3) return std::nullopt;
  const auto major = parseNumber(core[0]);
  const auto minor = parseNumber(core[1]);
  const auto patch = parseNumber(core[2]);
  if (!major || !minor || !patch) return std::nullopt;
  version.major = *major;
  version.minor = *minor;
  version.patch = *patch;
  return version;
}

std::string SemanticVersion::text() const {
  std::string result = std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
  if (!preRelease.empty()) result += "-" + joinDots(preRelease);
  if (!build.empty()) result += "+" + joinDots(build);
  return result;
}

std::weak_ordering precedence(const SemanticVersion& left, const SemanticVersion& right) {
  if (const auto order =
          std::tie(left.major, left.minor, left.patch) <=> std::tie(right.major, right.minor, right.patch);
      order != 0) {
    return order;
  }
  if (left.isPreRelease() != right.isPreRelease()) {
    return left.isPreRelease() ? std::weak_ordering::less : std::weak_ordering::greater;
  }
  const std::size_t shared = std::min(left.preRelease.size(), right.preRelease.size());
  for (std::size_t i = 0; i < shared; ++i) {
    if (const auto order = compareIdentifiers(left.preRelease[i], right.preRelease[i]); order != 0) return order;
  }
  return left.preRelease.size() <=> right.preRelease.size();
}

}  // namespace tw
