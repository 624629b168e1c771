// Input: names of the Trash entries, one per line, then a line "--", then the raw bytes
// of a .DS_Store. Without the separator every byte is file data and there are no names.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "trash/ds_store.h"

namespace {

void check(bool holds) {
  if (!holds) __builtin_trap();
}

bool validUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (i + length > text.size()) return false;
    i += length;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  std::set<std::string> names;
  std::string_view file = input;
  if (const auto separator = input.find("\n--\n"); separator != std::string_view::npos) {
    std::string_view list = input.substr(0, separator);
    file = input.substr(separator + 4);
    while (!list.empty()) {
      const auto end = list.find('\n');
      names.emplace(list.substr(0, end));
      if (end == std::string_view::npos) break;
      list.remove_prefix(end + 1);
    }
  }
  const auto records = tw::parsePutBackRecords(file, names);
  for (const auto& [name, putBack] : records) {
    check(names.contains(name));
    check(putBack.location || putBack.name);
    for (const auto& value : {putBack.location, putBack.name}) {
      if (!value) continue;
      // Under 4096 UTF-16 units can never need more than 3 bytes each.
      check(!value->empty() && value->size() < 4096 * 3 && validUtf8(*value));
    }
  }
  (void)tw::decodeUtf16BigEndian(file);
  return 0;
}
