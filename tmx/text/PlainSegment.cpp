// The sentence of a seg: its text in document order without the native code that bpt, ept, it,
// ph and ut hold (their whole content, a sub inside them included). hi holds text, and so may any
// other element a tool writes (g, x, mrk, its own): their text stays. A code that stands for a
// line, page or column break gives a line feed.
#include <xercesc/dom/DOMNode.hpp>

#include "tmx/rules/Names.h"
#include "tmx/text/SegmentText.h"

namespace {

bool IsNativeCode(LPCTSTR pszName) {
  for (LPCTSTR pszCode : {_T("bpt"), _T("ept"), _T("it"), _T("ph"), _T("ut")})
    if (NameIs(pszName, pszCode)) return true;
  return false;
}

bool StandsForBreak(const xercesc::Attributes& attributes) {
  for (XMLSize_t i = 0, n = attributes.getLength(); i < n; i++)
    if (NameIs(attributes.getQName(i), _T("type"))) {
      LPCTSTR pszType = attributes.getValue(i);
      return NameIs(pszType, _T("lb")) || NameIs(pszType, _T("pb")) || NameIs(pszType, _T("cb"));
    }
  return false;
}

class PlainSegment final : public SegmentText {
 public:
  void Begin() override {
    m_text.Empty();
    m_nCodeDepth = 0;
  }

  void Node(int nDepth, short nType, LPCTSTR pszName, TextView, const xercesc::Attributes* pAttributes) override {
    if (nType != xercesc::DOMNode::ELEMENT_NODE || m_nCodeDepth > 0 || !IsNativeCode(pszName)) return;
    m_nCodeDepth = nDepth;
    if (StandsForBreak(*pAttributes)) m_text += _T('\n');
  }

  void Text(int, TextView text) override {
    if (m_nCodeDepth == 0) m_text.Append(text.data(), static_cast<int>(text.size()));
  }

  void End(int nDepth, LPCTSTR) override {
    if (nDepth == m_nCodeDepth) m_nCodeDepth = 0;
  }

  void File(UnitRules& rules) override {
    rules.ComposedSegment(TextView(m_text.GetString(), static_cast<size_t>(m_text.GetLength())));
  }

 private:
  CString m_text;
  int m_nCodeDepth = 0;  // of the code element whose content is left out, 0 outside codes
};

}  // namespace

std::unique_ptr<SegmentText> MakePlainSegment() { return std::make_unique<PlainSegment>(); }
