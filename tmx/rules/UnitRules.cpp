#include "tmx/rules/UnitRules.h"

#include <algorithm>
#include <functional>

#include <xercesc/util/XMLString.hpp>

#include "resources/resource.h"
#include "tmx/rules/LanguageCodes.h"
#include "tmx/rules/Names.h"

using xercesc::DOMNode;

UnitRules::UnitRules(UnitSink& sink, int& nKeyCounter, const CString* pFirstLanguage, const CString* pSecondLanguage,
                     bool bRanges)
    : m_sink(sink),
      m_nKey(nKeyCounter),
      m_pFirstLanguage(pFirstLanguage),
      m_pSecondLanguage(pSecondLanguage),
      m_bRanges(bRanges) {
  m_nKey = -1;
}

bool UnitRules::IsBody(LPCTSTR pszTagName, int nDepth) const {
  if (IsBilingual()) return xercesc::XMLString::equals(pszTagName, _T("body"));
  return nDepth == 2 && NamesMultilingualBody(pszTagName);
}

bool UnitRules::NamesMultilingualBody(LPCTSTR pszTagName) { return NameIs(pszTagName, _T("body")); }
bool UnitRules::NamesUnit(LPCTSTR pszTagName) { return NameIs(pszTagName, _T("tu")); }

bool UnitRules::LeftOutWhenFirst(short nNodeType) {
  switch (nNodeType) {
    case DOMNode::TEXT_NODE:
    case DOMNode::CDATA_SECTION_NODE:
    case DOMNode::COMMENT_NODE:
    case DOMNode::PROCESSING_INSTRUCTION_NODE:
      return true;
    default:  // a body written without whitespace before its first unit keeps that unit
      return false;
  }
}

// Bilingual keys count every node of the chain, so whitespace and comments between units use up
// keys too; multilingual keys count tu elements only.
bool UnitRules::ChainNode(short nNodeType, LPCTSTR pszNodeName) {
  if (IsBilingual()) ++m_nKey;
  if (nNodeType != DOMNode::ELEMENT_NODE || !NamesUnit(pszNodeName)) return false;
  if (!IsBilingual()) ++m_nKey;
  return true;
}

UnitRules::Role UnitRules::UnitChild(LPCTSTR pszNodeName) {
  if (NameIs(pszNodeName, _T("note"))) return Role::kNote;
  return NameIs(pszNodeName, _T("tuv")) ? Role::kVariant : Role::kOther;
}

UnitRules::Role UnitRules::VariantChild(LPCTSTR pszNodeName) {
  if (NameIs(pszNodeName, _T("note"))) return Role::kNote;
  return NameIs(pszNodeName, _T("seg")) ? Role::kSegment : Role::kOther;
}

bool UnitRules::IsUnitId(LPCTSTR pszAttributeName) { return NameIs(pszAttributeName, _T("tuid")); }

void UnitRules::BeginVariant(TextView language) {
  m_language = language;
  m_strOwnNote.Empty();
}

// The bilingual rules match language codes whole, ignoring ASCII case; without a language
// attribute a variant matches only an empty language field. Ranges match as basic filtering does.
bool UnitRules::KeepsVariant() const {
  if (m_pFirstLanguage == nullptr) return true;
  LPCTSTR pszLanguage = m_language.empty() ? _T("") : m_language.data();
  if (m_bRanges) return RangeMatches(*m_pFirstLanguage, pszLanguage) || RangeMatches(*m_pSecondLanguage, pszLanguage);
  return SameCodeIgnoringCase(*m_pSecondLanguage, pszLanguage) || SameCodeIgnoringCase(*m_pFirstLanguage, pszLanguage);
}

void UnitRules::TakeNote(TextView text, CString& strNote) const {
  if (text.empty()) return;
  if (m_bRanges && !strNote.IsEmpty())
    strNote = Joined(strNote, CString(text.data(), static_cast<int>(text.size())));
  else
    strNote.SetString(text.data(), static_cast<int>(text.size()));
}

// Two notes, two line feeds between them.
CString UnitRules::Joined(const CString& strFirst, const CString& strSecond) {
  CString joined;
  joined.Format(IDS_NOTE_MERGE, strFirst.GetString(), strSecond.GetString());
  return joined;
}

// The last child value becomes the text, unless the whole text content holds it and more: plain
// text gives itself, mixed content everything its inline elements hold too. A text or CDATA
// child is part of the content by construction; a comment or PI has to be looked for, in linear
// time, since both may be megabytes long.
bool UnitRules::ContentHoldsMore(TextView content, TextView value, bool bValueIsContent) {
  if (content.size() <= value.size()) return false;
  return bValueIsContent ||
         std::search(content.begin(), content.end(), std::boyer_moore_searcher(value.begin(), value.end())) !=
             content.end();
}

// The unit note, two line feeds, then the variant's own note. The builders' merged text is the
// own note that a later seg of the same variant starts from; every other text files each seg
// with the notes as the document has them.
void UnitRules::File(TextView segment) {
  if (m_bRanges) {
    if (m_strUnitNote.IsEmpty() || m_strOwnNote.IsEmpty())
      return m_sink.FileVariant(m_nKey, m_language, segment, m_strUnitNote.IsEmpty() ? m_strOwnNote : m_strUnitNote);
    m_strNote = Joined(m_strUnitNote, m_strOwnNote);
    return m_sink.FileVariant(m_nKey, m_language, segment, m_strNote);
  }
  if (m_strOwnNote.IsEmpty())
    m_strOwnNote = m_strUnitNote;
  else if (!m_strUnitNote.IsEmpty())
    m_strOwnNote = Joined(m_strUnitNote, m_strOwnNote);
  m_sink.FileVariant(m_nKey, m_language, segment, m_strOwnNote);
}
