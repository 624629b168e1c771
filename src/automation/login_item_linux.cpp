#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "automation/login_item.h"
#include "fs/file_io.h"
#include "fs/path.h"

namespace tw {
namespace {

std::string autostartEntryPath(const Context& context) { return context.configHome + "/autostart/tidewarden.desktop"; }

bool validUtf8(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80         ? 1
                               : (lead >> 5) == 6  ? 2
                               : (lead >> 4) == 14 ? 3
                               : (lead >> 3) == 30 ? 4
                                                   : 0;
    if (length == 0 || i + length > text.size()) return false;
    for (std::size_t k = 1; k < length; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) >> 6) != 2) return false;
    }
    i += length;
  }
  return true;
}

// The program as one quoted argument of an Exec line: inside the quotes `"`, `` ` ``, `$`
// and `\` take a backslash, then the value's own escaping doubles every backslash, and a
// literal `%` is written `%%`.
std::optional<std::string> execValue(const std::string& program) {
  if (!program.starts_with('/') || !validUtf8(program)) return std::nullopt;
  std::string quoted = "\"";
  for (const char c : program) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return std::nullopt;
    if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += '\\';
    quoted += c;
  }
  quoted += '"';
  std::string value;
  for (const char c : quoted) {
    if (c == '\\') {
      value += "\\\\";
    } else if (c == '%') {
      value += "%%";
    } else {
      value += c;
    }
  }
  return value;
}

std::string desktopEntry(const std::string& exec) {
  return "[Desktop Entry]\n"
         "Type=Application\n"
         "Name=Tidewarden\n"
         "Comment=Finds and removes the space that development work leaves behind\n"
         "Exec=" +
         exec +
         "\n"
         "Icon=tidewarden\n"
         "Terminal=false\n"
         "X-GNOME-Autostart-enabled=true\n";
}

}  // namespace

std::optional<std::string> registerLoginItem(const Context& context, bool on, const std::string& program) {
  const std::string path = autostartEntryPath(context);
  if (!on) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) return "cannot remove " + path + ": " + std::strerror(errno);
    return std::nullopt;
  }
  const auto exec = execValue(program);
  if (!exec) return "the program's path cannot be written in an autostart entry: " + program;
  if (const auto error = createDirectories(parentPath(path), 0700)) {
    return "cannot create " + parentPath(path) + ": " + error.message();
  }
  if (const auto error = writeFileAtomically(path, desktopEntry(*exec))) {
    return "cannot write " + path + ": " + error.message();
  }
  return std::nullopt;
}

bool loginItemRegistered(const Context& context) {
  struct stat status {};
  return ::lstat(autostartEntryPath(context).c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace tw
