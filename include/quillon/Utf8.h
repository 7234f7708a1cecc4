// UTF-16 to UTF-8, a code point at a time: what the class library's CW2A and the quillon tool's
// output are made of. Header-only, for hosts too.
#pragma once

#include <cstddef>

namespace quillon {

// The code point at p[i], moving i past it: a surrogate pair gives one code point, a lone
// surrogate U+FFFD. Unit is a 16-bit character type.
template <class Unit>
char32_t NextCodePoint(const Unit* p, size_t n, size_t& i) {
  const char32_t c = static_cast<char16_t>(p[i++]);
  if (c < 0xD800 || c > 0xDFFF) return c;
  if (c <= 0xDBFF && i < n && p[i] >= 0xDC00 && p[i] <= 0xDFFF) return 0x10000 + ((c - 0xD800) << 10) + (p[i++] - 0xDC00);
  return 0xFFFD;
}

// Writes c as UTF-8 at p, at most four bytes; returns the end.
inline char* AppendUtf8(char* p, char32_t c) {
  if (c < 0x80) {
    *p++ = static_cast<char>(c);
    return p;
  }
  if (c < 0x800) {
    *p++ = static_cast<char>(0xC0 | (c >> 6));
  } else if (c < 0x10000) {
    *p++ = static_cast<char>(0xE0 | (c >> 12));
    *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
  } else {
    *p++ = static_cast<char>(0xF0 | (c >> 18));
    *p++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
  }
  *p++ = static_cast<char>(0x80 | (c & 0x3F));
  return p;
}

}  // namespace quillon
