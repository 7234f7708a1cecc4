#include "tmx/pieces/BodyCutter.h"

#include <cstdint>
#include <cstring>
#include <string_view>

namespace {

constexpr size_t kLongestOpening = 9;  // <![CDATA[

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool Starts(const char* p, std::string_view text) { return std::memcmp(p, text.data(), text.size()) == 0; }

bool EqualsIgnoringCase(std::string_view text, std::string_view lower) {
  if (text.size() != lower.size()) return false;
  for (size_t i = 0; i < text.size(); i++)
    if ((text[i] >= 'A' && text[i] <= 'Z' ? text[i] + ('a' - 'A') : text[i]) != lower[i]) return false;
  return true;
}

// What a name may start with, as far as bytes tell: anything else (a NUL of UTF-16, say) is not
// a document the cutter reads.
bool MayStartName(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || c >= 0x80;
}

// The first of the bytes that stop the look for a tag's end ('>', quotes, '<') at or after i,
// eight bytes at a time; n when there is none.
size_t TagStop(const char* p, size_t i, size_t n) {
  constexpr uint64_t kOnes = 0x0101010101010101, kHighs = 0x8080808080808080;
  auto bytesEqual = [](uint64_t word, char c) {  // exact up to the first match
    const uint64_t x = word ^ (kOnes * static_cast<unsigned char>(c));
    return (x - kOnes) & ~x & kHighs;
  };
  for (; i + 8 <= n; i += 8) {
    uint64_t word;
    std::memcpy(&word, p + i, 8);
    if (const uint64_t found = bytesEqual(word, '>') | bytesEqual(word, '"') | bytesEqual(word, '\'') | bytesEqual(word, '<'))
      return i + static_cast<size_t>(__builtin_ctzll(found)) / 8;
  }
  while (i < n && p[i] != '>' && p[i] != '"' && p[i] != '\'' && p[i] != '<') i++;
  return i;
}

// After the '>' that ends text (a comment's "-->", say), found at or after nFrom; 0 when the
// bytes hold none.
size_t After(const char* p, size_t n, size_t nFrom, std::string_view text) {
  for (size_t i = nFrom + text.size() - 1; i < n;) {
    const void* pGreater = std::memchr(p + i, '>', n - i);
    if (pGreater == nullptr) return 0;
    i = static_cast<size_t>(static_cast<const char*>(pGreater) - p) + 1;
    if (Starts(p + i - text.size(), text)) return i;
  }
  return 0;
}

// A tag's name, which ends at white space, '/' or '>'.
std::string_view NameAt(const char* p, size_t nStart, size_t nEnd) {
  size_t i = nStart;
  while (i < nEnd && !IsSpace(p[i]) && p[i] != '/' && p[i] != '>') i++;
  return std::string_view(p + nStart, i - nStart);
}

}  // namespace

// From one '<' to the next, markup by markup. A construct that the bytes do not hold whole is
// looked at again from its '<' once more bytes have come.
size_t BodyCutter::Scan(const char* p, size_t n, size_t nMinimum) {
  while (!Ended()) {
    if (m_phase == Phase::kBody) return ScanBody(p, n, nMinimum);
    const void* pLess = m_nPos < n && p[m_nPos] == '<' ? p + m_nPos : std::memchr(p + m_nPos, '<', n - m_nPos);
    const size_t nStart = pLess ? static_cast<size_t>(static_cast<const char*>(pLess) - p) : n;
    if (m_phase == Phase::kProlog) {
      if (m_nPos == 0 && n >= 3 && Starts(p, "\xEF\xBB\xBF")) m_nPos = 3;
      for (size_t i = m_nPos; i < nStart; i++)
        if (!IsSpace(p[i])) GiveUp();
      if (nStart + 2 > m_nPrologLimit) GiveUp();
    }
    m_nPos = nStart;
    Kind kind = Kind::kOther;
    const size_t nEnd = pLess == nullptr || Ended() ? 0 : ConstructEnd(p, n, nStart, kind);
    if (nEnd == 0) return 0;
    m_nPos = nEnd;
    if (m_phase == Phase::kProlog)
      InProlog(p, nStart, nEnd, kind);
    else
      InHead(p, nStart, nEnd, kind);
  }
  return 0;
}

// Body's content, where nearly all of a document is: end tags, which hold no attribute value,
// are read to their '>' directly. A cut may follow anything that leaves body's depth at 0.
size_t BodyCutter::ScanBody(const char* p, size_t n, size_t nMinimum) {
  for (size_t i = m_nPos;; m_nPos = i) {
    if (i >= n || p[i] != '<') {
      const void* pLess = std::memchr(p + i, '<', n - i);
      if (pLess == nullptr) {
        m_nPos = n;
        return 0;
      }
      i = m_nPos = static_cast<size_t>(static_cast<const char*>(pLess) - p);
    }
    if (n - i < kLongestOpening) return 0;
    if (p[i + 1] == '/') {
      while (++i < n && p[i] != '>') {
      }
      if (i == n) return 0;
      if (m_nDepth-- == 0) {
        GiveUp();  // body ends
        return 0;
      }
    } else {
      Kind kind = Kind::kOther;
      const size_t nEnd = ConstructEnd(p, n, i, kind);
      if (nEnd == 0) return 0;
      if (kind == Kind::kStartTag) m_nDepth++;
      i = nEnd - 1;
    }
    i++;
    if (m_nDepth == 0 && i >= nMinimum) {
      m_nPos = i;
      return i;
    }
  }
}

// After the construct that begins at nStart, or 0 when the bytes do not hold all of it.
size_t BodyCutter::ConstructEnd(const char* p, size_t n, size_t nStart, Kind& kind) {
  if (n - nStart < kLongestOpening) return 0;
  const char* pAt = p + nStart;
  if (Starts(pAt, "<!--")) return After(p, n, nStart + 4, "-->");
  if (Starts(pAt, "<![CDATA[") && m_phase != Phase::kProlog) return After(p, n, nStart + 9, "]]>");
  if (Starts(pAt, "<?")) return After(p, n, nStart + 2, "?>");
  if (pAt[1] == '!' || (pAt[1] == '/' && m_phase == Phase::kProlog) ||
      (pAt[1] != '/' && !MayStartName(static_cast<unsigned char>(pAt[1])))) {
    GiveUp();  // a document type declaration, or what only the parser may judge
    return 0;
  }
  for (size_t i = nStart + 1;;) {
    i = TagStop(p, i, n);
    if (i == n) return 0;
    if (p[i] == '>') {
      kind = pAt[1] == '/' ? Kind::kEndTag : p[i - 1] == '/' ? Kind::kEmptyTag : Kind::kStartTag;
      return i + 1;
    }
    if (p[i] == '<') {
      GiveUp();
      return 0;
    }
    const void* pQuote = std::memchr(p + i + 1, p[i], n - i - 1);  // an attribute value
    if (pQuote == nullptr) return 0;
    i = static_cast<size_t>(static_cast<const char*>(pQuote) - p) + 1;
  }
}

// Before the root: the declaration, comments and PIs; then the root's start tag.
void BodyCutter::InProlog(const char* p, size_t nStart, size_t nEnd, Kind kind) {
  if (kind == Kind::kOther) {
    const bool bAtStart = nStart == 0 || (nStart == 3 && Starts(p, "\xEF\xBB\xBF"));
    if (bAtStart && Starts(p + nStart, "<?xml") && IsSpace(p[nStart + 5])) Declaration(p, nStart, nEnd);
  } else if (kind == Kind::kStartTag) {
    m_prefix.append(p + nStart, nEnd - nStart);
    m_root = NameAt(p, nStart + 1, nEnd);
    m_phase = Phase::kHead;
  } else {
    GiveUp();
  }
}

// Below the root until body, the first child of the root named body in any case.
void BodyCutter::InHead(const char* p, size_t nStart, size_t nEnd, Kind kind) {
  if (kind == Kind::kStartTag && m_nDepth == 0 && EqualsIgnoringCase(NameAt(p, nStart + 1, nEnd), "body")) {
    m_prefix.append(p + nStart, nEnd - nStart);
    m_suffix = "</" + std::string(NameAt(p, nStart + 1, nEnd)) + "></" + m_root + ">";
    m_phase = Phase::kBody;
  } else if (kind == Kind::kEndTag && m_nDepth == 0) {
    GiveUp();  // the root ends without a body
  } else if (kind != Kind::kOther) {
    m_nDepth += kind == Kind::kStartTag ? 1 : kind == Kind::kEndTag ? -1 : 0;
  }
}

// The declaration goes into every piece as it stands; its encoding must be one whose bytes the
// cutter reads.
void BodyCutter::Declaration(const char* p, size_t nStart, size_t nEnd) {
  const std::string_view declaration(p + nStart, nEnd - nStart);
  m_prefix = declaration;
  const size_t nName = declaration.find("encoding");
  if (nName == std::string_view::npos) return;
  const size_t nQuote = declaration.find_first_of("\"'", nName);
  const size_t nClose = nQuote == std::string_view::npos ? nQuote : declaration.find(declaration[nQuote], nQuote + 1);
  if (nClose == std::string_view::npos) return GiveUp();
  const std::string_view encoding = declaration.substr(nQuote + 1, nClose - nQuote - 1);
  if (!EqualsIgnoringCase(encoding, "utf-8") && !EqualsIgnoringCase(encoding, "us-ascii") &&
      !EqualsIgnoringCase(encoding, "ascii"))
    GiveUp();
}
