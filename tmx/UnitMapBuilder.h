// What the two unit-map builders share: the body chain, the walk of a tu element with its
// notes and variants, and the filing of variants under unit keys.
#pragma once

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMNode.hpp>
#include <xercesc/dom/DOMNodeList.hpp>

#include "quillon/TmxUnits.h"
#include "quillon/afx.h"

typedef CList<xercesc::DOMNode*, xercesc::DOMNode*> TmxNodeList;

// Appends the child nodes of body that units are read from, in document order: all of them
// but a leading text, CDATA, comment or processing instruction.
void CollectChildNodes(xercesc::DOMNodeList* pChildren, TmxNodeList& list);

struct UnitBuildRules {
  // Bilingual keys count every node of the body chain; multilingual keys count tu elements.
  bool bKeysCountEveryNode;
  // Bilingual segments take the whole text content of mixed content; multilingual ones the
  // value of the first child only, and an empty seg still gives a variant.
  bool bWholeSegmentText;
  // The languages kept, compared ignoring ASCII case; both null keeps every language.
  const CString* pFirstLanguage;
  const CString* pSecondLanguage;
};

// Files the variants of every tu element of the chain into map.
void FileUnits(xercesc::DOMDocument& document, const TmxNodeList& chain, TmxUnitMap& map,
               const UnitBuildRules& rules);
