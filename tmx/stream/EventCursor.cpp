#include "tmx/stream/EventCursor.h"

#include "tmx/rules/LanguageSet.h"

using namespace xercesc;

void EventCursor::CollectLanguages(LanguageSet& languages) {
  m_at.pLanguages = &languages;
  m_at.nBodyDepth = 0;
}

void EventCursor::startElement(const XMLCh* const, const XMLCh* const, const XMLCh* const pszName,
                               const Attributes& attributes) {
  if (m_at.pLanguages && LanguageSet::IsVariantTag(pszName))
    for (XMLSize_t i = 0, nAttributes = attributes.getLength(); i < nAttributes; i++)
      if (LanguageSet::IsLanguageAttribute(attributes.getQName(i))) m_at.pLanguages->Add(attributes.getValue(i));
  m_at.bTextOpen = false;
  if (InBody()) m_sink.Node(Level(), DOMNode::ELEMENT_NODE, pszName, {}, &attributes);
  m_at.nDepth++;
  if (!InBody() && !m_at.bBodyFound && !m_at.pLanguages && m_rules.IsBody(pszName, m_at.nDepth)) {
    m_at.nBodyDepth = m_at.nDepth;
    m_at.bBodyFound = true;
    m_at.bodyStart = Here();
  }
}

void EventCursor::endElement(const XMLCh* const, const XMLCh* const, const XMLCh* const pszName) {
  if (m_at.nEndsAfterBody >= 0) m_at.nEndsAfterBody++;
  if (InBody()) {
    if (Level() == 0) {
      m_at.nBodyDepth = 0;  // only the first body is read
      m_at.bodyEnd = Here();
      m_at.nEndsAfterBody = 0;
    } else {
      m_sink.End(Level() - 1, pszName);
    }
  }
  m_at.nDepth--;
  m_at.bTextOpen = false;
}

void EventCursor::characters(const XMLCh* const pch, const XMLSize_t nLength) {
  if (!InBody()) return;
  if (!m_at.bInCData && !m_at.bTextOpen) {
    m_sink.Node(Level(), DOMNode::TEXT_NODE, _T("#text"), {}, nullptr);
    m_at.bTextOpen = true;
  }
  m_sink.Text(Level(), TextView(pch, nLength));
}

void EventCursor::comment(const XMLCh* const pch, const XMLSize_t nLength) {
  OtherNode(DOMNode::COMMENT_NODE, _T("#comment"), TextView(pch, nLength));
}

void EventCursor::processingInstruction(const XMLCh* const pszTarget, const XMLCh* const pszData) {
  OtherNode(DOMNode::PROCESSING_INSTRUCTION_NODE, pszTarget, TextView(pszData));
}

void EventCursor::startCDATA() {
  OtherNode(DOMNode::CDATA_SECTION_NODE, _T("#cdata-section"));
  m_at.bInCData = true;
}

// A node of its own, which ends any text before it.
void EventCursor::OtherNode(short nType, LPCTSTR pszName, TextView value) {
  m_at.bTextOpen = false;
  if (InBody()) m_sink.Node(Level(), nType, pszName, value, nullptr);
}
