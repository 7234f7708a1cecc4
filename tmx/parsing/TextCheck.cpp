#include "tmx/parsing/TextCheck.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

using Check = DocumentEncoding::Check;

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// How long the UTF-8 character that starts at p is, as far as the n bytes there show it: its
// length when it is whole and well-formed, 0 when it is cut short by their end, -1 when its first
// byte is wrong here.
int CharacterLength(const unsigned char* p, size_t n) {
  const unsigned char c = p[0];
  int nLength;
  unsigned char low = 0x80, high = 0xBF;  // the range of the second byte
  if (c < 0x80) return 1;
  if (c >= 0xC2 && c <= 0xDF) {
    nLength = 2;
  } else if (c >= 0xE0 && c <= 0xEF) {
    nLength = 3;
    if (c == 0xE0) low = 0xA0;
    if (c == 0xED) high = 0x9F;  // no surrogates
  } else if (c >= 0xF0 && c <= 0xF4) {
    nLength = 4;
    if (c == 0xF0) low = 0x90;
    if (c == 0xF4) high = 0x8F;  // nothing above U+10FFFF
  } else {
    return -1;
  }
  for (int i = 1; i < nLength; i++) {
    if (static_cast<size_t>(i) == n) return 0;
    const bool bGood = i == 1 ? p[1] >= low && p[1] <= high : IsContinuation(p[i]);
    if (!bGood) return -1;
  }
  return nLength;
}

bool AllAscii(const unsigned char* p) {
  uint64_t word;
  std::memcpy(&word, p, 8);
  return (word & 0x8080808080808080ull) == 0;
}

// The line feeds among the bytes, eight at a time.
unsigned long long LineFeeds(const unsigned char* p, size_t n) {
  constexpr uint64_t kOnes = 0x0101010101010101, kLow7 = 0x7F7F7F7F7F7F7F7F;
  unsigned long long nFeeds = 0;
  size_t i = 0;
  for (uint64_t word; i + 8 <= n; i += 8) {
    std::memcpy(&word, p + i, 8);
    const uint64_t x = word ^ (kOnes * '\n');  // a zero byte where a line feed was
    const uint64_t zero = ~(((x & kLow7) + kLow7) | x | kLow7);  // 0x80 in each such byte, exactly
    nFeeds += ((zero >> 7) * kOnes) >> 56;                          // summed by the multiply
  }
  for (; i < n; i++) nFeeds += p[i] == '\n';
  return nFeeds;
}

std::string Hex(unsigned char c) {
  static const char kDigits[] = "0123456789ABCDEF";
  return std::string("0x") + kDigits[c >> 4] + kDigits[c & 0xF];
}

}  // namespace

TextCheck::TextCheck(const DocumentEncoding& encoding, bool bReplace) : m_encoding(encoding), m_bReplace(bReplace) {}

size_t TextCheck::Take(const char* pBytes, size_t n, bool bLast, Bytes* pOut) {
  auto emit = [pOut](const char* p, size_t nBytes) {
    if (pOut) pOut->insert(pOut->end(), p, p + nBytes);
  };
  if (m_encoding.layout == ByteLayout::kOther) {  // bytes as they come: nothing to check or count
    emit(pBytes, n);
    return n;
  }
  const auto* p = reinterpret_cast<const unsigned char*>(pBytes);
  size_t i = 0;
  while (i < n && m_problem.empty()) {
    const size_t nGood = Checked(p + i, n - i);
    emit(pBytes + i, nGood);
    Count(p + i, nGood);
    i += nGood;
    if (i == n) break;
    const bool bCutShort = m_encoding.layout == ByteLayout::kNarrow ? CharacterLength(p + i, n - i) == 0 : n - i == 1;
    if (bCutShort && !bLast) break;  // the rest of the character comes with the next bytes
    if (m_encoding.layout != ByteLayout::kNarrow) {  // an odd byte at the very end: the parser's to judge
      emit(pBytes + i++, 1);
      break;
    }
    if (!Wrong(p[i], pOut)) break;
    i++;
  }
  return i;
}

// The good bytes from p on: up to the first that is wrong, or that starts a character the bytes
// end in the middle of; in UTF-16, code units whole.
size_t TextCheck::Checked(const unsigned char* p, size_t n) const {
  if (m_encoding.check == Check::kNone) return m_encoding.layout == ByteLayout::kNarrow ? n : n & ~size_t(1);
  size_t i = 0;
  while (i < n) {
    while (i + 8 <= n && AllAscii(p + i)) i += 8;
    if (i == n) break;
    if (p[i] < 0x80) {
      i++;
      continue;
    }
    if (m_encoding.check == Check::kAscii) return i;
    const int nLength = CharacterLength(p + i, n - i);
    if (nLength <= 0) return i;
    i += static_cast<size_t>(nLength);
  }
  return n;
}

// A byte the parser would refuse: read as U+FFFD, or the end of the bytes.
bool TextCheck::Wrong(unsigned char c, Bytes* pOut) {
  if (!m_bReplace) {
    m_problem = "byte " + Hex(c) + " is not " + (m_encoding.check == Check::kAscii ? "US-ASCII" : "UTF-8");
    return false;
  }
  pOut->insert(pOut->end(), kReplacement, kReplacement + 3);
  m_nReplaced++;
  m_nColumn++;
  m_bAfterCR = false;
  return true;
}

// Lines and columns over bytes the parser reads: a line ends at LF, at CR, at CR LF once, and in
// XML 1.1 at NEL (C2 85, CR NEL once) and LS (E2 80 A8) too. A column is a UTF-16 code unit: a
// character of four UTF-8 bytes takes two. Lines are counted a block at a time; columns only
// after the block's last line end.
void TextCheck::Count(const unsigned char* p, size_t n) {
  if (n == 0) return;
  if (m_encoding.layout != ByteLayout::kNarrow || m_encoding.bXml11) return CountEach(p, n);
  const auto* pCR = static_cast<const unsigned char*>(std::memchr(p, '\r', n));
  if (pCR == nullptr && !m_bAfterCR) {
    m_nLine += LineFeeds(p, n);
  } else {
    for (size_t i = 0; i < n; i++)
      if (p[i] == '\r' || (p[i] == '\n' && !(i == 0 ? m_bAfterCR : p[i - 1] == '\r'))) m_nLine++;
  }
  m_bAfterCR = p[n - 1] == '\r';
  size_t nLineStart = n;
  while (nLineStart > 0 && p[nLineStart - 1] != '\n' && p[nLineStart - 1] != '\r') nLineStart--;
  if (nLineStart != 0) m_nColumn = 1;
  m_nColumn += Units(p + nLineStart, n - nLineStart);
}

unsigned long long TextCheck::Units(const unsigned char* p, size_t n) const {
  if (m_encoding.check != Check::kUtf8) return n;
  unsigned long long nUnits = 0;
  for (size_t i = 0; i < n; i++) nUnits += !IsContinuation(p[i]) + (p[i] >= 0xF0);
  return nUnits;
}

// Code unit by code unit: UTF-16, and XML 1.1's line ends.
void TextCheck::CountEach(const unsigned char* p, size_t n) {
  const size_t nWidth = m_encoding.UnitBytes();
  const bool bBig = m_encoding.layout == ByteLayout::kUtf16BE;
  for (size_t i = 0; i + nWidth <= n; i += nWidth) {
    unsigned int c = nWidth == 2 ? (bBig ? (p[i] << 8 | p[i + 1]) : (p[i + 1] << 8 | p[i])) : p[i];
    if (nWidth == 1 && m_encoding.check == Check::kUtf8 && c >= 0xC2 && i + 1 < n) {  // NEL and LS, decoded
      if (c == 0xC2 && p[i + 1] == 0x85) c = 0x85, i += 1;
      else if (c == 0xE2 && p[i + 1] == 0x80 && i + 2 < n && p[i + 2] == 0xA8) c = 0x2028, i += 2;
    }
    const bool bBreak = c == '\n' || c == '\r' || (m_encoding.bXml11 && (c == 0x85 || c == 0x2028));
    if (bBreak) {
      if (!((c == '\n' || c == 0x85) && m_bAfterCR)) m_nLine++;
      m_nColumn = 1;
    } else if (nWidth == 2 || m_encoding.check != Check::kUtf8 || !IsContinuation(static_cast<unsigned char>(c))) {
      m_nColumn += 1 + (nWidth == 1 && m_encoding.check == Check::kUtf8 && c >= 0xF0);
    }
    m_bAfterCR = c == '\r';
  }
}
