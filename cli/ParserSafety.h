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
  // A failure told as what the safe defaults refused, when they did.
  void Explain(quillon::Failure& failure) const { m_safe.Explain(failure, "--allow-external"); }

 private:
  CSafeParsing m_safe;
};
