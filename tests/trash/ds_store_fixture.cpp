#include "trash/ds_store_fixture.h"

#include <stdexcept>

namespace tw::test {

DsStoreFixture::DsStoreFixture() {
  // Alignment word and magic, then the buddy allocator's header that records follow.
  bytes_ = bigEndian(1) + "Bud1" + std::string(24, '\0');
}

std::string DsStoreFixture::bigEndian(std::uint32_t value) {
  std::string out(4, '\0');
  for (int i = 0; i < 4; ++i) out[static_cast<std::size_t>(i)] = static_cast<char>((value >> (24 - 8 * i)) & 0xFF);
  return out;
}

std::string DsStoreFixture::utf16(const std::string& utf8) {
  std::string out;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    std::uint32_t code = lead;
    std::size_t length = 1;
    if (lead >= 0xF0) {
      code = lead & 0x07;
      length = 4;
    } else if (lead >= 0xE0) {
      code = lead & 0x0F;
      length = 3;
    } else if (lead >= 0xC0) {
      code = lead & 0x1F;
      length = 2;
    }
    if (i + length > utf8.size()) throw std::invalid_argument("truncated UTF-8 in fixture");
    for (std::size_t k = 1; k < length; ++k) code = code << 6 | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
    i += length;
    const auto unit = [&](std::uint32_t u) {
      out += static_cast<char>(u >> 8);
      out += static_cast<char>(u & 0xFF);
    };
    if (code >= 0x10000) {
      unit(0xD800 + ((code - 0x10000) >> 10));
      unit(0xDC00 + ((code - 0x10000) & 0x3FF));
    } else {
      unit(code);
    }
  }
  return out;
}

DsStoreFixture& DsStoreFixture::record(const std::string& name, const std::string& code, const std::string& type,
                                       const std::string& payload) {
  const std::string encodedName = utf16(name);
  bytes_ += bigEndian(static_cast<std::uint32_t>(encodedName.size() / 2)) + encodedName + code + type + payload;
  return *this;
}

DsStoreFixture& DsStoreFixture::text(const std::string& name, const std::string& code, const std::string& value) {
  const std::string encoded = utf16(value);
  return record(name, code, "ustr", bigEndian(static_cast<std::uint32_t>(encoded.size() / 2)) + encoded);
}

DsStoreFixture& DsStoreFixture::longText(const std::string& name, const std::string& code, std::uint32_t units) {
  return record(name, code, "ustr", bigEndian(units) + utf16(std::string(units, 'a')));
}

DsStoreFixture& DsStoreFixture::blob(const std::string& name, const std::string& code, const std::string& bytes) {
  return record(name, code, "blob", bigEndian(static_cast<std::uint32_t>(bytes.size())) + bytes);
}

DsStoreFixture& DsStoreFixture::raw(const std::string& bytes) {
  bytes_ += bytes;
  return *this;
}

}  // namespace tw::test
