#include "tmx/DomWalk.h"

using namespace xercesc;

CString TextContent(const DOMNode* pRoot) {
  switch (pRoot->getNodeType()) {
    case DOMNode::ELEMENT_NODE:
    case DOMNode::ENTITY_REFERENCE_NODE:
    case DOMNode::DOCUMENT_FRAGMENT_NODE:
      break;
    default:
      return CString(pRoot->getNodeValue());
  }
  CString text;
  ForEachDescendant(pRoot, [&text](const DOMNode* pNode) {
    switch (pNode->getNodeType()) {
      case DOMNode::TEXT_NODE:
      case DOMNode::CDATA_SECTION_NODE:
        text += pNode->getNodeValue();
        return false;
      case DOMNode::ELEMENT_NODE:
      case DOMNode::ENTITY_REFERENCE_NODE:
        return true;
      default:  // comments and processing instructions hold no text content
        return false;
    }
  });
  return text;
}
