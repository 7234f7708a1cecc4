// The unit rules of both rule sets, in one place: where body is, which nodes of its chain are
// units and the key of each, which variants are kept, and their languages, segment texts and
// notes. The builders drive them from the DOM, the streaming reader from parser events; what
// they decide reaches a UnitSink one variant at a time.
#pragma once

#include <optional>

#include <xercesc/dom/DOMNode.hpp>

#include "tmx/rules/TextView.h"

// Where the variants that the rules keep go: a unit map, or the unit a stream is reading.
class UnitSink {
 public:
  virtual void FileVariant(int nKey, TextView language, TextView segment, const CString& strNote) = 0;

 protected:
  ~UnitSink() = default;
};

// A seg as the segment rules look at it, summed up by the walker from the seg's child nodes.
// The texts are views into the walker's storage, valid while the rules read them.
struct SegSummary {
  bool bHasChildren = false;
  std::optional<TextView> firstValue;  // the first child's node value; none for an element
  std::optional<TextView> lastValue;   // the value of the last child that has one
  bool bLastValueIsContent = false;    // that child is text or CDATA, so part of the text content
};

class UnitRules {
 public:
  enum class Role { kOther, kNote, kVariant, kSegment };

  // With a language pair, the bilingual rules; without one, the multilingual rules. With a pair
  // of language ranges, the multilingual rules keeping the variants in either range. The rules
  // advance nKeyCounter, whose value while a unit is read is that unit's key.
  UnitRules(UnitSink& sink, int& nKeyCounter, const CString* pFirstLanguage = nullptr,
            const CString* pSecondLanguage = nullptr, bool bRanges = false);

  bool IsBilingual() const { return m_pFirstLanguage != nullptr && !m_bRanges; }
  // Where body is: the first element in document order for which IsBody holds, looked for only
  // below elements for which MayHoldBody does. Depths count from 1, the root element's. The
  // bilingual rules take the first element whose tag name is exactly "body", at any depth; the
  // multilingual rules the first child element of the root named body in any case.
  bool IsBody(LPCTSTR pszTagName, int nDepth) const;
  // The name the multilingual rules look for, which is also where pieces are cut.
  static bool NamesMultilingualBody(LPCTSTR pszTagName);
  // The name of a unit, a tu element, in any case.
  static bool NamesUnit(LPCTSTR pszTagName);
  bool MayHoldBody(int nDepth) const { return IsBilingual() || nDepth < 2; }
  // The body chain leaves out body's first child node when it is text, CDATA, a comment or a PI.
  static bool LeftOutWhenFirst(short nNodeType);
  // One node of the chain: advances the key as the rule set counts, and tells whether the node
  // is a unit (an element named tu), which the next calls then read.
  bool ChainNode(short nNodeType, LPCTSTR pszNodeName);

  // What a child node plays, by its name whatever its kind: of a unit, a note or a variant; of a
  // variant, a note or a segment.
  static Role UnitChild(LPCTSTR pszNodeName);
  static Role VariantChild(LPCTSTR pszNodeName);
  // The attribute of a unit that names it.
  static bool IsUnitId(LPCTSTR pszAttributeName);

  void BeginUnit() { m_strUnitNote.Empty(); }
  // A note's text content, unless it is empty, replaces the note it is for (the builders' rules)
  // or follows it (in every other text, where a variant has the unit's notes, then its own, each
  // once, a blank line between two).
  void UnitNote(TextView text) { TakeNote(text, m_strUnitNote); }
  // The language as a view of text that ends in a zero, or an empty view for none.
  void BeginVariant(TextView language);
  void VariantNote(TextView text) { TakeNote(text, m_strOwnNote); }
  // Files the variant of one seg, if the rule set keeps it. wholeContent() gives the seg's text
  // content (its text and CDATA at every depth), asked for only when needed.
  template <class Content>
  void Segment(const SegSummary& seg, Content wholeContent) {
    if (!KeepsVariant() || (IsBilingual() && !seg.bHasChildren)) return;
    File(IsBilingual() ? WholeSegmentText(seg, wholeContent) : seg.firstValue.value_or(TextView()));
  }
  // Files the variant of one seg whose text a text mode other than the builders' made.
  void ComposedSegment(TextView text) {
    if (KeepsVariant()) File(text);
  }

 private:
  bool KeepsVariant() const;
  void TakeNote(TextView text, CString& strNote) const;
  static CString Joined(const CString& strFirst, const CString& strSecond);
  template <class Content>
  static TextView WholeSegmentText(const SegSummary& seg, Content wholeContent) {
    if (!seg.lastValue) return {};
    const TextView content = wholeContent();
    return ContentHoldsMore(content, *seg.lastValue, seg.bLastValueIsContent) ? content : *seg.lastValue;
  }
  static bool ContentHoldsMore(TextView content, TextView value, bool bValueIsContent);
  void File(TextView segment);

  UnitSink& m_sink;
  int& m_nKey;
  const CString* m_pFirstLanguage;
  const CString* m_pSecondLanguage;
  bool m_bRanges;
  TextView m_language;
  CString m_strUnitNote;
  CString m_strOwnNote;
  CString m_strNote;  // a variant's notes joined, where a seg is filed with them
};
