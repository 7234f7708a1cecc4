#include "tmx/dom/UnitMapBuilder.h"

#include <memory>

#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>

#include "quillon/TmxParseEngine.h"
#include "tmx/dom/DomWalk.h"
#include "tmx/dom/UnitTags.h"
#include "tmx/rules/UnitRules.h"
#include "tmx/rules/VariantLanguage.h"

using namespace xercesc;

namespace {

// Files variants into a unit map: a new key gets a unit, a unit the host emptied with Delete
// gets a fresh list, and a key the host filed as null takes nothing.
class MapSink : public UnitSink {
 public:
  explicit MapSink(TmxUnitMap& map) : m_map(map) {}

  void FileVariant(int nKey, TextView language, TextView segment, const CString& strNote) override {
    auto pTuv = std::make_unique<CTmxTUV>(nullptr, nullptr, strNote);
    pTuv->m_strLanguage.SetString(language.data(), static_cast<int>(language.size()));
    pTuv->m_strSegment.SetString(segment.data(), static_cast<int>(segment.size()));
    CTmxElementAddressAndTUV* pUnit = nullptr;
    std::unique_ptr<CTmxElementAddressAndTUV> pNewUnit;
    if (!m_map.Lookup(nKey, pUnit)) {
      pNewUnit = std::make_unique<CTmxElementAddressAndTUV>();
      pNewUnit->m_nElementAddress = nKey;
      pUnit = pNewUnit.get();
    } else if (pUnit == nullptr) {
      return;
    }
    if (pUnit->m_pTuvList == nullptr) pUnit->m_pTuvList = new TmxTuvList;
    pUnit->m_pTuvList->Add(pTuv.get());
    pTuv.release();
    if (pNewUnit) {
      m_map.SetAt(nKey, pUnit);
      pNewUnit.release();
    }
  }

 private:
  TmxUnitMap& m_map;
};

TextView VariantLanguageOf(const DOMNode* pVariant) {
  VariantLanguage language;
  if (const DOMNamedNodeMap* pAttributes = pVariant->getAttributes()) {
    const XMLSize_t nAttributes = pAttributes->getLength();
    for (XMLSize_t i = 0; i < nAttributes; i++) {
      const DOMNode* pAttribute = pAttributes->item(i);
      language.Consider(pAttribute->getNodeName(), AttributeValue(pAttribute));
    }
  }
  return language.Value() ? TextView(language.Value()) : TextView();
}

SegSummary Summarize(const DOMNode* pSeg) {
  SegSummary seg;
  const DOMNode* pFirst = pSeg->getFirstChild();
  seg.bHasChildren = pFirst != nullptr;
  for (const DOMNode* pChild = pFirst; pChild; pChild = pChild->getNextSibling()) {
    const XMLCh* pszValue = pChild->getNodeValue();
    if (pChild == pFirst && pszValue) seg.firstValue = pszValue;
    if (pszValue == nullptr) continue;
    seg.lastValue = pszValue;
    const short nType = pChild->getNodeType();
    seg.bLastValueIsContent = nType == DOMNode::TEXT_NODE || nType == DOMNode::CDATA_SECTION_NODE;
  }
  return seg;
}

// Drives the rules over the chain. Each tu is tagged with the key counter, which lives in the
// document's memory (see UnitTags.h).
class DomWalk {
 public:
  DomWalk(DOMDocument& document, TmxUnitMap& map, const CString* pFirst, const CString* pSecond)
      : m_pKey(NewUnitKeyCounter(document)), m_sink(map), m_rules(m_sink, *m_pKey, pFirst, pSecond) {}

  const UnitRules& Rules() const { return m_rules; }
  void Chain(const TmxNodeList& chain) {
    for (POSITION pos = chain.GetHeadPosition(); pos;) {
      DOMNode* pNode = chain.GetNext(pos);
      if (m_rules.ChainNode(pNode->getNodeType(), pNode->getNodeName())) Unit(pNode);
    }
  }

 private:
  void Unit(DOMNode* pUnit) {
    pUnit->setUserData(kUnitKeyTag, m_pKey, nullptr);
    m_rules.BeginUnit();
    for (const DOMNode* pChild = pUnit->getFirstChild(); pChild; pChild = pChild->getNextSibling()) {
      switch (UnitRules::UnitChild(pChild->getNodeName())) {
        case UnitRules::Role::kNote: m_rules.UnitNote(TextContent(pChild, m_text)); break;
        case UnitRules::Role::kVariant: Variant(pChild); break;
        default: break;
      }
    }
  }

  void Variant(const DOMNode* pVariant) {
    m_rules.BeginVariant(VariantLanguageOf(pVariant));
    for (const DOMNode* pChild = pVariant->getFirstChild(); pChild; pChild = pChild->getNextSibling()) {
      switch (UnitRules::VariantChild(pChild->getNodeName())) {
        case UnitRules::Role::kNote: m_rules.VariantNote(TextContent(pChild, m_text)); break;
        case UnitRules::Role::kSegment:
          m_rules.Segment(Summarize(pChild), [&] { return TextContent(pChild, m_text); });
          break;
        default: break;
      }
    }
  }

  int* m_pKey;
  MapSink m_sink;
  UnitRules m_rules;
  CString m_text;  // where composed text contents are made
};

// The body that the rules read, looked for where they look; null when there is none.
DOMNode* FindBody(DOMDocument& document, const UnitRules& rules) {
  DOMNode* pBody = nullptr;
  WalkDepthFirst(document.getFirstChild(), 1, [&](DOMNode* pNode, int nDepth) {
    if (pNode->getNodeType() != DOMNode::ELEMENT_NODE) return WalkStep::kSkip;
    if (rules.IsBody(pNode->getNodeName(), nDepth)) pBody = pNode;
    return pBody ? WalkStep::kStop : rules.MayHoldBody(nDepth) ? WalkStep::kDescend : WalkStep::kSkip;
  });
  return pBody;
}

// Files the units of the document's body into map, when the rules find a body; whether they did.
// The document is noted as tagged before the first tag goes on.
bool FileBodyUnits(DOMDocument& document, DOMDocument*& pTaggedDocument, TmxUnitMap& map,
                   const CString* pFirstLanguage = nullptr, const CString* pSecondLanguage = nullptr) {
  DomWalk walk(document, map, pFirstLanguage, pSecondLanguage);
  DOMNode* pBody = FindBody(document, walk.Rules());
  if (pBody == nullptr) return false;
  TmxNodeList chain(10);
  CollectChildNodes(pBody->getChildNodes(), chain);
  pTaggedDocument = &document;
  walk.Chain(chain);
  return true;
}

}  // namespace

bool CTmxParseEngine::CreateDataStructures(TmxUnitMap& map) {
  return m_pDocument && FileBodyUnits(*m_pDocument, m_pTaggedDocument, map, &m_strFirstLanguage, &m_strSecondLanguage);
}

bool CTmxParseEngine::CreateMultilingualDataStructures(TmxUnitMap& map) {
  if (m_pDocument == nullptr) return false;
  FileBodyUnits(*m_pDocument, m_pTaggedDocument, map);
  return true;
}
