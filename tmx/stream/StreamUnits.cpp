#include "tmx/stream/StreamUnits.h"

#include "tmx/rules/VariantLanguage.h"

using namespace xercesc;
using Role = UnitRules::Role;

StreamUnits::StreamUnits(const UnitReading& reading, UnitEnds& ends, bool bKeepAll)
    : m_strFirst(reading.first),
      m_strSecond(reading.second),
      m_rules(*this, m_nKeyCounter, reading.bPair ? &m_strFirst : nullptr, reading.bPair ? &m_strSecond : nullptr,
              reading.mode != CTmxUnitReader::TextMode::Engine),
      m_ends(ends),
      m_bKeepAll(bKeepAll),
      m_pSeg(MakeSegmentText(reading.mode)) {}

void StreamUnits::Restart() {
  m_nKeyCounter = -1;
  m_bChainStarted = false;
  m_unit = UnitState();
  m_store.Clear();
}

void StreamUnits::Node(int nLevel, short nType, LPCTSTR pszName, TextView value, const Attributes* pAttributes) {
  switch (nLevel) {
    case 0:
      ChainNode(nType, pszName, pAttributes);
      break;
    case 1:
      if (m_unit.bOpen) UnitChild(nType, pszName, value, pAttributes);
      break;
    case 2:
      if (m_unit.bOpen && m_unit.child == Role::kVariant) VariantChild(nType, pszName, value);
      break;
    default:  // inside a seg, whose depths count from 1 for its children
      if (InSeg()) m_pSeg->Node(nLevel - 2, nType, pszName, value, pAttributes);
      break;
  }
}

void StreamUnits::Text(int nLevel, TextView text) {
  if (m_unit.bInNote) m_note.Append(text.data(), static_cast<int>(text.size()));
  if (InSeg()) m_pSeg->Text(nLevel - 2, text);
}

void StreamUnits::End(int nLevel, LPCTSTR pszName) {
  if (!m_unit.bOpen) return;
  if (nLevel > 2) {
    if (InSeg()) m_pSeg->End(nLevel - 2, pszName);
    return;
  }
  if (nLevel == 0) {
    m_unit.bOpen = false;
    if (m_store.CloseUnit()) m_ends.UnitRead();
  } else if (nLevel == 1) {
    if (m_unit.child == Role::kNote) m_rules.UnitNote(NoteText());
    m_unit.child = Role::kOther;
    m_unit.bInNote = false;
  } else if (nLevel == 2 && m_unit.child == Role::kVariant) {
    if (m_unit.variantChild == Role::kNote) m_rules.VariantNote(NoteText());
    if (m_unit.variantChild == Role::kSegment) m_pSeg->File(m_rules);
    m_unit.variantChild = Role::kOther;
    m_unit.bInNote = false;
  }
}

// The body chain leaves out body's first node when the rules say so; a unit starts afresh.
void StreamUnits::ChainNode(short nType, LPCTSTR pszName, const Attributes* pAttributes) {
  const bool bFirst = !m_bChainStarted;
  m_bChainStarted = true;
  if ((bFirst && UnitRules::LeftOutWhenFirst(nType)) || !m_rules.ChainNode(nType, pszName)) return;
  m_unit = UnitState();
  m_unit.bOpen = true;
  m_rules.BeginUnit();
  if (!m_bKeepAll) m_store.Clear();
  m_store.OpenUnit();
  for (XMLSize_t i = 0, nAttributes = pAttributes->getLength(); i < nAttributes; i++)
    if (UnitRules::IsUnitId(pAttributes->getQName(i))) m_store.SetId(pAttributes->getValue(i));
}

void StreamUnits::UnitChild(short nType, LPCTSTR pszName, TextView value, const Attributes* pAttributes) {
  const Role role = UnitRules::UnitChild(pszName);
  if (nType != DOMNode::ELEMENT_NODE) {
    // A PI named note: its data is its text. A PI named tuv has neither attributes nor
    // children: no variant.
    if (role == Role::kNote) m_rules.UnitNote(value);
    return;
  }
  m_unit.child = role;
  if (role == Role::kVariant) {
    VariantLanguage language;
    for (XMLSize_t i = 0, nAttributes = pAttributes->getLength(); i < nAttributes; i++)
      language.Consider(pAttributes->getQName(i), pAttributes->getValue(i));
    m_language = language.Value();
    m_rules.BeginVariant(TextView(m_language.GetString(), static_cast<size_t>(m_language.GetLength())));
  }
  BeginNote(role);
}

void StreamUnits::VariantChild(short nType, LPCTSTR pszName, TextView value) {
  const Role role = UnitRules::VariantChild(pszName);
  if (nType == DOMNode::ELEMENT_NODE) {
    m_unit.variantChild = role;
    if (role == Role::kSegment) m_pSeg->Begin();
    BeginNote(role);
  } else if (role == Role::kNote) {
    m_rules.VariantNote(value);
  } else if (role == Role::kSegment) {  // a PI named seg: a seg without children
    m_pSeg->Begin();
    m_pSeg->File(m_rules);
  }
}

void StreamUnits::BeginNote(Role role) {
  m_unit.bInNote = role == Role::kNote;
  if (m_unit.bInNote) m_note.Empty();
}

void StreamUnits::FileVariant(int nKey, TextView language, TextView segment, const CString& strNote) {
  m_store.AddVariant(nKey, language, segment, strNote);
}
