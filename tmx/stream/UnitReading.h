// What a read of units reads: the language pair, if it has one, and the segment text.
#pragma once

#include "quillon/TmxUnitReader.h"

struct UnitReading {
  UnitReading(const CString* pFirst, const CString* pSecond, CTmxUnitReader::TextMode textMode)
      : bPair(pFirst != nullptr), first(pFirst ? *pFirst : CString()), second(pSecond ? *pSecond : CString()),
        mode(textMode) {}
  const CString* First() const { return bPair ? &first : nullptr; }
  const CString* Second() const { return bPair ? &second : nullptr; }

  bool bPair;
  CString first, second;
  CTmxUnitReader::TextMode mode;
};
