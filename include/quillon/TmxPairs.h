// Parallel text from translation units, as machine-translation training reads it: language
// ranges, one segment per range and unit, whitespace made plain, and repeated pairs dropped
// without holding their texts.
//
//   const CString en(_T("en")), de(_T("de"));
//   CTmxUnitReader reader(en, de, CTmxUnitReader::TextMode::Plain);
//   CTmxPairSelector pairs(en, de, CTmxUnitReader::TextMode::Plain, TRUE);
//   reader.Open(CString(_T("memory.tmx")));
//   while (reader.ReadNextUnit())
//     if (pairs.Select(reader)) Use(pairs.GetFirst(), pairs.GetSecond());
#pragma once

#include <memory>

#include "quillon/TmxUnitReader.h"
#include "quillon/afx.h"

// Basic filtering (RFC 4647): a language code matches a range when it equals the range or begins
// with it followed by '-', ignoring ASCII case and reading '_' as '-' in both; the range "*"
// matches every code. "en" matches en, en-US and EN_gb; "en-US" matches en-us but not en. An
// empty range matches only an empty code (a variant without a language). Null reads as empty.
AFX_EXT_API BOOL LanguageRangeMatches(LPCTSTR pszRange, LPCTSTR pszCode);
// Whether some code matches both ranges: "en" and "en-US" overlap, so do "*" and any range, and
// two ranges equal once case and '_' are set aside; "en" and "de" do not. Ranges that overlap
// would take one variant's text for both sides of a pair.
AFX_EXT_API BOOL LanguageRangesOverlap(LPCTSTR pszFirst, LPCTSTR pszSecond);

// Makes every run of whitespace (space, tab, line feed, carriage return, vertical tab, form feed,
// U+0085, U+2028, U+2029; not the no-break space) one space, and trims the text.
AFX_EXT_API void CollapseWhitespace(CString& text);

class AFX_EXT_CLASS CTmxPairSelector {
 public:
  // The ranges as the reader was given them, and its text mode. bDedupe drops a pair equal to one
  // selected before, on both sides, comparing 128-bit fingerprints (XXH3) of the two texts: 16
  // bytes a distinct pair in a table kept at most three quarters full.
  CTmxPairSelector(const CString& strFirstRange, const CString& strSecondRange, CTmxUnitReader::TextMode mode,
                   BOOL bDedupe = FALSE);
  ~CTmxPairSelector();
  CTmxPairSelector(const CTmxPairSelector&) = delete;

  // Whether two ranges make pairs in the text mode: ranges that overlap (engine text: codes
  // equal ignoring case) would give one variant's text, or nothing, where a pair needs two.
  static BOOL CanPair(const CString& strFirstRange, const CString& strSecondRange, CTmxUnitReader::TextMode mode);
  CTmxPairSelector& operator=(const CTmxPairSelector&) = delete;

  // Takes a unit (the one a reader shows, or one a formatter is given). For each range, its
  // segment is the first one, in document order, that is not empty once CollapseWhitespace has
  // made it plain: among the variants whose language equals the range (ignoring case, '_' as
  // '-'), else among those the range matches.
  // The second range never takes the variant the first took. TRUE when both ranges have one
  // (and, deduplicating, the pair is new): then GetFirst and GetSecond hold them until the next
  // call. Engine text keeps what export has always written:
  // variants whose language equals the range ignoring case, each line break (CR LF as one) and
  // tab made a space, spaces trimmed.
  BOOL Select(const CTmxUnitView& unit);
  const CString& GetFirst() const { return m_strFirst; }
  const CString& GetSecond() const { return m_strSecond; }

  // Of the units taken: those selected, those without a segment in both ranges, those dropped as
  // repeats.
  ULONGLONG GetSelectedCount() const { return m_nSelected; }
  ULONGLONG GetSkippedCount() const { return m_nSkipped; }
  ULONGLONG GetDuplicateCount() const { return m_nDuplicates; }

 private:
  class Fingerprints;
  INT_PTR FindSegment(const CTmxUnitView& unit, const CString& strRange, INT_PTR nTaken, CString& segment) const;
  INT_PTR FindSegment(const CTmxUnitView& unit, const CString& strRange, bool bSameCode, INT_PTR nTaken,
                      CString& segment) const;

  CString m_strFirstRange, m_strSecondRange;
  bool m_bEngine;
  std::unique_ptr<Fingerprints> m_pSeen;
  CString m_strFirst, m_strSecond;
  ULONGLONG m_nSelected = 0, m_nSkipped = 0, m_nDuplicates = 0;
};
