#include "tmx/SegmentText.h"

using xercesc::DOMNode;

void SegmentText::Begin() {
  m_content.Empty();
  m_nChildren = 0;
  m_first = m_last = Value();
}

void SegmentText::BeginChild(short nType, TextView markup) {
  Value value;
  if (nType == DOMNode::TEXT_NODE || nType == DOMNode::CDATA_SECTION_NODE) {
    value = {true, nullptr, Length(), Length()};
  } else if (nType != DOMNode::ELEMENT_NODE) {
    m_lastMarkup.SetString(markup.data(), static_cast<int>(markup.size()));
    value = {true, &m_lastMarkup};
  }
  if (m_nChildren++ == 0) {
    m_first = value;
    if (value.pMarkup) m_first.pMarkup = &(m_firstMarkup = m_lastMarkup);
  }
  if (value.bPresent) m_last = value;
}

void SegmentText::Text(TextView text, bool bOfChild) {
  m_content.Append(text.data(), static_cast<int>(text.size()));
  if (!bOfChild) return;
  if (m_nChildren == 1) m_first.nEnd = Length();
  m_last.nEnd = Length();
}

SegSummary SegmentText::Summary() const {
  SegSummary seg;
  seg.bHasChildren = m_nChildren > 0;
  if (m_first.bPresent) seg.firstValue = ViewOf(m_first);
  if (m_last.bPresent) seg.lastValue = ViewOf(m_last);
  seg.bLastValueIsContent = m_last.bPresent && m_last.pMarkup == nullptr;
  return seg;
}

TextView SegmentText::ViewOf(const Value& value) const {
  if (value.pMarkup) return TextView(value.pMarkup->GetString(), static_cast<size_t>(value.pMarkup->GetLength()));
  return Content().substr(value.nStart, value.nEnd - value.nStart);
}
