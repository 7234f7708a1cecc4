// A seg's content written back as XML, so that <seg> + the text + </seg> parses to the same
// elements, attributes and text: what the parser expanded (entities, character references, CDATA)
// is escaped, and the characters a parser would normalise (a CR anywhere, whitespace in an
// attribute value) are written as references. Comments and PIs are left out.
#include <xercesc/dom/DOMNode.hpp>

#include "tmx/SegmentText.h"

namespace {

class MarkupSegment final : public SegmentText {
 public:
  void Begin() override {
    m_text.Empty();
    m_bTagOpen = false;
  }

  void Node(int, short nType, LPCTSTR pszName, TextView, const xercesc::Attributes* pAttributes) override {
    if (nType != xercesc::DOMNode::ELEMENT_NODE) return;
    CloseTag();
    m_text += _T('<');
    m_text += pszName;
    for (XMLSize_t i = 0, n = pAttributes->getLength(); i < n; i++) {
      m_text += _T(' ');
      m_text += pAttributes->getQName(i);
      m_text += _T("=\"");
      Escape(pAttributes->getValue(i), true);
      m_text += _T('"');
    }
    m_bTagOpen = true;
  }

  void Text(int, TextView text) override {
    CloseTag();
    Escape(text, false);
  }

  void End(int, LPCTSTR pszName) override {
    if (m_bTagOpen) {
      m_text += _T("/>");
      m_bTagOpen = false;
      return;
    }
    m_text += _T("</");
    m_text += pszName;
    m_text += _T('>');
  }

  void File(UnitRules& rules) override {
    rules.ComposedSegment(TextView(m_text.GetString(), static_cast<size_t>(m_text.GetLength())));
  }

 private:
  void CloseTag() {
    if (m_bTagOpen) m_text += _T('>');
    m_bTagOpen = false;
  }

  static LPCTSTR Reference(TCHAR ch, bool bInAttribute) {
    switch (ch) {
      case '&': return _T("&amp;");
      case '<': return _T("&lt;");
      case '>': return _T("&gt;");
      case '\r': return _T("&#13;");
      case '"': return bInAttribute ? _T("&quot;") : nullptr;
      case '\t': return bInAttribute ? _T("&#9;") : nullptr;
      case '\n': return bInAttribute ? _T("&#10;") : nullptr;
      default: return nullptr;
    }
  }

  // Appends text, each run that needs no reference at once.
  void Escape(TextView text, bool bInAttribute) {
    size_t nRun = 0;
    for (size_t i = 0; i < text.size(); i++) {
      LPCTSTR pszReference = Reference(text[i], bInAttribute);
      if (pszReference == nullptr) continue;
      m_text.Append(text.data() + nRun, static_cast<int>(i - nRun));
      m_text += pszReference;
      nRun = i + 1;
    }
    m_text.Append(text.data() + nRun, static_cast<int>(text.size() - nRun));
  }

  CString m_text;
  bool m_bTagOpen = false;  // an element's start tag is written up to its '>'
};

}  // namespace

std::unique_ptr<SegmentText> MakeMarkupSegment() { return std::make_unique<MarkupSegment>(); }
