// A seg's content written back as XML, so that <seg> + the text + </seg> parses to the same
// elements, attributes and text: what the parser expanded (entities, character references, CDATA)
// is escaped, and the characters a parser would not read back as they are written as references.
// Comments and PIs are left out.
#include <cstdint>

#include <xercesc/dom/DOMNode.hpp>

#include "tmx/text/SegmentText.h"

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
      Escape(pAttributes->getValue(i), kInAttribute);
      m_text += _T('"');
    }
    m_bTagOpen = true;
  }

  void Text(int, TextView text) override {
    CloseTag();
    Escape(text, kInText);
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

  // Markup names the characters that a parser would not read back as they are: the delimiters,
  // a CR (read as a line feed), whitespace in an attribute value (read as a space), and those
  // that only XML 1.1 documents hold or that 1.1 reads as line ends. Below 64, a bit of a mask
  // says it; asked of every character.
  static constexpr uint64_t kControls = 0xFFFFFFFFull & ~(1ull << '\t' | 1ull << '\n');
  static constexpr uint64_t kInText = kControls | 1ull << '&' | 1ull << '<' | 1ull << '>';
  static constexpr uint64_t kInAttribute = kInText | 1ull << '"' | 1ull << '\t' | 1ull << '\n';
  static bool NeedsReference(TCHAR ch, uint64_t nMask) {
    if (static_cast<unsigned>(ch) - 64u < 63u) return false;  // '@' to '~', most of any text
    return ch < 64 ? (nMask >> ch) & 1 : ch <= 0x9F || ch == 0x2028;
  }

  void AppendReference(TCHAR ch) {
    switch (ch) {
      case '&': m_text += _T("&amp;"); return;
      case '<': m_text += _T("&lt;"); return;
      case '>': m_text += _T("&gt;"); return;
      case '"': m_text += _T("&quot;"); return;
      default: break;
    }
    TCHAR digits[8];
    int n = 0;
    for (unsigned int code = ch; n == 0 || code > 0; code /= 10) digits[n++] = static_cast<TCHAR>('0' + code % 10);
    m_text += _T("&#");
    while (n > 0) m_text += digits[--n];
    m_text += _T(';');
  }

  // Appends text, each run that needs no reference at once.
  void Escape(TextView text, uint64_t nMask) {
    size_t nRun = 0;
    for (size_t i = 0; i < text.size(); i++) {
      if (!NeedsReference(text[i], nMask)) continue;
      m_text.Append(text.data() + nRun, static_cast<int>(i - nRun));
      AppendReference(text[i]);
      nRun = i + 1;
    }
    m_text.Append(text.data() + nRun, static_cast<int>(text.size() - nRun));
  }

  CString m_text;
  bool m_bTagOpen = false;  // an element's start tag is written up to its '>'
};

}  // namespace

std::unique_ptr<SegmentText> MakeMarkupSegment() { return std::make_unique<MarkupSegment>(); }
