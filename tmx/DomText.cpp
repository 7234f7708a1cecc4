#include "tmx/DomText.h"

#include <vector>

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
  std::vector<const DOMNode*> resume;  // where to go on after the current subtree
  for (const DOMNode* pNode = pRoot->getFirstChild();;) {
    while (pNode == nullptr) {
      if (resume.empty()) return text;
      pNode = resume.back();
      resume.pop_back();
    }
    const auto type = pNode->getNodeType();
    const DOMNode* pNext = pNode->getNextSibling();
    if (type == DOMNode::TEXT_NODE || type == DOMNode::CDATA_SECTION_NODE) {
      text += pNode->getNodeValue();
    } else if (type == DOMNode::ELEMENT_NODE || type == DOMNode::ENTITY_REFERENCE_NODE) {
      if (const DOMNode* pChild = pNode->getFirstChild()) {
        if (pNext) resume.push_back(pNext);
        pNext = pChild;
      }
    }
    pNode = pNext;
  }
}
