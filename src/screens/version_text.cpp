#include "screens/version_text.h"

#include <cctype>

namespace tw {
namespace {

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

// The run of digits or of other characters starting at `at`.
std::string_view runAt(std::string_view text, std::size_t at) {
  std::size_t end = at;
  const bool digits = isDigit(text[at]);
  while (end < text.size() && isDigit(text[end]) == digits) ++end;
  return text.substr(at, end - at);
}

int compareNumbers(std::string_view left, std::string_view right) {
  while (left.size() > 1 && left.front() == '0') left.remove_prefix(1);
  while (right.size() > 1 && right.front() == '0') right.remove_prefix(1);
  if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
  return left.compare(right) < 0 ? -1 : (left == right ? 0 : 1);
}

// What is left of the longer name once the shorter one ran out: a pre-release tag
// ("-rc1", "-beta") makes it older, anything else ("·1", ".1") newer.
int compareTail(std::string_view tail) { return tail.front() == '-' || tail.front() == '~' ? -1 : 1; }

}  // namespace

int compareVersions(std::string_view left, std::string_view right) {
  std::size_t l = 0, r = 0;
  while (l < left.size() && r < right.size()) {
    const auto a = runAt(left, l), b = runAt(right, r);
    const bool digitsA = isDigit(a.front()), digitsB = isDigit(b.front());
    int order = 0;
    if (digitsA && digitsB) {
      order = compareNumbers(a, b);
    } else if (digitsA != digitsB) {
      order = digitsA ? 1 : -1;  // "1.2.3" after "1.2.beta"
    } else {
      order = a.compare(b) < 0 ? -1 : (a == b ? 0 : 1);
    }
    if (order != 0) return order;
    l += a.size();
    r += b.size();
  }
  if (l < left.size()) return compareTail(left.substr(l));
  if (r < right.size()) return -compareTail(right.substr(r));
  return 0;
}

bool versionWithin(std::string_view version, std::string_view wanted) {
  if (wanted.empty()) return false;
  if (version == wanted) return true;
  return version.size() > wanted.size() && version.starts_with(wanted) &&
         (version[wanted.size()] == '.' || version[wanted.size()] == '-' || version[wanted.size()] == '+');
}

std::string newestWithin(const std::vector<std::string>& versions, std::string_view wanted) {
  std::string newest;
  for (const auto& version : versions) {
    if (versionWithin(version, wanted) && (newest.empty() || compareVersions(version, newest) > 0)) newest = version;
  }
  return newest;
}

}  // namespace tw
