#include "tmx/rules/LanguageCodes.h"

namespace {

TCHAR Folded(TCHAR ch) {
  if (ch == '_') return '-';
  return ch >= 'A' && ch <= 'Z' ? static_cast<TCHAR>(ch - 'A' + 'a') : ch;
}

// The length of the range when the code begins with it, else -1.
int PrefixLength(LPCTSTR pszRange, LPCTSTR pszCode) {
  int i = 0;
  for (; pszRange[i]; i++)
    if (Folded(pszRange[i]) != Folded(pszCode[i])) return -1;
  return i;
}

bool IsEveryCode(LPCTSTR pszRange) { return pszRange[0] == '*' && pszRange[1] == 0; }

}  // namespace

bool SameCodeIgnoringCase(LPCTSTR pszFirst, LPCTSTR pszSecond) { return _tcsicmp(pszFirst, pszSecond) == 0; }

bool SameCode(LPCTSTR pszFirst, LPCTSTR pszSecond) {
  const int n = PrefixLength(pszFirst, pszSecond);
  return n >= 0 && pszSecond[n] == 0;
}

bool RangeMatches(LPCTSTR pszRange, LPCTSTR pszCode) {
  if (IsEveryCode(pszRange)) return true;
  const int n = PrefixLength(pszRange, pszCode);
  return n >= 0 && (pszCode[n] == 0 || (n > 0 && Folded(pszCode[n]) == '-'));
}

// Ranges overlap when one takes in the other: every code is in *, and en-US is a code en matches.
bool RangesOverlap(LPCTSTR pszFirst, LPCTSTR pszSecond) {
  return IsEveryCode(pszFirst) || IsEveryCode(pszSecond) || RangeMatches(pszFirst, pszSecond) ||
         RangeMatches(pszSecond, pszFirst);
}
