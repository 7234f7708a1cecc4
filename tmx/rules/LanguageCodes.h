// How language codes compare, in one place. The builders match a code whole, ignoring ASCII case
// (as the class library's CompareNoCase does); everything else also reads '_' as '-', and
// matches a language range as basic filtering (RFC 4647) does.
#pragma once

#include "quillon/afx.h"

// The builders' match: the same code ignoring ASCII case.
bool SameCodeIgnoringCase(LPCTSTR pszFirst, LPCTSTR pszSecond);
// The same code ignoring ASCII case, '_' read as '-': en_us is en-US.
bool SameCode(LPCTSTR pszFirst, LPCTSTR pszSecond);
// The code equals the range or begins with it followed by '-' (or '_'); "*" matches every code,
// an empty range only an empty code.
bool RangeMatches(LPCTSTR pszRange, LPCTSTR pszCode);
// Some code matches both ranges: en and en-US do, en and de do not.
bool RangesOverlap(LPCTSTR pszFirst, LPCTSTR pszSecond);
