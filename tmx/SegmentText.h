// The seg being streamed, as the segment rules look at it: its text content (its text and CDATA
// at every depth) and the values of its first child and of its last child that has one. A text
// or CDATA value lies in the content; a comment's or a PI's is kept apart.
#pragma once

#include "quillon/afx.h"
#include "tmx/UnitRules.h"

class SegmentText {
 public:
  void Begin();
  // A child node of the seg begins: its type, and a comment's or PI's value.
  void BeginChild(short nType, TextView markup);
  // Character data anywhere in the seg; bOfChild when it belongs to the child in progress, which
  // is then the last child with a value.
  void Text(TextView text, bool bOfChild);
  SegSummary Summary() const;
  TextView Content() const { return TextView(m_content.GetString(), Length()); }

 private:
  struct Value {
    bool bPresent = false;
    const CString* pMarkup = nullptr;  // a comment's or PI's value; else the value is in the content
    size_t nStart = 0, nEnd = 0;
  };
  size_t Length() const { return static_cast<size_t>(m_content.GetLength()); }
  TextView ViewOf(const Value& value) const;

  CString m_content;
  CString m_firstMarkup, m_lastMarkup;
  int m_nChildren = 0;
  Value m_first, m_last;
};
