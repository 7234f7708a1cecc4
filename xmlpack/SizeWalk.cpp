// The size walk: for every node that the writer turns into a record, one node and the bytes of
// its texts with their terminators, so that 18 x nodes + text bytes covers the image.
#include <climits>

#include <xercesc/dom/DOMAttr.hpp>
#include <xercesc/dom/DOMComment.hpp>
#include <xercesc/dom/DOMDocumentType.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>

#include "xml/DepthFirstWalk.h"
#include "quillon/GenXMLInterface.h"
#include "xmlpack/ImageText.h"

using namespace xercesc;
using namespace image_text;

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
  if (XMLString::equals(pNode->getNodeName(), kDocumentName)) {
    // Name and (null) value, then the name once more: what pays for the declaration's name.
    CountNode(Bytes(TextLength(pNode->getNodeName())) + Bytes(TextLength(pNode->getNodeValue())) +
              Bytes(Length(kDocumentName)));
    Xml_Decl_Node(pNode);
  }
  // Each handler returns the node's next sibling, which the walk goes on with.
  WalkDepthFirst(pNode->getFirstChild(), 0, [this](DOMNode* pChild, int) {
    CountSpecifiedAttributes(pChild);
    switch (pChild->getNodeType()) {
      case DOMNode::DOCUMENT_TYPE_NODE:
        Document_Type_Node(pChild);
        return WalkStep::kDescend;
      case DOMNode::ENTITY_REFERENCE_NODE:
        Entity_Reference_Node(pChild);
        return WalkStep::kSkip;
      default:
        Other_Node(pChild);
        return WalkStep::kDescend;
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

// The declaration's text is only measured (see ImageText.h).
DOMNode* CGenXMLInterface::Xml_Decl_Node(DOMNode* pDocument) {
  const auto* pDoc = static_cast<const DOMDocument*>(pDocument);
  const long long nEncoding = TextLength(pDoc->getXmlEncoding());
  long long nLength = Length(kVersionOpen) + TextLength(pDoc->getXmlVersion()) + Length(kQuote);
  if (nEncoding > 0) nLength += Length(kEncodingOpen) + 2 * nEncoding + Length(kQuote);
  if (pDoc->getXmlStandalone()) nLength += Length(kStandaloneOpen) + Length(kStandaloneMeasured) + Length(kQuote);
  nLength += Length(kDeclarationClose);
  CountNode(Bytes(nLength));
  return pDocument->getNextSibling();
}

DOMNode* CGenXMLInterface::Document_Type_Node(DOMNode* pNode) {
  const auto* pType = static_cast<const DOMDocumentType*>(pNode);
  const long long nPublic = TextLength(pType->getPublicId());
  const long long nText = TextLength(pNode->getNodeName()) + Length(kSystemIdMark) + TextLength(pType->getSystemId()) +
                          (nPublic > 0 ? Length(kPublicIdMark) + nPublic : 0) + Length(kSystemIdMark) +
                          TextLength(pType->getInternalSubset());
  CountNode(Bytes(Length(kDocumentTypeName)) + Bytes(nText));
  return pNode->getNextSibling();
}

// The text is the first child's value if it is text, else its name followed by the names and
// values of its children, with room for the marks around the name.
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
  CountNode(Bytes(TextLength(pNode->getNodeName())) + Bytes(nText + Length(kEntityOpen) + Length(kEntityClose)));
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
