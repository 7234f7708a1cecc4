// The units of a stream: the cursor's nodes driven through the unit rules, one unit at a time.
// All that concerns the unit being read is one state, which each unit starts afresh.
#pragma once

#include <memory>
#include <vector>

#include "quillon/TmxUnits.h"
#include "tmx/rules/UnitRules.h"
#include "tmx/rules/NodeSink.h"
#include "tmx/stream/UnitReading.h"
#include "tmx/stream/UnitStore.h"
#include "tmx/text/SegmentText.h"

// Told when a unit that has variants has been read; the unit stays readable until the next one
// begins.
class UnitEnds {
 public:
  virtual void UnitRead() = 0;

 protected:
  ~UnitEnds() = default;
};

class StreamUnits : public NodeSink, private UnitSink {
 public:
  // In engine text, the bilingual rules with a language pair and the multilingual rules without
  // one; in any other text, the multilingual rules, the pair read as language ranges. The store
  // keeps the unit read last, or with bKeepAll every unit read since Restart.
  StreamUnits(const UnitReading& reading, UnitEnds& ends, bool bKeepAll = false);
  const UnitRules& Rules() const { return m_rules; }
  // A new document: no unit read, and keys counted from the start.
  void Restart();

  UnitStore& Store() { return m_store; }
  // The tu elements met so far: the multilingual rules' next key.
  int UnitsMet() const { return m_nKeyCounter + 1; }

  void Node(int nLevel, short nType, LPCTSTR pszName, TextView value, const xercesc::Attributes* pAttributes) override;
  void Text(int nLevel, TextView text) override;
  void End(int nLevel, LPCTSTR pszName) override;

 private:
  struct UnitState {
    bool bOpen = false;
    UnitRules::Role child = UnitRules::Role::kOther;         // the unit's open child
    UnitRules::Role variantChild = UnitRules::Role::kOther;  // the open child of that child, a variant
    bool bInNote = false;                                    // the open child is a note: m_note gathers its text
  };

  bool InSeg() const {
    return m_unit.bOpen && m_unit.child == UnitRules::Role::kVariant && m_unit.variantChild == UnitRules::Role::kSegment;
  }
  void ChainNode(short nType, LPCTSTR pszName, const xercesc::Attributes* pAttributes);
  void UnitChild(short nType, LPCTSTR pszName, TextView value, const xercesc::Attributes* pAttributes);
  void VariantChild(short nType, LPCTSTR pszName, TextView value);
  void BeginNote(UnitRules::Role role);
  TextView NoteText() const { return TextView(m_note.GetString(), static_cast<size_t>(m_note.GetLength())); }
  void FileVariant(int nKey, TextView language, TextView segment, const CString& strNote) override;

  CString m_strFirst, m_strSecond;
  int m_nKeyCounter = -1;
  UnitRules m_rules;
  UnitEnds& m_ends;
  bool m_bChainStarted = false;
  bool m_bKeepAll;
  UnitState m_unit;
  // Storage that units reuse: a note's text, a variant's language, the seg, the units.
  CString m_note, m_language;
  std::unique_ptr<SegmentText> m_pSeg;
  UnitStore m_store;
};
