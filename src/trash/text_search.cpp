#include "trash/text_search.h"

#include <locale.h>
#include <wctype.h>

namespace tw {
namespace {

// The user's character rules when they are Unicode-aware, else the built-in UTF-8 ones;
// made once and never changed, so sharing it between threads is safe.
locale_t caseLocale() {
  static const locale_t locale = [] {
    for (const char* name : {"", "C.UTF-8", "en_US.UTF-8"}) {
      locale_t candidate = ::newlocale(LC_CTYPE_MASK, name, static_cast<locale_t>(0));
      if (candidate != static_cast<locale_t>(0) && ::towlower_l(L'\u00C4', candidate) == L'\u00E4') return candidate;
      if (candidate != static_cast<locale_t>(0)) ::freelocale(candidate);
    }
    return static_cast<locale_t>(0);
  }();
  return locale;
}

// Next code point of UTF-8 text; an invalid byte stands for itself, offset into a
// private range so it never equals a real character.
char32_t nextCodePoint(std::string_view text, std::size_t& at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  std::size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
  if (length == 0 || at + length > text.size()) {
    ++at;
    return 0x110000 + lead;
  }
  char32_t value = length == 1 ? lead : length == 2 ? lead & 0x1F : length == 3 ? lead & 0x0F : lead & 0x07;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) {
      ++at;
      return 0x110000 + lead;
    }
    value = (value << 6) | (byte(at + i) & 0x3F);
  }
  at += length;
  return value;
}

}  // namespace

std::u32string foldedCase(std::string_view text) {
  const locale_t locale = caseLocale();
  std::u32string folded;
  for (std::size_t at = 0; at < text.size();) {
    const char32_t code = nextCodePoint(text, at);
    if (locale != static_cast<locale_t>(0) && code < 0x110000) {
      folded += static_cast<char32_t>(::towlower_l(static_cast<wint_t>(code), locale));
    } else if (code < 0x80) {
      folded += static_cast<char32_t>(code >= 'A' && code <= 'Z' ? code + 32 : code);
    } else {
      folded += code;
    }
  }
  return folded;
}

bool containsIgnoringCase(std::string_view text, std::string_view search) {
  return foldedCase(text).find(foldedCase(search)) != std::u32string::npos;
}

}  // namespace tw
