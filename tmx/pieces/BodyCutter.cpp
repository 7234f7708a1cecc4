#include "tmx/pieces/BodyCutter.h"

#include <type_traits>
#include <utility>

#include "tmx/parsing/CodeUnits.h"
#include "tmx/parsing/MarkupScanner.h"
#include "tmx/rules/UnitRules.h"

namespace {

constexpr size_t kLongestFrame = size_t(4) << 20;  // each piece parses its frame again

template <class Code>
class Cutter final : public BodyCutter {
 public:
  explicit Cutter(size_t nMarkBytes) : m_scanner(nMarkBytes) {}

  size_t Scan(const char* p, size_t n, size_t nMinimum) override;
  size_t Cut(size_t nOffset) override {
    m_scanner.Shift(nOffset);
    return std::exchange(m_nUnits, 0);
  }
  bool Ended() const override { return m_phase == Phase::kEnded; }
  size_t FrameBytes() const override { return m_nFrameBytes; }
  const std::string& Suffix() const override { return m_suffix; }
  size_t BodyEndTagUnits() const override { return m_nBodyEndTagUnits; }
  bool HasExternalSubset() const override { return m_bExternalSubset; }

 private:
  enum class Phase { kProlog, kHead, kBody, kEnded };
  static constexpr size_t W = Code::kWidth;

  void InProlog(const char* p, Markup markup);
  void InHead(const char* p, Markup markup);
  void FindsBody(const char* p, std::string_view name);
  bool NamesBody(std::string_view name) const;
  bool NamesUnit(std::string_view name) const;
  static std::basic_string<TCHAR> Text(std::string_view name);

  MarkupScanner<Code> m_scanner;
  Phase m_phase = Phase::kProlog;
  int m_nDepth = 0;  // open elements below the root before body, below body in it
  size_t m_nUnits = 0;  // since the last cut
  // The frame.
  size_t m_nFrameBytes = 0, m_nBodyEndTagUnits = 0;
  std::string m_rootName, m_suffix;
  bool m_bExternalSubset = false;
};

// Construct by construct; in body a cut follows each element that brings the depth back to 0.
template <class Code>
size_t Cutter<Code>::Scan(const char* p, size_t n, size_t nMinimum) {
  while (!Ended()) {
    const Markup markup = m_scanner.Next(p, n, m_phase == Phase::kProlog);
    if (markup == Markup::kMore) return 0;
    if (markup == Markup::kUnknown) break;  // what only the parser may judge
    if (m_phase == Phase::kProlog) {
      InProlog(p, markup);
    } else if (m_phase == Phase::kHead) {
      InHead(p, markup);
    } else if (markup == Markup::kEndTag || markup == Markup::kStartTag || markup == Markup::kEmptyTag) {
      if (markup == Markup::kEndTag && m_nDepth == 0) break;  // body ends
      if (markup != Markup::kEndTag && m_nDepth == 0 && NamesUnit(m_scanner.TagName(p))) m_nUnits++;
      m_nDepth += markup == Markup::kStartTag ? 1 : markup == Markup::kEndTag ? -1 : 0;
    } else if (markup == Markup::kDocumentType) {
      break;
    }
    const bool bElementEnded = markup == Markup::kEndTag || markup == Markup::kEmptyTag;
    if (m_phase == Phase::kBody && m_nDepth == 0 && bElementEnded && m_scanner.End() >= nMinimum) return m_scanner.End();
  }
  m_phase = Phase::kEnded;
  return 0;
}

// Before the root: the declaration, comments, PIs and the document type declaration; then the
// root's start tag.
template <class Code>
void Cutter<Code>::InProlog(const char* p, Markup markup) {
  if (markup == Markup::kDocumentType) {
    m_bExternalSubset = m_scanner.NamesExternalSubset();
  } else if (markup == Markup::kStartTag) {
    m_rootName = m_scanner.TagName(p);
    m_phase = Phase::kHead;
  } else if (markup != Markup::kComment && markup != Markup::kPI) {
    m_phase = Phase::kEnded;  // a root without content, or what a prolog does not hold
  }
}

// Below the root until body, the first child of the root named body as the rules have it.
template <class Code>
void Cutter<Code>::InHead(const char* p, Markup markup) {
  if (markup == Markup::kStartTag && m_nDepth == 0 && NamesBody(m_scanner.TagName(p)))
    FindsBody(p, m_scanner.TagName(p));
  else if ((markup == Markup::kEndTag && m_nDepth == 0) || markup == Markup::kDocumentType ||
           (markup == Markup::kEmptyTag && m_nDepth == 0 && NamesBody(m_scanner.TagName(p))))
    m_phase = Phase::kEnded;  // the root ends without a body with content
  else if (markup == Markup::kStartTag || markup == Markup::kEndTag)
    m_nDepth += markup == Markup::kStartTag ? 1 : -1;
}

// Everything before body's content frames the pieces; body's and the root's end tags follow each.
template <class Code>
void Cutter<Code>::FindsBody(const char*, std::string_view name) {
  m_nFrameBytes = m_scanner.End();
  if (m_nFrameBytes > kLongestFrame) m_phase = Phase::kEnded;
  m_nBodyEndTagUnits = 3 + name.size() / W;
  for (const std::string_view tag : {name, std::string_view(m_rootName)}) {
    Code::Append(m_suffix, '<');
    Code::Append(m_suffix, '/');
    m_suffix += tag;
    Code::Append(m_suffix, '>');
  }
  if (m_phase != Phase::kEnded) m_phase = Phase::kBody;
}

template <class Code>
std::basic_string<TCHAR> Cutter<Code>::Text(std::string_view name) {
  std::basic_string<TCHAR> units;
  for (size_t i = 0; i < name.size(); i += W) units += static_cast<TCHAR>(Code::At(name.data(), i));
  return units;
}

template <class Code>
bool Cutter<Code>::NamesBody(std::string_view name) const {
  return UnitRules::NamesMultilingualBody(Text(name).c_str());
}

// Only a name of two units may be tu: the common case asks for no string.
template <class Code>
bool Cutter<Code>::NamesUnit(std::string_view name) const {
  return name.size() == 2 * W && UnitRules::NamesUnit(Text(name).c_str());
}

}  // namespace

std::unique_ptr<BodyCutter> BodyCutter::For(const DocumentEncoding& encoding) {
  return WithCodeUnits(encoding.layout, [&encoding](auto units) -> std::unique_ptr<BodyCutter> {
    if constexpr (std::is_same_v<decltype(units), std::nullptr_t>)
      return nullptr;
    else
      return std::make_unique<Cutter<decltype(units)>>(encoding.nMarkBytes);
  });
}
