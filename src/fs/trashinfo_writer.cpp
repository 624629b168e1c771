#include "fs/trashinfo_writer.h"

#include <ctime>

namespace tw {

std::string percentEncoded(std::string_view text) {
  static constexpr char hex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') ||
                       c == '-' || c == '_' || c == '.' || c == '~' || c == '/';
    if (plain) {
      encoded += c;
    } else {
      encoded += '%';
      encoded += hex[byte >> 4];
      encoded += hex[byte & 0xF];
    }
  }
  return encoded;
}

std::string formatTrashInfo(std::string_view path, std::chrono::system_clock::time_point deletionDate) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(deletionDate);
  std::tm local{};
  localtime_r(&seconds, &local);
  char date[32];
  std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
  return "[Trash Info]\nPath=" + percentEncoded(path) + "\nDeletionDate=" + date + "\n";
}

}  // namespace tw
