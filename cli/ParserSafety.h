// The tool's parsers are safe by default (quillon/SafeParsing.h); --allow-external gives back
// the parser library's defaults.
#pragma once

#include "quillon/SafeParsing.h"

class ParserSafety {
 public:
  bool bAllowExternal = false;

  template <class Parser>
  void Apply(Parser* pParser) {
    if (!bAllowExternal) m_safe.Apply(pParser);
  }
  const CString& RefusedEntity() const { return m_safe.GetRefusedEntity(); }

 private:
  CSafeParsing m_safe;
};
