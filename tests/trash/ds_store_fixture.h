#pragma once

#include <cstdint>
#include <string>

namespace tw::test {

// Builds the bytes of a Finder .DS_Store as the Trash keeps it: a header, then records of
// the form <name length><UTF-16BE name><code><type><payload>.
class DsStoreFixture {
 public:
  DsStoreFixture();

  // A "ustr" record: value length in code units, then the UTF-16BE value.
  DsStoreFixture& text(const std::string& name, const std::string& code, const std::string& value);
  // A "ustr" record whose value is `units` copies of one ASCII letter.
  DsStoreFixture& longText(const std::string& name, const std::string& code, std::uint32_t units);
  // A record of another type with raw bytes as its payload.
  DsStoreFixture& blob(const std::string& name, const std::string& code, const std::string& bytes);
  DsStoreFixture& raw(const std::string& bytes);

  [[nodiscard]] const std::string& bytes() const { return bytes_; }

  [[nodiscard]] static std::string utf16(const std::string& utf8);
  [[nodiscard]] static std::string bigEndian(std::uint32_t value);

 private:
  DsStoreFixture& record(const std::string& name, const std::string& code, const std::string& type,
                         const std::string& payload);
  std::string bytes_;
};

}  // namespace tw::test
