#include "tmx/pieces/BodyCutter.h"

#include <cstdint>
#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

// The code units of an encoding whose markup is ASCII: one byte, or two in either order.
struct Narrow {
  static constexpr size_t kWidth = 1;
  static unsigned At(const char* p, size_t i) { return static_cast<unsigned char>(p[i]); }
  // The first unit c at or after i, or n.
  static size_t Find(const char* p, size_t i, size_t n, char c) {
    const void* pFound = i < n ? std::memchr(p + i, c, n - i) : nullptr;
    return pFound ? static_cast<size_t>(static_cast<const char*>(pFound) - p) : n;
  }
  // The first of the units that stop a tag's reading ('<', '>', quotes) at or after i, eight
  // bytes at a time; n when there is none.
  static size_t FindTagStop(const char* p, size_t i, size_t n) {
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
  static void Append(std::string& text, char c) { text += c; }
};

template <bool bBigEndian>
struct Wide {
  static constexpr size_t kWidth = 2;
  static unsigned At(const char* p, size_t i) {
    const unsigned char first = static_cast<unsigned char>(p[i]), second = static_cast<unsigned char>(p[i + 1]);
    return bBigEndian ? (first << 8 | second) : (second << 8 | first);
  }
  // memchr finds the unit's ASCII byte; it is the unit when it lies where that byte goes and the
  // other byte is zero.
  static size_t Find(const char* p, size_t i, size_t n, char c) {
    const size_t nLow = bBigEndian ? 1 : 0;
    for (size_t j = i + nLow; j < n;) {
      const void* pFound = std::memchr(p + j, c, n - j);
      if (pFound == nullptr) break;
      const size_t k = static_cast<size_t>(static_cast<const char*>(pFound) - p);
      if ((k - nLow) % 2 == 0 && k - nLow + 1 < n && p[k - nLow + (bBigEndian ? 0 : 1)] == 0) return k - nLow;
      j = k + 1;
    }
    return n;
  }
  static size_t FindTagStop(const char* p, size_t i, size_t n) {
    for (; i < n; i += 2) {
      const unsigned c = At(p, i);
      if (c == '>' || c == '"' || c == '\'' || c == '<') return i;
    }
    return n;
  }
  static void Append(std::string& text, char c) {
    if (bBigEndian) text += '\0';
    text += c;
    if (!bBigEndian) text += '\0';
  }
};

bool IsSpace(unsigned c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// What a name may start with, as far as units tell: anything else is not a document the cutter
// reads.
bool MayStartName(unsigned c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || c >= 0x80; }

constexpr size_t kLongestFrame = size_t(4) << 20;  // pieces each parse their frame again

template <class Code>
class Cutter final : public BodyCutter {
 public:
  explicit Cutter(size_t nMarkBytes) : m_nPos(nMarkBytes) {}

  size_t Scan(const char* p, size_t n, size_t nMinimum) override;
  void Cut(size_t nOffset) override {
    m_nPos -= nOffset;
    m_nConstructStart -= nOffset;
    m_nResume -= nOffset;
  }
  bool Ended() const override { return m_phase == Phase::kEnded; }
  size_t FrameBytes() const override { return m_nFrameBytes; }
  const std::string& Suffix() const override { return m_suffix; }
  size_t BodyEndTagUnits() const override { return m_nBodyEndTagUnits; }
  bool HasExternalSubset() const override { return m_bExternalSubset; }

 private:
  enum class Phase { kProlog, kHead, kBody, kEnded };
  // What the construct that begins at m_nConstructStart is, as far as it has been read.
  enum class Kind { kNone, kComment, kCData, kPI, kDocumentType, kTag };
  static constexpr size_t W = Code::kWidth;

  unsigned At(const char* p, size_t i) const { return Code::At(p, i); }
  bool Starts(const char* p, size_t n, size_t i, std::string_view text) const;
  bool Construct(const char* p, size_t n);
  bool Begin(const char* p, size_t n);
  bool FindEnd(const char* p, size_t n, size_t& i, std::string_view end, size_t nFloor) const;
  bool ReadTo(const char* p, size_t n, std::string_view end, size_t nOpening);
  bool ReadTag(const char* p, size_t n);
  bool ReadDocumentType(const char* p, size_t n);
  void Tag(const char* p);
  std::string_view NameBytes(const char* p, size_t nStart) const;
  bool NameIsBody(const char* p, size_t nStart) const;
  void GiveUp() { m_phase = Phase::kEnded; }

  Phase m_phase = Phase::kProlog;
  size_t m_nPos;  // where the scan goes on: outside markup, or at the construct in progress
  int m_nDepth = 0;  // open elements below the root before body, below body in it
  // The construct in progress.
  Kind m_kind = Kind::kNone;
  size_t m_nConstructStart = 0, m_nResume = 0;  // its '<', and where its reading goes on
  unsigned m_quote = 0;                          // the quote of a literal it is inside
  int m_nSubset = 0;                             // a document type: 1 inside its internal subset, 2 after
  std::string_view m_innerEnd;                   // of a comment or PI inside that subset,
  size_t m_nInnerFloor = 0;                      // which may begin there at the soonest
  bool m_bEndTag = false, m_bEmptyTag = false;
  // The frame.
  size_t m_nFrameBytes = 0, m_nBodyEndTagUnits = 0;
  std::string m_rootName, m_suffix;
  bool m_bExternalSubset = false;
};

template <class Code>
bool Cutter<Code>::Starts(const char* p, size_t n, size_t i, std::string_view text) const {
  if (i + text.size() * W > n) return false;
  for (size_t k = 0; k < text.size(); k++)
    if (At(p, i + k * W) != static_cast<unsigned char>(text[k])) return false;
  return true;
}

// From markup to markup: text is passed over, each construct read to its end (across calls when
// the bytes end inside it); in body a cut follows each element that brings the depth back to 0.
template <class Code>
size_t Cutter<Code>::Scan(const char* p, size_t n, size_t nMinimum) {
  while (!Ended()) {
    if (m_kind == Kind::kNone) {
      const size_t nLess = Code::Find(p, m_nPos, n, '<');
      if (m_phase == Phase::kProlog)
        for (size_t i = m_nPos; i < nLess; i += W)
          if (!IsSpace(At(p, i))) GiveUp();
      m_nPos = nLess;
      if (Ended() || n - m_nPos < 2 * W || !Begin(p, n)) return 0;
    }
    if (!Construct(p, n)) return 0;  // more bytes to come
    m_kind = Kind::kNone;
    if (m_phase == Phase::kBody && m_nDepth == 0 && m_nPos >= nMinimum && (m_bEndTag || m_bEmptyTag)) {
      m_bEndTag = m_bEmptyTag = false;
      return m_nPos;
    }
    m_bEndTag = m_bEmptyTag = false;
  }
  return 0;
}

// What the construct at m_nPos is, from its first units; false when that ends the cuts.
template <class Code>
bool Cutter<Code>::Begin(const char* p, size_t n) {
  m_nConstructStart = m_nPos;
  m_quote = 0;
  m_nSubset = 0;
  m_innerEnd = {};
  const unsigned second = At(p, m_nPos + W);
  if (second == '?') {
    m_kind = Kind::kPI, m_nResume = m_nPos + 2 * W;
  } else if (second == '!') {
    if (n - m_nPos < 9 * W) return false;  // not yet told
    if (Starts(p, n, m_nPos, "<!--"))
      m_kind = Kind::kComment, m_nResume = m_nPos + 4 * W;
    else if (Starts(p, n, m_nPos, "<![CDATA[") && m_phase != Phase::kProlog)
      m_kind = Kind::kCData, m_nResume = m_nPos + 9 * W;
    else if (Starts(p, n, m_nPos, "<!DOCTYPE") && m_phase == Phase::kProlog)
      m_kind = Kind::kDocumentType, m_nResume = m_nPos + 9 * W;
    else
      GiveUp();  // what only the parser may judge
  } else if ((second == '/' && m_phase != Phase::kProlog) || MayStartName(second)) {
    m_kind = Kind::kTag, m_nResume = m_nPos + W;
  } else {
    GiveUp();
  }
  return !Ended();
}

// Reads the construct in progress on; true once it has ended (m_nPos after it).
template <class Code>
bool Cutter<Code>::Construct(const char* p, size_t n) {
  switch (m_kind) {
    case Kind::kComment: return ReadTo(p, n, "-->", 4);
    case Kind::kCData: return ReadTo(p, n, "]]>", 9);
    case Kind::kPI: return ReadTo(p, n, "?>", 2);
    case Kind::kDocumentType: return ReadDocumentType(p, n);
    default: return ReadTag(p, n);
  }
}

// Moves i past the next '>' that ends end (which may begin no sooner than nFloor); true when
// found, else i is n.
template <class Code>
bool Cutter<Code>::FindEnd(const char* p, size_t n, size_t& i, std::string_view end, size_t nFloor) const {
  for (;;) {
    const size_t nGreater = Code::Find(p, i, n, '>');
    i = nGreater == n ? n : nGreater + W;
    if (nGreater == n) return false;
    if (i >= nFloor + end.size() * W && Starts(p, n, i - end.size() * W, end)) return true;
  }
}

// To the end of a comment, CDATA section or PI, which begins with nOpening units.
template <class Code>
bool Cutter<Code>::ReadTo(const char* p, size_t n, std::string_view end, size_t nOpening) {
  if (!FindEnd(p, n, m_nResume, end, m_nConstructStart + nOpening * W)) return false;
  m_nPos = m_nResume;
  return true;
}

// A tag to its '>', stepping over attribute values; a '<' outside one is not a tag the cutter reads.
template <class Code>
bool Cutter<Code>::ReadTag(const char* p, size_t n) {
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
      GiveUp();
      return false;
    }
    if (c == '>') {
      m_nPos = i + W;
      Tag(p);
      return !Ended();
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
bool Cutter<Code>::ReadDocumentType(const char* p, size_t n) {
  size_t i = m_nResume;
  for (; i < n; i += W) {
    if (!m_innerEnd.empty()) {  // a comment or PI of the subset
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
      m_bExternalSubset = true;
    } else if (c == '[' && m_nSubset == 0) {
      m_nSubset = 1;
    } else if (c == ']' && m_nSubset == 1) {
      m_nSubset = 2;
    } else if (c == '>' && m_nSubset != 1) {
      m_nPos = i + W;
      return true;
    }
  }
  m_nResume = std::min(i, n);
  return false;
}

template <class Code>
std::string_view Cutter<Code>::NameBytes(const char* p, size_t nStart) const {
  size_t i = nStart;
  for (unsigned c; (c = At(p, i)) != '>' && c != '/' && !IsSpace(c);) i += W;
  return std::string_view(p + nStart, i - nStart);
}

template <class Code>
bool Cutter<Code>::NameIsBody(const char* p, size_t nStart) const {
  const std::string_view name = NameBytes(p, nStart);
  if (name.size() != 4 * W) return false;
  for (size_t k = 0; k < 4; k++) {
    const unsigned c = At(p, nStart + k * W);
    if ((c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c) != static_cast<unsigned char>("body"[k])) return false;
  }
  return true;
}

// A tag has ended at m_nPos: the root's, an element's before body, body's, or one in body.
template <class Code>
void Cutter<Code>::Tag(const char* p) {
  m_bEndTag = At(p, m_nConstructStart + W) == '/';
  m_bEmptyTag = !m_bEndTag && At(p, m_nPos - 2 * W) == '/';
  const size_t nName = m_nConstructStart + (m_bEndTag ? 2 : 1) * W;
  if (m_phase == Phase::kProlog) {
    if (m_bEmptyTag) return GiveUp();  // a root without content
    m_rootName = NameBytes(p, nName);
    m_phase = Phase::kHead;
  } else if (m_phase == Phase::kHead && m_nDepth == 0 && !m_bEndTag && NameIsBody(p, nName)) {
    if (m_bEmptyTag || m_nPos > kLongestFrame) return GiveUp();
    m_nFrameBytes = m_nPos;
    m_nBodyEndTagUnits = 3 + NameBytes(p, nName).size() / W;
    for (const std::string_view name : {NameBytes(p, nName), std::string_view(m_rootName)}) {
      Code::Append(m_suffix, '<');
      Code::Append(m_suffix, '/');
      m_suffix += name;
      Code::Append(m_suffix, '>');
    }
    m_phase = Phase::kBody;
  } else if (m_bEndTag && m_nDepth == 0) {
    GiveUp();  // the root ends without a body, or body ends
  } else if (!m_bEmptyTag) {
    m_nDepth += m_bEndTag ? -1 : 1;
  }
}

}  // namespace

std::unique_ptr<BodyCutter> BodyCutter::For(const DocumentEncoding& encoding) {
  switch (encoding.layout) {
    case ByteLayout::kNarrow: return std::make_unique<Cutter<Narrow>>(encoding.nMarkBytes);
    case ByteLayout::kUtf16LE: return std::make_unique<Cutter<Wide<false>>>(encoding.nMarkBytes);
    case ByteLayout::kUtf16BE: return std::make_unique<Cutter<Wide<true>>>(encoding.nMarkBytes);
    default: return nullptr;
  }
}
