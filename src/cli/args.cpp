#include <cerrno>
#include <cstdlib>
#include <limits>

#include "cli/cli.h"

namespace tw::CLI {
namespace {

std::string canonicalName(const std::string& name) {
  if (name == "y") return "yes";
  if (name == "n") return "dry-run";
  return name;
}

std::optional<std::int64_t> parseInteger(const std::string& text) {
  std::size_t at = 0;
  bool negative = false;
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) negative = text[at++] == '-';
  if (at == text.size()) return std::nullopt;
  std::int64_t value = 0;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (c < '0' || c > '9') return std::nullopt;
    const int digit = c - '0';
    // Accumulate negatively so that the minimum value parses too.
    if (value < (std::numeric_limits<std::int64_t>::min() + digit) / 10) return std::nullopt;
    value = value * 10 - digit;
  }
  if (!negative) {
    if (value == std::numeric_limits<std::int64_t>::min()) return std::nullopt;
    value = -value;
  }
  return value;
}

}  // namespace

Args::Args(const std::vector<std::string>& arguments, const std::set<std::string>& knownFlags,
           const std::set<std::string>& knownOptions, std::size_t maxPositional) {
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const std::string& word = arguments[index];
    if (word == "--") {
      positional.insert(positional.end(), arguments.begin() + static_cast<std::ptrdiff_t>(index) + 1, arguments.end());
      break;
    }
    if (word.size() < 2 || word.front() != '-') {
      positional.push_back(word);
      continue;
    }
    std::string name =
        word.substr(word.find_first_not_of('-') == std::string::npos ? word.size() : word.find_first_not_of('-'));
    std::optional<std::string> attached;
    if (const std::size_t equals = name.find('='); equals != std::string::npos) {
      attached = name.substr(equals + 1);
      name = name.substr(0, equals);
    }
    name = canonicalName(name);
    if (knownFlags.contains(name) && !attached) {
      flags.insert(name);
    } else if (knownOptions.contains(name)) {
      if (attached) {
        options[name] = *attached;
      } else if (index + 1 < arguments.size()) {
        options[name] = arguments[++index];
      } else {
        throw UsageError("--" + name + " needs a value");
      }
    } else {
      throw UsageError("unknown option '" + word + "'");
    }
  }
  if (positional.size() > maxPositional) {
    throw UsageError("unexpected argument '" + positional[maxPositional] + "'");
  }
}

std::int64_t Args::number(const std::string& name, std::int64_t fallback, std::int64_t min,
                          std::optional<std::int64_t> max) const {
  const auto found = options.find(name);
  if (found == options.end()) return fallback;
  const auto value = parseInteger(found->second);
  if (!value || *value < min || (max && *value > *max)) {
    const std::string range =
        max ? "from " + std::to_string(min) + " to " + std::to_string(*max) : "≥ " + std::to_string(min);
    throw UsageError("--" + name + " expects a number " + range + ", got '" + found->second + "'");
  }
  return *value;
}

}  // namespace tw::CLI
