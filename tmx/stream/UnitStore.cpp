#include "tmx/stream/UnitStore.h"

UnitStore::Span UnitStore::Append(TextView text) {
  const Span span{m_text.size(), text.size()};
  m_text.insert(m_text.end(), text.begin(), text.end());
  return span;
}

void UnitStore::SetId(LPCTSTR pszId) {
  m_open.id = Append(TextView(pszId));
  m_text.push_back(0);
  m_open.bHasId = true;
}

void UnitStore::AddVariant(int nKey, TextView language, TextView segment, const CString& strNote) {
  const Span languageSpan = Append(language), segmentSpan = Append(segment);
  m_variants.push_back({languageSpan, segmentSpan, Append(TextView(strNote.GetString(), static_cast<size_t>(strNote.GetLength())))});
  m_open.nKey = nKey;
  m_open.nVariants++;
}

// A unit without variants leaves nothing behind.
bool UnitStore::CloseUnit() {
  if (m_open.nVariants == 0) {
    m_text.resize(m_nOpenText);
    return false;
  }
  m_units.push_back(m_open);
  return true;
}
