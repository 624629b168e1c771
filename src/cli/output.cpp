#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>

#include "cli/cli.h"
#include "core/format.h"
#include "core/text.h"
#include "fs/path.h"

namespace tw::CLI {

std::string printable(const std::string& text) { return validUtf8(text); }

namespace {

// U+202A to U+202E (embeddings and overrides), U+2066 to U+2069 (isolates), U+200E,
// U+200F and U+061C (direction marks): each reorders what the terminal shows, so a name
// holding one could show as another. Their UTF-8 forms.
bool isDirectionControl(std::string_view rest, std::size_t& length, unsigned& codePoint) {
  const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(rest[index]); };
  if (rest.size() >= 3 && byte(0) == 0xe2 && byte(1) == 0x80 &&
      (byte(2) == 0x8e || byte(2) == 0x8f || (byte(2) >= 0xaa && byte(2) <= 0xae))) {
    length = 3;
    codePoint = 0x2000 + (byte(2) - 0x80);
    return true;
  }
  if (rest.size() >= 3 && byte(0) == 0xe2 && byte(1) == 0x81 && byte(2) >= 0xa6 && byte(2) <= 0xa9) {
    length = 3;
    codePoint = 0x2040 + (byte(2) - 0x80);
    return true;
  }
  if (rest.size() >= 2 && byte(0) == 0xd8 && byte(1) == 0x9c) {
    length = 2;
    codePoint = 0x061c;
    return true;
  }
  return false;
}

}  // namespace

std::string terminalText(const std::string& text) {
  const std::string valid = validUtf8(text);
  std::string shown;
  for (std::size_t at = 0; at < valid.size(); ++at) {
    const auto byte = static_cast<unsigned char>(valid[at]);
    const auto next = at + 1 < valid.size() ? static_cast<unsigned char>(valid[at + 1]) : 0;
    std::size_t length = 0;
    unsigned codePoint = 0;
    if (byte < 0x20 || byte == 0x7f) {
      shown += fmt::format("\\x{:02x}", byte);
    } else if (byte == 0xc2 && next >= 0x80 && next <= 0x9f) {  // C1 controls, U+0080 to U+009F
      shown += fmt::format("\\u{:04x}", next);
      ++at;
    } else if (isDirectionControl(std::string_view(valid).substr(at), length, codePoint)) {
      shown += fmt::format("\\u{:04x}", codePoint);
      at += length - 1;
    } else {
      shown += valid[at];
    }
  }
  return shown;
}

std::string formatTable(const std::vector<std::vector<std::string>>& rows, const std::vector<Align>& align,
                        const std::string& indent) {
  std::size_t columns = 0;
  for (const auto& row : rows) columns = std::max(columns, row.size());
  if (columns == 0) return "";
  std::vector<std::size_t> widths(columns, 0);
  for (const auto& row : rows) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], characterCount(terminalText(row[column])));
    }
  }
  const auto alignment = [&](std::size_t column) { return column < align.size() ? align[column] : Align::left; };
  std::string out;
  for (const auto& row : rows) {
    out += indent;
    for (std::size_t column = 0; column < row.size(); ++column) {
      const std::string cell = terminalText(row[column]);
      const std::string padding(widths[column] - characterCount(cell), ' ');
      const bool last = column + 1 == row.size();
      if (alignment(column) == Align::right) {
        out += padding + cell;
      } else {
        out += cell;
        if (!last) out += padding;
      }
      if (!last) out += "  ";
    }
    out += '\n';
  }
  return out;
}

void table(const std::vector<std::vector<std::string>>& rows, const std::vector<Align>& align,
           const std::string& indent) {
  std::fputs(formatTable(rows, align, indent).c_str(), stdout);
}

std::string encodeJSON(const nlohmann::json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

void emit(const nlohmann::json& value) {
  std::string text;
  try {
    text = encodeJSON(value);
  } catch (const nlohmann::json::exception&) {
    std::fputs("tidewarden: could not encode JSON\n", stderr);
    return;
  }
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

nlohmann::json jsonDate(const std::optional<Date>& date) { return date ? nlohmann::json(iso8601(*date)) : nullptr; }

nlohmann::json jsonString(const std::optional<std::string>& text) {
  return text ? nlohmann::json(validUtf8(*text)) : nullptr;
}

std::string badgeText(const std::vector<Badge>& badges) {
  std::string text;
  for (const auto& badge : badges) {
    if (!text.empty()) text += ' ';
    text += "[" + badge.text + "]";
  }
  return text;
}

std::string plural(std::int64_t count, const std::string& word) {
  return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

std::string expand(const std::string& path, const std::string& home) {
  std::string result = path;
  if (!result.empty() && result.front() == '~') result = home + result.substr(1);
  if (result.empty() || result.front() != '/') {
    std::string cwd(4096, '\0');
    if (::getcwd(cwd.data(), cwd.size()) != nullptr) {
      cwd.resize(std::char_traits<char>::length(cwd.c_str()));
      result = cwd + "/" + result;
    }
  }
  return standardizePath(result);
}

std::string tilde(const std::string& path, const std::string& home) { return tildePath(path, home); }

nlohmann::json decimal(double value, int places) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", places, value);
  return nlohmann::json::parse(text, nullptr, false);
}

int needConfirmation(const Args&, const std::string& what) {
  std::fprintf(stderr, "\nNothing was deleted. Re-run with --yes to %s, or --dry-run to preview.\n", what.c_str());
  return 1;
}

}  // namespace tw::CLI
