// How the TMX code reads the DOM on its hot paths: sibling and child links only (the parser's
// deep node lists and parent links pay a dynamic cast per node), and never recursion (nesting
// may be deeper than the machine stack allows).
#pragma once

#include <vector>

#include <xercesc/dom/DOMNode.hpp>

#include "quillon/afx.h"
#include "tmx/UnitRules.h"

// Calls visit(node) for every descendant of pRoot in document order; visit returns whether to
// walk the node's children too.
template <class Node, class Visit>
void ForEachDescendant(Node* pRoot, Visit visit) {
  std::vector<Node*> resume;  // where to go on after the current subtree
  for (Node* pNode = pRoot->getFirstChild();;) {
    while (pNode == nullptr) {
      if (resume.empty()) return;
      pNode = resume.back();
      resume.pop_back();
    }
    Node* pNext = pNode->getNextSibling();
    if (visit(pNode))
      if (Node* pChild = pNode->getFirstChild()) {
        if (pNext) resume.push_back(pNext);
        pNext = pChild;
      }
    pNode = pNext;
  }
}

// An attribute's value. A plain value is its one text child, read directly: the attribute's own
// getter pays a dynamic cast on every call.
inline const XMLCh* AttributeValue(const xercesc::DOMNode* pAttribute) {
  const xercesc::DOMNode* pText = pAttribute->getFirstChild();
  if (pText && pText->getNextSibling() == nullptr && pText->getNodeType() == xercesc::DOMNode::TEXT_NODE)
    return pText->getNodeValue();
  return pAttribute->getNodeValue();
}

// The DOM's text content of a node, without the parser's own copy (which would stay in the
// document's memory until the document is released): the node's own text where it has it,
// else composed in composed.
TextView TextContent(const xercesc::DOMNode* pNode, CString& composed);
