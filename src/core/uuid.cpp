#include "core/uuid.h"

#include <sys/random.h>

#include <array>
#include <random>

#include <fmt/format.h>

namespace tw {
namespace {

std::array<unsigned char, 16> randomBytes() {
  std::array<unsigned char, 16> bytes{};
  if (::getentropy(bytes.data(), bytes.size()) != 0) {
    // The system generator is a fine second choice for an identifier that is not a secret.
    std::random_device device;
    for (auto& byte : bytes) byte = static_cast<unsigned char>(device());
  }
  return bytes;
}

}  // namespace

std::string makeUuid() {
  auto bytes = randomBytes();
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += fmt::format("{:02x}", bytes[i]);
  }
  return text;
}

bool isUuid(std::string_view text) {
  if (text.size() != 36) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
    const char c = text[i];
    const bool hex = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    if (hyphen ? c != '-' : !hex) return false;
  }
  return true;
}

}  // namespace tw
