// The builders' segment text, streamed: the seg's text content (its text and CDATA at every
// depth) and the values of its first child and of its last child that has one, which is all the
// segment rules look at. A text or CDATA value lies in the content; a comment's or a PI's is kept
// apart.
#include "tmx/text/SegmentText.h"

using xercesc::DOMNode;

namespace {

class EngineSegment final : public SegmentText {
 public:
  void Begin() override {
    m_content.Empty();
    m_nChildren = 0;
    m_first = m_last = Value();
  }

  void Node(int nDepth, short nType, LPCTSTR, TextView markup, const xercesc::Attributes*) override {
    if (nDepth == 1) BeginChild(nType, markup);
  }

  // Character data anywhere in the seg; the seg's own belongs to the child in progress, which is
  // then the last child with a value.
  void Text(int nDepth, TextView text) override {
    m_content.Append(text.data(), static_cast<int>(text.size()));
    if (nDepth != 1) return;
    if (m_nChildren == 1) m_first.nEnd = Length();
    m_last.nEnd = Length();
  }

  void End(int, LPCTSTR) override {}

  void File(UnitRules& rules) override { rules.Segment(Summary(), [this] { return Content(); }); }

 private:
  struct Value {
    bool bPresent = false;
    const CString* pMarkup = nullptr;  // a comment's or PI's value; else the value is in the content
    size_t nStart = 0, nEnd = 0;
  };

  void BeginChild(short nType, TextView markup) {
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

  SegSummary Summary() const {
    SegSummary seg;
    seg.bHasChildren = m_nChildren > 0;
    if (m_first.bPresent) seg.firstValue = ViewOf(m_first);
    if (m_last.bPresent) seg.lastValue = ViewOf(m_last);
    seg.bLastValueIsContent = m_last.bPresent && m_last.pMarkup == nullptr;
    return seg;
  }

  size_t Length() const { return static_cast<size_t>(m_content.GetLength()); }
  TextView Content() const { return TextView(m_content.GetString(), Length()); }
  TextView ViewOf(const Value& value) const {
    if (value.pMarkup) return TextView(value.pMarkup->GetString(), static_cast<size_t>(value.pMarkup->GetLength()));
    return Content().substr(value.nStart, value.nEnd - value.nStart);
  }

  CString m_content;
  CString m_firstMarkup, m_lastMarkup;
  int m_nChildren = 0;
  Value m_first, m_last;
};

}  // namespace

std::unique_ptr<SegmentText> MakeEngineSegment() { return std::make_unique<EngineSegment>(); }
