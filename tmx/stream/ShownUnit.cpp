#include "tmx/stream/ShownUnit.h"

void ShownUnit::Show(const UnitStore& store, const UnitStore::Unit& unit, int nKeysBefore) {
  auto assign = [](CString& str, TextView text) { str.SetString(text.data(), static_cast<int>(text.size())); };
  for (m_nVariants = 0; m_nVariants < unit.nVariants; m_nVariants++) {
    if (m_nVariants == m_variants.size()) m_variants.push_back(std::make_unique<CTmxTUV>(nullptr, nullptr, nullptr));
    const UnitStore::Variant& from = store.VariantOf(unit, m_nVariants);
    CTmxTUV& variant = *m_variants[m_nVariants];
    assign(variant.m_strLanguage, store.Text(from.language));
    assign(variant.m_strSegment, store.Text(from.segment));
    assign(variant.m_strNote, store.Text(from.note));
  }
  m_pszUnitId = store.Id(unit);
  m_nKey = unit.nKey + nKeysBefore;
  m_bShown = true;
}

const CTmxTUV& ShownUnit::GetVariant(INT_PTR nIndex) const {
  if (nIndex < 0 || nIndex >= GetVariantCount()) AfxThrowInvalidArgException();
  return *m_variants[static_cast<size_t>(nIndex)];
}
