// The size walk: for every node that the writer turns into a record, one node and the bytes of
// its texts with their terminators, so that 18 x nodes + text bytes covers the image.
#include <climits>

#include <xercesc/dom/DOMAttr.hpp>
#include <xercesc/dom/DOMComment.hpp>
#include <xercesc/dom/DOMDocumentType.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>

#include "quillon/GenXMLInterface.h"
#include "xmlpack/TreeWalk.h"

using namespace xercesc;

namespace {

// Bytes of a counted string: its code units and terminator.
long long Bytes(long long nLength) { return (nLength + 1) * 2; }

}  // namespace

// Counts in 64 bits and refuses, before storing, a total that the 32-bit size cannot describe.
void CGenXMLInterface::CountNode(long long nTextBytes) {
  const long long nNodes = m_nNodeCount + 1LL, nText = m_nTextBytes + nTextBytes;
  if (18 * nNodes + nText > INT_MAX) AfxThrowMemoryException();
  m_nNodeCount = static_cast<int>(nNodes);
  m_nTextBytes = static_cast<int>(nText);
}

void CGenXMLInterface::EvaluateTree(int, DOMNode* pNode) {
  if (pNode == nullptr) return;
  if (XMLString::equals(pNode->getNodeName(), _T("#document"))) {
    // Name and (null) value, then "#document" once more: what pays for the declaration's name.
    CountNode(Bytes(TextLength(pNode->getNodeName())) + Bytes(TextLength(pNode->getNodeValue())) + Bytes(9));
    Xml_Decl_Node(pNode);
  }
  WalkDepthFirst(pNode->getFirstChild(), 0, [this](DOMNode* pChild, int, bool& bDescend) {
    CountSpecifiedAttributes(pChild);
    switch (pChild->getNodeType()) {
      case DOMNode::DOCUMENT_TYPE_NODE:
        bDescend = true;
        return Document_Type_Node(pChild);
      case DOMNode::ENTITY_REFERENCE_NODE:
        return Entity_Reference_Node(pChild);
      default:
        bDescend = true;
        return Other_Node(pChild);
    }
  });
}

void CGenXMLInterface::CountSpecifiedAttributes(DOMNode* pNode) {
  const DOMNamedNodeMap* pAttributes = pNode->getAttributes();
  if (pAttributes == nullptr) return;
  const XMLSize_t nAttributes = pAttributes->getLength();
  for (XMLSize_t i = 0; i < nAttributes; i++) {
    const auto* pAttribute = static_cast<const DOMAttr*>(pAttributes->item(i));
    if (pAttribute->getSpecified())
      CountNode(Bytes(TextLength(pAttribute->getName())) + Bytes(TextLength(pAttribute->getValue())));
  }
}

// The declaration's text is only measured. The encoding counts twice: its second copy pays
// for the image's head. The measured standalone value is "false", one unit longer than "true".
DOMNode* CGenXMLInterface::Xml_Decl_Node(DOMNode* pDocument) {
  const auto* pDoc = static_cast<const DOMDocument*>(pDocument);
  const long long nEncoding = TextLength(pDoc->getXmlEncoding());
  long long nLength = 15 + TextLength(pDoc->getXmlVersion()) + 1;
  if (nEncoding > 0) nLength += 11 + 2 * nEncoding + 1;
  if (pDoc->getXmlStandalone()) nLength += 13 + 5 + 1;
  nLength += 2;
  CountNode(Bytes(nLength));
  return pDocument->getNextSibling();
}

DOMNode* CGenXMLInterface::Document_Type_Node(DOMNode* pNode) {
  const auto* pType = static_cast<const DOMDocumentType*>(pNode);
  const long long nPublic = TextLength(pType->getPublicId());
  const long long nText = TextLength(pNode->getNodeName()) + 1 + TextLength(pType->getSystemId()) +
                          (nPublic > 0 ? 1 + nPublic : 0) + 1 + TextLength(pType->getInternalSubset());
  CountNode(Bytes(15) + Bytes(nText));
  return pNode->getNextSibling();
}

// The text is the first child's value if it is text, else its name followed by the names and
// values of its children; two units more pay for the "&" and ";" around the name.
DOMNode* CGenXMLInterface::Entity_Reference_Node(DOMNode* pNode) {
  long long nText = 0;
  if (const DOMNode* pFirst = pNode->getFirstChild()) {
    if (pFirst->getNodeType() == DOMNode::TEXT_NODE) {
      nText = TextLength(pFirst->getNodeValue());
    } else {
      nText = TextLength(pFirst->getNodeName());
      for (const DOMNode* pChild = pFirst->getFirstChild(); pChild; pChild = pChild->getNextSibling())
        nText += TextLength(pChild->getNodeName()) + TextLength(pChild->getNodeValue());
    }
  }
  CountNode(Bytes(TextLength(pNode->getNodeName())) + Bytes(nText + 2));
  return pNode->getNextSibling();
}

// A comment's text is its whole data, however it is read.
DOMNode* CGenXMLInterface::Other_Node(DOMNode* pNode) {
  const long long nText = pNode->getNodeType() == DOMNode::COMMENT_NODE
                              ? static_cast<long long>(static_cast<const DOMComment*>(pNode)->getLength())
                              : TextLength(pNode->getNodeValue());
  CountNode(Bytes(TextLength(pNode->getNodeName())) + Bytes(nText));
  return pNode->getNextSibling();
}
