// How the TMX code compares element and attribute names: ignoring the case of ASCII letters only,
// as the class library's CompareNoCase does, on parser strings as they are (no string is made
// per node).
#pragma once

#include "quillon/afx.h"

inline bool NameIs(LPCTSTR pszName, LPCTSTR pszWanted) { return _tcsicmp(pszName, pszWanted) == 0; }
