// Units as a stream files them: each with its key, its tu's id and its variants, their texts one
// after another in one block that later units reuse. The reader keeps one unit at a time in it;
// the reader of a piece all of the piece's, which the host's thread then reads in order.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "quillon/TmxUnits.h"
#include "tmx/rules/UnitRules.h"

class UnitStore {
 public:
  struct Span {
    size_t nOffset = 0, nLength = 0;
  };
  struct Variant {
    Span language, segment, note;
  };
  struct Unit {
    int nKey = -1;
    bool bHasId = false;
    Span id;  // followed by a zero
    size_t nFirst = 0, nVariants = 0;
    Span output;  // what a reader's formatter made of it
  };

  // Forgets every unit; the storage stays for the next ones.
  void Clear() {
    m_units.clear();
    m_variants.clear();
    m_text.clear();
    m_output.clear();
  }
  void OpenUnit() {
    m_open = Unit{-1, false, {}, m_variants.size(), 0, {}};
    m_nOpenText = m_text.size();
  }
  void SetId(LPCTSTR pszId);
  void AddVariant(int nKey, TextView language, TextView segment, const CString& strNote);
  // The unit is kept when it has variants: true then.
  bool CloseUnit();

  size_t GetCount() const { return m_units.size(); }
  const Unit& Get(size_t nUnit) const { return m_units[nUnit]; }
  const Variant& VariantOf(const Unit& unit, size_t nIndex) const { return m_variants[unit.nFirst + nIndex]; }
  TextView Text(Span span) const { return TextView(m_text.data() + span.nOffset, span.nLength); }
  LPCTSTR Id(const Unit& unit) const { return unit.bHasId ? m_text.data() + unit.id.nOffset : nullptr; }
  // Output made of unit nUnit by format(output), which appends it.
  template <class Format>
  void MakeOutput(size_t nUnit, Format format) {
    const size_t nStart = m_output.size();
    format(m_output);
    m_units[nUnit].output = {nStart, m_output.size() - nStart};
  }
  std::string_view Output(const Unit& unit) const { return std::string_view(m_output).substr(unit.output.nOffset, unit.output.nLength); }

 private:
  Span Append(TextView text);

  std::vector<Unit> m_units;
  Unit m_open;
  size_t m_nOpenText = 0;  // where the open unit's text begins
  std::vector<Variant> m_variants;
  std::vector<TCHAR> m_text;
  std::string m_output;
};
