#include "tmx/UnitMapBuilder.h"

using namespace xercesc;

// Children are followed by sibling links: indexing a child list walks it from the start
// every time, which turns a body of many units quadratic.
void CollectChildNodes(DOMNodeList* pChildren, TmxNodeList& list) {
  DOMNode* pFirst = pChildren ? pChildren->item(0) : nullptr;
  if (pFirst == nullptr) return;
  switch (pFirst->getNodeType()) {
    case DOMNode::TEXT_NODE:
    case DOMNode::CDATA_SECTION_NODE:
    case DOMNode::COMMENT_NODE:
    case DOMNode::PROCESSING_INSTRUCTION_NODE:
      pFirst = pFirst->getNextSibling();
      break;
    default:  // a body written without whitespace before its first unit keeps that unit
      break;
  }
  for (DOMNode* pNode = pFirst; pNode; pNode = pNode->getNextSibling()) list.AddTail(pNode);
}
