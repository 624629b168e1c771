#include "trash/ds_store.h"

#include <algorithm>
#include <cstdint>

namespace tw {
namespace {

// Record values of this many code units or more are not put-back paths.
constexpr std::uint32_t maxValueUnits = 4096;
// How far back (in UTF-16 code units) a record's file name may start.
constexpr std::size_t maxNameUnits = 1024;
constexpr std::size_t minimumFileSize = 20;
constexpr std::size_t firstRecordOffset = 8;
constexpr std::size_t recordHeaderSize = 12;  // code, type, value length

std::uint32_t bigEndian32(std::string_view data, std::size_t at) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(data[at + i])); };
  return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

void appendUtf8(std::string& out, std::uint32_t codePoint) {
  if (codePoint < 0x80) {
    out += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    out += static_cast<char>(0xC0 | (codePoint >> 6));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else if (codePoint < 0x10000) {
    out += static_cast<char>(0xE0 | (codePoint >> 12));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (codePoint >> 18));
    out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  }
}

// The file name that precedes the record at `p`: a 32-bit length k followed by k UTF-16
// units ending exactly at `p`. Several k may fit by accident, so the decoded text must
// also be a name the folder really holds.
std::optional<std::string> recordName(std::string_view data, std::size_t p, const std::set<std::string>& names) {
  const std::size_t limit = std::max<std::size_t>(1, std::min((p - 4) / 2, maxNameUnits));
  for (std::size_t k = 1; k <= limit; ++k) {
    if (p < 2 * k + 4) break;
    const std::size_t start = p - 2 * k;
    if (bigEndian32(data, start - 4) != k) continue;
    auto text = decodeUtf16BigEndian(data.substr(start, 2 * k));
    if (text && names.contains(*text)) return text;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> decodeUtf16BigEndian(std::string_view bytes) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  std::string out;
  out.reserve(bytes.size());
  const auto unit = [&](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i]) << 8 |
                                      static_cast<unsigned char>(bytes[i + 1]));
  };
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const std::uint32_t first = unit(i);
    if (first >= 0xDC00 && first <= 0xDFFF) return std::nullopt;
    if (first >= 0xD800 && first <= 0xDBFF) {
      if (i + 2 >= bytes.size()) return std::nullopt;
      const std::uint32_t second = unit(i + 2);
      if (second < 0xDC00 || second > 0xDFFF) return std::nullopt;
      appendUtf8(out, 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00));
      i += 2;
      continue;
    }
    appendUtf8(out, first);
  }
  return out;
}

std::map<std::string, PutBack> parsePutBackRecords(std::string_view data, const std::set<std::string>& names) {
  std::map<std::string, PutBack> result;
  if (data.size() < minimumFileSize) return result;
  std::size_t p = firstRecordOffset;
  while (p + recordHeaderSize <= data.size()) {
    const std::string_view code = data.substr(p, 4);
    if ((code != "ptbL" && code != "ptbN") || data.substr(p + 4, 4) != "ustr") {
      ++p;
      continue;
    }
    const std::uint32_t units = bigEndian32(data, p + 8);
    const std::size_t valueStart = p + recordHeaderSize;
    if (units == 0 || units >= maxValueUnits || 2 * std::size_t{units} > data.size() - valueStart) {
      ++p;
      continue;
    }
    auto value = decodeUtf16BigEndian(data.substr(valueStart, 2 * std::size_t{units}));
    if (!value) {
      ++p;
      continue;
    }
    if (auto name = recordName(data, p, names)) {
      PutBack& entry = result[*name];
      (code == "ptbL" ? entry.location : entry.name) = std::move(*value);
    }
    p = valueStart + 2 * std::size_t{units};
  }
  return result;
}

}  // namespace tw
