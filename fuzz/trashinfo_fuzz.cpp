// Input: the text of a .trashinfo file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string_view>

#include "trash/trashinfo.h"

namespace {

void check(bool holds) {
  if (!holds) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const std::string_view top : {"/", "/media/usb", "/home/ann/.local/share"}) {
    const tw::TrashInfo info = tw::parseTrashInfo(text, top);
    if (info.path) {
      // Whatever the file says, an origin is absolute, tidy and free of NUL bytes.
      check(info.path->starts_with('/'));
      check(info.path->find('\0') == std::string::npos);
      check(info.path->find("//") == std::string::npos);
      check(info.path->find("/../") == std::string::npos && !info.path->ends_with("/.."));
    }
  }
  (void)tw::percentDecoded(text);
  (void)tw::parseLocalDateTime(text);
  return 0;
}
