#include "tmx/UnitMapBuilder.h"

#include <memory>

#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>

#include "quillon/TmxParseEngine.h"
#include "tmx/DomWalk.h"
#include "tmx/UnitRules.h"
#include "tmx/UnitTags.h"

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

}  // namespace

void FileUnits(DOMDocument& document, const TmxNodeList& chain, TmxUnitMap& map, const CString* pFirstLanguage,
               const CString* pSecondLanguage) {
  DomWalk(document, map, pFirstLanguage, pSecondLanguage).Chain(chain);
}

bool CTmxParseEngine::CreateDataStructures(TmxUnitMap& map) {
  if (m_pDocument == nullptr) return false;
  // The first element in document order with exactly this tag name, found without counting
  // them all.
  DOMNode* pBody = m_pDocument->getElementsByTagName(_T("body"))->item(0);
  if (pBody == nullptr) return false;
  TmxNodeList chain(10);
  CollectChildNodes(pBody->getChildNodes(), chain);
  m_pTaggedDocument = m_pDocument;
  FileUnits(*m_pDocument, chain, map, &m_strFirstLanguage, &m_strSecondLanguage);
  return true;
}

bool CTmxParseEngine::CreateMultilingualDataStructures(TmxUnitMap& map) {
  if (m_pDocument == nullptr) return false;
  TmxNodeList nodes(10);
  if (DOMElement* pRoot = m_pDocument->getDocumentElement())
    for (DOMNode* pChild = pRoot->getFirstChild(); pChild; pChild = pChild->getNextSibling()) nodes.AddTail(pChild);
  DOMNode* pBody = nullptr;
  for (POSITION pos = nodes.GetHeadPosition(); pos && !pBody;) {
    DOMNode* pNode = nodes.GetNext(pos);
    if (pNode->getNodeType() == DOMNode::ELEMENT_NODE && UnitRules::IsMultilingualBody(pNode->getNodeName()))
      pBody = pNode;
  }
  nodes.RemoveAll();
  if (pBody == nullptr) return true;
  CollectChildNodes(pBody->getChildNodes(), nodes);
  m_pTaggedDocument = m_pDocument;
  FileUnits(*m_pDocument, nodes, map);
  return true;
}
