#include "core/text.h"

#include <algorithm>
#include <cctype>

namespace tw {
namespace {

// Length of the valid UTF-8 sequence at `at`, or 0 when the bytes there are not one.
std::size_t validSequenceLength(std::string_view bytes, std::size_t at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned char lead = byte(at);
  if (lead < 0x80) return 1;
  std::size_t length;
  unsigned char low = 0x80, high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return 0;
  }
  if (at + length > bytes.size()) return 0;
  if (byte(at + 1) < low || byte(at + 1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (byte(at + i) < 0x80 || byte(at + i) > 0xBF) return 0;
  }
  return length;
}

}  // namespace

std::string validUtf8(std::string_view bytes) {
  // Nearly every text is valid already: find the first bad byte before building anything.
  std::size_t at = 0;
  while (at < bytes.size()) {
    const std::size_t length = validSequenceLength(bytes, at);
    if (length == 0) break;
    at += length;
  }
  std::string result(bytes.substr(0, at));
  while (at < bytes.size()) {
    const std::size_t length = validSequenceLength(bytes, at);
    if (length == 0) {
      result += "\xEF\xBF\xBD";
      ++at;
    } else {
      result.append(bytes.substr(at, length));
      at += length;
    }
  }
  return result;
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size(); ++count) at += std::max<std::size_t>(1, validSequenceLength(text, at));
  return count;
}

std::string firstCharacters(std::string_view text, std::size_t count) {
  std::size_t at = 0;
  for (std::size_t taken = 0; taken < count && at < text.size(); ++taken) {
    at += std::max<std::size_t>(1, validSequenceLength(text, at));
  }
  return std::string(text.substr(0, at));
}

std::string trimmed(std::string_view text) {
  const auto isSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return std::string(text);
}

std::vector<std::string> splitLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.emplace_back(line);
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return lines;
}

std::string lowercased(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return result;
}

}  // namespace tw
