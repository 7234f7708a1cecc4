#include "quillon/afx/Convert.h"

#include <cstring>

#include "quillon/Utf8.h"

namespace {

void AppendUtf16(std::basic_string<WCHAR>& out, char32_t c) {
  if (c < 0x10000) {
    out += static_cast<WCHAR>(c);
  } else {
    c -= 0x10000;
    out += static_cast<WCHAR>(0xD800 | (c >> 10));
    out += static_cast<WCHAR>(0xDC00 | (c & 0x3FF));
  }
}

constexpr char32_t kReplacement = 0xFFFD;

}  // namespace

CW2A::CW2A(LPCWSTR psz, UINT nCodePage)
    : CW2A(psz, psz ? std::char_traits<WCHAR>::length(psz) : 0, nCodePage) {}

CW2A::CW2A(LPCWSTR pch, size_t nLength, UINT) {
  m_str.reserve(nLength);
  for (size_t i = 0; i < nLength;) {
    char bytes[4];
    m_str.append(bytes, quillon::AppendUtf8(bytes, quillon::NextCodePoint(pch, nLength, i)));
  }
}

CA2W::CA2W(LPCSTR psz, UINT nCodePage) : CA2W(psz, psz ? std::strlen(psz) : 0, nCodePage) {}

CA2W::CA2W(LPCSTR pch, size_t nLength, UINT) {
  static constexpr char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
  m_str.reserve(nLength);
  const auto* s = reinterpret_cast<const unsigned char*>(pch);
  for (size_t i = 0; i < nLength;) {
    const unsigned char lead = s[i];
    int nTrail;
    char32_t c;
    if (lead < 0x80) { nTrail = 0; c = lead; }
    else if (lead >= 0xC2 && lead < 0xE0) { nTrail = 1; c = lead & 0x1F; }
    else if (lead >= 0xE0 && lead < 0xF0) { nTrail = 2; c = lead & 0x0F; }
    else if (lead >= 0xF0 && lead < 0xF5) { nTrail = 3; c = lead & 0x07; }
    else { AppendUtf16(m_str, kReplacement); i++; continue; }
    size_t j = i + 1;
    for (; j <= i + nTrail && j < nLength && (s[j] & 0xC0) == 0x80; j++) c = (c << 6) | (s[j] & 0x3F);
    const bool bComplete = j == i + nTrail + 1;
    if (!bComplete || c < kMin[nTrail] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = kReplacement;
    AppendUtf16(m_str, c);
    i = j;
  }
}
