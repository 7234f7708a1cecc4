// A document's markup as its bytes come, one construct at a time, in the code units of an
// encoding whose markup is ASCII (tmx/parsing/CodeUnits.h): comments, CDATA sections, processing
// instructions, a document type declaration with its internal subset, start, empty and end tags
// (attribute values stepped over); text in between is passed over. Each construct is read once,
// however many reads its bytes take to arrive: the scan resumes inside it. The look at a
// document's prolog and the cutter of pieces read markup through it.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

enum class Markup {
  kMore,  // the bytes end before the next construct does: call again with them and more
  kComment,
  kCData,
  kPI,
  kDocumentType,
  kStartTag,
  kEmptyTag,
  kEndTag,
  kUnknown,  // markup the scanner does not read: '<' followed by anything else, or inside a tag
};

template <class Code>
class MarkupScanner {
 public:
  explicit MarkupScanner(size_t nStart = 0) : m_nPos(nStart) {}

  // The next construct from the scan position on. With bOnlySpace, text before it must be white
  // space, or it is kUnknown.
  Markup Next(const char* p, size_t n, bool bOnlySpace = false);
  // Of the construct Next returned: where it begins and ends, and a tag's name as bytes.
  size_t Start() const { return m_nStart; }
  size_t End() const { return m_nPos; }
  std::string_view TagName(const char* p) const;
  // Whether the document type declaration names an external subset (SYSTEM or PUBLIC).
  bool NamesExternalSubset() const { return m_bExternal; }
  // The bytes before nBytes, all of them before the scan position, are gone.
  void Shift(size_t nBytes) {
    m_nPos -= nBytes;
    m_nStart -= nBytes;
    m_nResume -= nBytes;
  }

 private:
  static constexpr size_t W = Code::kWidth;
  unsigned At(const char* p, size_t i) const { return Code::At(p, i); }
  bool Starts(const char* p, size_t n, size_t i, std::string_view text) const {
    if (i + text.size() * W > n) return false;
    for (size_t k = 0; k < text.size(); k++)
      if (At(p, i + k * W) != static_cast<unsigned char>(text[k])) return false;
    return true;
  }
  static bool IsSpace(unsigned c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
  static bool MayStartName(unsigned c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || c >= 0x80;
  }
  Markup Begin(const char* p, size_t n);
  bool Read(const char* p, size_t n);
  bool FindEnd(const char* p, size_t n, size_t& i, std::string_view end, size_t nFloor) const;
  bool ReadTag(const char* p, size_t n);
  bool ReadDocumentType(const char* p, size_t n);

  size_t m_nPos;                // after the construct last read: where the scan goes on
  Markup m_kind = Markup::kMore;  // the construct in progress, when not kMore
  size_t m_nStart = 0, m_nResume = 0;  // its '<', and where its reading goes on
  unsigned m_quote = 0;                // the quote of a literal it is inside
  // A document type: 1 inside its internal subset, 2 after; a comment or PI inside the subset,
  // whose end may begin at m_nInnerFloor at the soonest.
  int m_nSubset = 0;
  std::string_view m_innerEnd;
  size_t m_nInnerFloor = 0;
  bool m_bExternal = false;
};

// Whole code units only: an odd byte at the end of UTF-16 is the parser's to judge.
template <class Code>
Markup MarkupScanner<Code>::Next(const char* p, size_t n, bool bOnlySpace) {
  n -= n % W;
  if (m_kind == Markup::kMore) {
    const size_t nLess = Code::Find(p, m_nPos, n, '<');
    if (bOnlySpace)
      for (size_t i = m_nPos; i < nLess; i += W)
        if (!IsSpace(At(p, i))) return Markup::kUnknown;
    m_nPos = nLess;
    if (n - m_nPos < 2 * W) return Markup::kMore;
    m_kind = Begin(p, n);
    if (m_kind == Markup::kMore || m_kind == Markup::kUnknown) {
      const Markup kind = m_kind;
      m_kind = Markup::kMore;
      return kind;
    }
  }
  if (!Read(p, n)) return m_kind == Markup::kUnknown ? std::exchange(m_kind, Markup::kMore) : Markup::kMore;
  return std::exchange(m_kind, Markup::kMore);
}

// What the construct at the scan position is, from its first units.
template <class Code>
Markup MarkupScanner<Code>::Begin(const char* p, size_t n) {
  m_nStart = m_nPos;
  m_quote = 0;
  m_nSubset = 0;
  m_innerEnd = {};
  const unsigned second = At(p, m_nPos + W);
  if (second == '?') {
    m_nResume = m_nPos + 2 * W;
    return Markup::kPI;
  }
  if (second == '!') {
    if (n - m_nPos < 9 * W) return Markup::kMore;  // not yet told which
    if (Starts(p, n, m_nPos, "<!--")) return m_nResume = m_nPos + 4 * W, Markup::kComment;
    if (Starts(p, n, m_nPos, "<![CDATA[")) return m_nResume = m_nPos + 9 * W, Markup::kCData;
    if (Starts(p, n, m_nPos, "<!DOCTYPE")) return m_bExternal = false, m_nResume = m_nPos + 9 * W, Markup::kDocumentType;
    return Markup::kUnknown;
  }
  if (second != '/' && !MayStartName(second)) return Markup::kUnknown;
  m_nResume = m_nPos + W;
  return Markup::kStartTag;  // or empty, or end: told at its '>'
}

// Reads the construct in progress on; true once it has ended (the scan position after it).
template <class Code>
bool MarkupScanner<Code>::Read(const char* p, size_t n) {
  switch (m_kind) {
    case Markup::kComment: return FindEnd(p, n, m_nResume, "-->", m_nStart + 4 * W) && (m_nPos = m_nResume, true);
    case Markup::kCData: return FindEnd(p, n, m_nResume, "]]>", m_nStart + 9 * W) && (m_nPos = m_nResume, true);
    case Markup::kPI: return FindEnd(p, n, m_nResume, "?>", m_nStart + 2 * W) && (m_nPos = m_nResume, true);
    case Markup::kDocumentType: return ReadDocumentType(p, n);
    default: return ReadTag(p, n);
  }
}

// Moves i past the next '>' that ends end (which may begin no sooner than nFloor); true when
// found, else i is n.
template <class Code>
bool MarkupScanner<Code>::FindEnd(const char* p, size_t n, size_t& i, std::string_view end, size_t nFloor) const {
  for (;;) {
    const size_t nGreater = Code::Find(p, i, n, '>');
    i = nGreater == n ? n : nGreater + W;
    if (nGreater == n) return false;
    if (i >= nFloor + end.size() * W && Starts(p, n, i - end.size() * W, end)) return true;
  }
}

// A tag to its '>', stepping over attribute values: start, empty or end tag then.
template <class Code>
bool MarkupScanner<Code>::ReadTag(const char* p, size_t n) {
  for (size_t i = m_nResume;;) {
    if (m_quote != 0) {
      const size_t nClose = Code::Find(p, i, n, static_cast<char>(m_quote));
      if (nClose == n) break;
      m_quote = 0;
      i = nClose + W;
      continue;
    }
    i = Code::FindTagStop(p, i, n);
    if (i == n) break;
    const unsigned c = At(p, i);
    if (c == '<') {
      m_kind = Markup::kUnknown;
      return false;
    }
    if (c == '>') {
      m_nPos = i + W;
      if (At(p, m_nStart + W) == '/') m_kind = Markup::kEndTag;
      else if (At(p, i - W) == '/') m_kind = Markup::kEmptyTag;
      return true;
    }
    m_quote = c;
    i += W;
  }
  m_nResume = n;
  return false;
}

// A document type declaration: its external identifier's literals, then its internal subset
// (declarations with their literals, comments and PIs) to ']', then '>'.
template <class Code>
bool MarkupScanner<Code>::ReadDocumentType(const char* p, size_t n) {
  size_t i = m_nResume;
  for (; i < n; i += W) {
    if (!m_innerEnd.empty()) {
      if (!FindEnd(p, n, i, m_innerEnd, m_nInnerFloor)) break;
      m_innerEnd = {};
      i -= W;
      continue;
    }
    const unsigned c = At(p, i);
    if (m_quote != 0) {
      if (c == m_quote) m_quote = 0;
    } else if (c == '"' || c == '\'') {
      m_quote = c;
    } else if (m_nSubset == 1 && c == '<') {
      if (i + 4 * W > n) break;  // not yet told whether a comment or PI begins
      if (Starts(p, n, i, "<!--")) m_innerEnd = "-->", i += 3 * W;
      else if (Starts(p, n, i, "<?")) m_innerEnd = "?>", i += W;
      m_nInnerFloor = i + W;
    } else if (m_nSubset == 0 && (Starts(p, n, i, "SYSTEM") || Starts(p, n, i, "PUBLIC"))) {
      m_bExternal = true;
    } else if (c == '[' && m_nSubset == 0) {
      m_nSubset = 1;
    } else if (c == ']' && m_nSubset == 1) {
      m_nSubset = 2;
    } else if (c == '>' && m_nSubset != 1) {
      m_nPos = i + W;
      return true;
    }
  }
  m_nResume = i < n ? i : n;
  return false;
}

template <class Code>
std::string_view MarkupScanner<Code>::TagName(const char* p) const {
  const size_t nName = m_nStart + (At(p, m_nStart + W) == '/' ? 2 : 1) * W;
  size_t i = nName;
  for (unsigned c; (c = At(p, i)) != '>' && c != '/' && !IsSpace(c);) i += W;
  return std::string_view(p + nName, i - nName);
}
