#include "tmx/dom/DomWalk.h"

using namespace xercesc;

namespace {

bool IsText(const DOMNode* pNode) {
  const short nType = pNode->getNodeType();
  return nType == DOMNode::TEXT_NODE || nType == DOMNode::CDATA_SECTION_NODE;
}

TextView View(const XMLCh* psz) { return psz ? TextView(psz) : TextView(); }

}  // namespace

TextView TextContent(const DOMNode* pRoot, CString& composed) {
  switch (pRoot->getNodeType()) {
    case DOMNode::ELEMENT_NODE:
    case DOMNode::ENTITY_REFERENCE_NODE:
    case DOMNode::DOCUMENT_FRAGMENT_NODE:
      break;
    default:
      return View(pRoot->getNodeValue());
  }
  const DOMNode* pFirst = pRoot->getFirstChild();
  if (pFirst && pFirst->getNextSibling() == nullptr && IsText(pFirst)) return View(pFirst->getNodeValue());
  composed.Empty();
  WalkDepthFirst(pFirst, 1, [&composed](const DOMNode* pNode, int) {
    if (IsText(pNode)) {
      composed += pNode->getNodeValue();
      return WalkStep::kSkip;
    }
    // comments and processing instructions hold no text content
    const short nType = pNode->getNodeType();
    return nType == DOMNode::ELEMENT_NODE || nType == DOMNode::ENTITY_REFERENCE_NODE ? WalkStep::kDescend
                                                                                     : WalkStep::kSkip;
  });
  return TextView(composed.GetString(), static_cast<size_t>(composed.GetLength()));
}
