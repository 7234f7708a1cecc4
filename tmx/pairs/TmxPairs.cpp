#include "quillon/TmxPairs.h"

#include <cstdint>
#include <string>
#include <vector>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "tmx/rules/LanguageCodes.h"

namespace {

bool IsWhitespace(TCHAR ch) {
  switch (ch) {
    case ' ': case '\t': case '\n': case '\v': case '\f': case '\r': case 0x85: case 0x2028: case 0x2029:
      return true;
    default:
      return false;
  }
}

// Rewrites text in place, trailing spaces trimmed: map(ch, before) says what ch, which follows
// the character before in the original (0 at the start), becomes, or 0 to drop it.
template <class Map>
void Rewrite(CString& text, Map map) {
  const int nLength = text.GetLength();
  LPTSTR p = text.GetBuffer();
  int nOut = 0;
  TCHAR before = 0;
  for (int i = 0; i < nLength; i++) {
    const TCHAR ch = p[i];
    if (const TCHAR out = map(ch, before)) p[nOut++] = out;
    before = ch;
  }
  while (nOut > 0 && p[nOut - 1] == ' ') nOut--;
  text.ReleaseBuffer(nOut);
}

// What export has always done with engine text: each line break (CR LF as one) and tab a space.
void MakeBreaksSpaces(CString& text) {
  bool bStarted = false;  // leading spaces are dropped
  Rewrite(text, [&bStarted](TCHAR ch, TCHAR before) -> TCHAR {
    if (ch == '\n' && before == '\r') return 0;
    const TCHAR out = IsWhitespace(ch) ? TCHAR(' ') : ch;
    if (out == ' ' && !bStarted) return 0;
    bStarted = true;
    return out;
  });
}

}  // namespace

BOOL LanguageRangeMatches(LPCTSTR pszRange, LPCTSTR pszCode) {
  return RangeMatches(pszRange ? pszRange : _T(""), pszCode ? pszCode : _T(""));
}

BOOL LanguageRangesOverlap(LPCTSTR pszFirst, LPCTSTR pszSecond) {
  return RangesOverlap(pszFirst ? pszFirst : _T(""), pszSecond ? pszSecond : _T(""));
}

void CollapseWhitespace(CString& text) {
  Rewrite(text, [](TCHAR ch, TCHAR before) -> TCHAR {
    if (!IsWhitespace(ch)) return ch;
    return before == 0 || IsWhitespace(before) ? 0 : TCHAR(' ');
  });
}

// The pairs selected so far, as 128-bit fingerprints in an open-addressed table.
class CTmxPairSelector::Fingerprints {
 public:
  // True when the pair is new.
  bool Insert(const CString& strFirst, const CString& strSecond) {
    const XXH128_hash_t hash = Hash(strFirst, strSecond);
    const Slot fingerprint{hash.low64 | (hash.low64 == 0 && hash.high64 == 0), hash.high64};  // never the empty slot
    if ((m_nUsed + 1) * 4 > m_slots.size() * 3) Grow();
    Slot& slot = Find(m_slots, fingerprint);
    if (!slot.IsEmpty()) return false;
    slot = fingerprint;
    m_nUsed++;
    return true;
  }

 private:
  struct Slot {
    uint64_t low = 0, high = 0;
    bool IsEmpty() const { return low == 0 && high == 0; }
    bool operator==(const Slot& other) const { return low == other.low && high == other.high; }
  };

  // The two texts one after the other, hashed at once (faster than a streaming state for texts
  // this short), seeded with the first's length: pairs that join to the same text differ there.
  XXH128_hash_t Hash(const CString& strFirst, const CString& strSecond) {
    m_joined.assign(strFirst.GetString(), static_cast<size_t>(strFirst.GetLength()));
    m_joined.append(strSecond.GetString(), static_cast<size_t>(strSecond.GetLength()));
    return XXH3_128bits_withSeed(m_joined.data(), m_joined.size() * sizeof(TCHAR),
                                 static_cast<XXH64_hash_t>(strFirst.GetLength()));
  }

  // The slot that holds the fingerprint, or the empty one where it would go.
  static Slot& Find(std::vector<Slot>& slots, const Slot& fingerprint) {
    const size_t nMask = slots.size() - 1;
    for (size_t i = fingerprint.high & nMask;; i = (i + 1) & nMask)
      if (slots[i].IsEmpty() || slots[i] == fingerprint) return slots[i];
  }

  void Grow() {
    std::vector<Slot> slots(m_slots.size() * 2);
    for (const Slot& slot : m_slots)
      if (!slot.IsEmpty()) Find(slots, slot) = slot;
    m_slots.swap(slots);
  }

  std::vector<Slot> m_slots = std::vector<Slot>(1024);
  size_t m_nUsed = 0;
  std::basic_string<TCHAR> m_joined;  // the pair being hashed
};

CTmxPairSelector::CTmxPairSelector(const CString& strFirstRange, const CString& strSecondRange,
                                   CTmxUnitReader::TextMode mode, BOOL bDedupe)
    : m_strFirstRange(strFirstRange),
      m_strSecondRange(strSecondRange),
      m_bEngine(mode == CTmxUnitReader::TextMode::Engine),
      m_pSeen(bDedupe ? std::make_unique<Fingerprints>() : nullptr) {}

CTmxPairSelector::~CTmxPairSelector() = default;

BOOL CTmxPairSelector::CanPair(const CString& strFirstRange, const CString& strSecondRange,
                               CTmxUnitReader::TextMode mode) {
  if (mode == CTmxUnitReader::TextMode::Engine) return !SameCodeIgnoringCase(strFirstRange, strSecondRange);
  return !RangesOverlap(strFirstRange, strSecondRange);
}

BOOL CTmxPairSelector::Select(const CTmxUnitView& unit) {
  const INT_PTR nFirst = FindSegment(unit, m_strFirstRange, -1, m_strFirst);
  if (nFirst < 0 || FindSegment(unit, m_strSecondRange, nFirst, m_strSecond) < 0) {
    m_nSkipped++;
    return FALSE;
  }
  if (m_pSeen && !m_pSeen->Insert(m_strFirst, m_strSecond)) {
    m_nDuplicates++;
    return FALSE;
  }
  m_nSelected++;
  return TRUE;
}

// The variant whose segment was taken, or -1; nTaken, the other range's, is never taken twice.
INT_PTR CTmxPairSelector::FindSegment(const CTmxUnitView& unit, const CString& strRange, INT_PTR nTaken,
                                      CString& segment) const {
  const INT_PTR nFound = FindSegment(unit, strRange, true, nTaken, segment);
  return nFound >= 0 || m_bEngine ? nFound : FindSegment(unit, strRange, false, nTaken, segment);
}

INT_PTR CTmxPairSelector::FindSegment(const CTmxUnitView& unit, const CString& strRange, bool bSameCode,
                                      INT_PTR nTaken, CString& segment) const {
  for (INT_PTR i = 0; i < unit.GetVariantCount(); i++) {
    const CTmxTUV& variant = unit.GetVariant(i);
    const bool bInRange = m_bEngine   ? SameCodeIgnoringCase(strRange, variant.m_strLanguage)
                          : bSameCode ? SameCode(strRange, variant.m_strLanguage)
                                      : RangeMatches(strRange, variant.m_strLanguage);
    if (!bInRange || i == nTaken) continue;
    segment = variant.m_strSegment;
    m_bEngine ? MakeBreaksSpaces(segment) : CollapseWhitespace(segment);
    if (!segment.IsEmpty()) return i;
  }
  return -1;
}
