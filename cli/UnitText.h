// The text forms of a unit that `units` and `export` share, so that their outputs agree byte
// for byte: the JSON object {"key":K,"variants":[{"language":…,"segment":…,"note":…},…]} (with
// "tuid":… after the key when a unit id is given) and the tab-separated lines KEY LANGUAGE SEGMENT
// NOTE, one a variant (escaped as TextWriter::Field says).
#pragma once

#include "cli/Output.h"
#include "quillon/TmxUnits.h"

// variant(i) gives the unit's i-th variant as a CTmxTUV.
template <class Variant>
void WriteJsonUnit(TextWriter& out, int nKey, LPCTSTR pszUnitId, INT_PTR nVariants, Variant variant) {
  out << "{\"key\":" << nKey;
  if (pszUnitId) (out << ",\"tuid\":").Json(pszUnitId, std::char_traits<TCHAR>::length(pszUnitId));
  out << ",\"variants\":[";
  for (INT_PTR i = 0; i < nVariants; i++) {
    const CTmxTUV& tuv = variant(i);
    out << (i ? ",{\"language\":" : "{\"language\":");
    out.Json(tuv.m_strLanguage) << ",\"segment\":";
    out.Json(tuv.m_strSegment) << ",\"note\":";
    out.Json(tuv.m_strNote) << "}";
  }
  out << "]}";
}

template <class Variant>
void WriteTextUnit(TextWriter& out, int nKey, INT_PTR nVariants, Variant variant) {
  for (INT_PTR i = 0; i < nVariants; i++) {
    const CTmxTUV& tuv = variant(i);
    out << nKey << "\t";
    out.Field(tuv.m_strLanguage) << "\t";
    out.Field(tuv.m_strSegment) << "\t";
    out.Field(tuv.m_strNote) << "\n";
  }
}
