#include "tmx/UnitMapBuilder.h"

#include <memory>

#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>

#include "quillon/TmxParseEngine.h"
#include "resources/resource.h"
#include "tmx/DomWalk.h"
#include "tmx/UnitTags.h"

using namespace xercesc;

namespace {

bool NameIs(const DOMNode* pNode, const XMLCh* pszLowerName) {
  return AfxCompareNoCase(pNode->getNodeName(), pszLowerName) == 0;
}

bool IsElementNamed(const DOMNode* pNode, const XMLCh* pszLowerName) {
  return pNode->getNodeType() == DOMNode::ELEMENT_NODE && NameIs(pNode, pszLowerName);
}

// A note's text replaces the kept note unless it is empty.
void TakeNote(const DOMNode* pNote, CString& strNote) {
  CString text = TextContent(pNote);
  if (!text.IsEmpty()) strNote = std::move(text);
}

// The unit note, two line feeds, then the variant's own note.
void MergeNotes(CString& strOwnNote, const CString& strUnitNote) {
  if (strOwnNote.IsEmpty()) {
    strOwnNote = strUnitNote;
  } else if (!strUnitNote.IsEmpty()) {
    CString merged;
    merged.Format(IDS_NOTE_MERGE, strUnitNote.GetString(), strOwnNote.GetString());
    strOwnNote = std::move(merged);
  }
}

// Each child with a value becomes the text, unless the whole text content contains it and is
// longer: plain text gives itself, mixed content gives everything inline elements hold too. The
// text of a seg with one child is that child's value, returned in place; other texts are made
// in composed.
const XMLCh* WholeSegmentText(const DOMNode* pSeg, CString& composed) {
  const DOMNode* pFirst = pSeg->getFirstChild();
  if (pFirst->getNextSibling() == nullptr) return pFirst->getNodeValue();
  CString& segment = composed;
  CString content;
  bool bContentKnown = false;
  for (const DOMNode* pChild = pFirst; pChild; pChild = pChild->getNextSibling()) {
    const XMLCh* pszValue = pChild->getNodeValue();
    if (pszValue == nullptr) continue;
    segment = pszValue;
    if (!bContentKnown) {
      content = TextContent(pSeg);
      bContentKnown = true;
    }
    if (content.Find(segment) >= 0 && content.GetLength() > segment.GetLength()) segment = content;
  }
  return segment;
}

// The tu being walked: its note, and its key, read back from its tag once a variant needs it.
struct Unit {
  DOMNode* pNode;
  CString strNote;
  const int* pKey = nullptr;

  int Key() {
    if (pKey == nullptr) pKey = static_cast<const int*>(pNode->getUserData(kUnitKeyTag));
    return *pKey;
  }
};

class UnitFiler {
 public:
  UnitFiler(DOMDocument& document, TmxUnitMap& map, const UnitBuildRules& rules)
      : m_map(map), m_rules(rules), m_pKeyCounter(NewUnitKeyCounter(document)) {}

  void FileChain(const TmxNodeList& chain) {
    for (POSITION pos = chain.GetHeadPosition(); pos;) {
      DOMNode* pNode = chain.GetNext(pos);
      if (m_rules.bKeysCountEveryNode) ++*m_pKeyCounter;
      if (!IsElementNamed(pNode, u"tu")) continue;
      if (!m_rules.bKeysCountEveryNode) ++*m_pKeyCounter;
      FileUnit(pNode);
    }
  }

 private:
  void FileUnit(DOMNode* pNode) {
    Unit unit{pNode, CString()};
    pNode->setUserData(kUnitKeyTag, m_pKeyCounter, nullptr);
    for (DOMNode* pChild = pNode->getFirstChild(); pChild; pChild = pChild->getNextSibling()) {
      if (NameIs(pChild, u"note"))
        TakeNote(pChild, unit.strNote);
      else if (NameIs(pChild, u"tuv"))
        FileVariants(unit, pChild);
    }
  }

  // Attribute maps come sorted by name, so of lang and xml:lang the later one decides.
  static const XMLCh* VariantLanguage(const DOMNode* pVariant) {
    const XMLCh* pszLanguage = nullptr;
    if (const DOMNamedNodeMap* pAttributes = pVariant->getAttributes()) {
      const XMLSize_t nAttributes = pAttributes->getLength();
      for (XMLSize_t i = 0; i < nAttributes; i++) {
        const DOMNode* pAttribute = pAttributes->item(i);
        if (NameIs(pAttribute, u"lang") || NameIs(pAttribute, u"xml:lang")) pszLanguage = AttributeValue(pAttribute);
      }
    }
    return pszLanguage;
  }

  bool Keeps(const XMLCh* pszLanguage) const {
    if (m_rules.pFirstLanguage == nullptr) return true;
    return AfxCompareNoCase(pszLanguage, *m_rules.pSecondLanguage) == 0 ||
           AfxCompareNoCase(pszLanguage, *m_rules.pFirstLanguage) == 0;
  }

  void FileVariants(Unit& unit, const DOMNode* pVariant) {
    const XMLCh* pszLanguage = VariantLanguage(pVariant);
    CString strOwnNote;
    for (const DOMNode* pChild = pVariant->getFirstChild(); pChild; pChild = pChild->getNextSibling()) {
      if (NameIs(pChild, u"note"))
        TakeNote(pChild, strOwnNote);
      else if (NameIs(pChild, u"seg") && Keeps(pszLanguage))
        FileSegment(unit, pChild, pszLanguage, strOwnNote);
    }
  }

  void FileSegment(Unit& unit, const DOMNode* pSeg, const XMLCh* pszLanguage, CString& strOwnNote) {
    CString composed;
    const XMLCh* pszSegment = nullptr;
    if (m_rules.bWholeSegmentText) {
      if (!pSeg->hasChildNodes()) return;
      pszSegment = WholeSegmentText(pSeg, composed);
    } else if (const DOMNode* pFirst = pSeg->getFirstChild()) {
      pszSegment = pFirst->getNodeValue();
    }
    MergeNotes(strOwnNote, unit.strNote);
    File(unit.Key(), std::make_unique<CTmxTUV>(pszLanguage, pszSegment, strOwnNote));
  }

  // Appends the variant to the unit filed under key, making the unit when there is none. A unit
  // the host emptied with Delete gets a fresh list; a key the host filed as null takes nothing.
  void File(int key, std::unique_ptr<CTmxTUV> pTuv) {
    CTmxElementAddressAndTUV* pUnit = nullptr;
    std::unique_ptr<CTmxElementAddressAndTUV> pNewUnit;
    if (!m_map.Lookup(key, pUnit)) {
      pNewUnit = std::make_unique<CTmxElementAddressAndTUV>();
      pNewUnit->m_nElementAddress = key;
      pUnit = pNewUnit.get();
    } else if (pUnit == nullptr) {
      return;
    }
    if (pUnit->m_pTuvList == nullptr) pUnit->m_pTuvList = new TmxTuvList;
    pUnit->m_pTuvList->Add(pTuv.get());
    pTuv.release();
    if (pNewUnit) {
      m_map.SetAt(key, pUnit);
      pNewUnit.release();
    }
  }

  TmxUnitMap& m_map;
  const UnitBuildRules& m_rules;
  int* m_pKeyCounter;
};

}  // namespace

void FileUnits(DOMDocument& document, const TmxNodeList& chain, TmxUnitMap& map, const UnitBuildRules& rules) {
  UnitFiler(document, map, rules).FileChain(chain);
}

bool CTmxParseEngine::CreateDataStructures(TmxUnitMap& map) {
  if (m_pDocument == nullptr) return false;
  // The first element in document order with exactly this tag name, found without counting
  // them all.
  DOMNode* pBody = m_pDocument->getElementsByTagName(u"body")->item(0);
  if (pBody == nullptr) return false;
  TmxNodeList chain(10);
  CollectChildNodes(pBody->getChildNodes(), chain);
  FileUnits(*m_pDocument, chain, map, {true, true, &m_strFirstLanguage, &m_strSecondLanguage});
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
    if (IsElementNamed(pNode, u"body")) pBody = pNode;
  }
  nodes.RemoveAll();
  if (pBody == nullptr) return true;
  CollectChildNodes(pBody->getChildNodes(), nodes);
  FileUnits(*m_pDocument, nodes, map, {false, false, nullptr, nullptr});
  return true;
}
