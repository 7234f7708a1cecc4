// The depth-first walk that both the size walk and the image writer use. Documents may nest far
// deeper than the machine stack allows, so the walk keeps its pending siblings on the heap.
#pragma once

#include <string>
#include <vector>

#include <xercesc/dom/DOMNode.hpp>

// Visits pFirst, its following siblings and, where the visitor asks, their descendants, in
// document order. visit(node, depth, bDescend) returns the node to visit after the node's
// subtree (normally its next sibling) and sets bDescend to walk the node's children first.
template <class Visit>
void WalkDepthFirst(xercesc::DOMNode* pFirst, int nDepth, Visit visit) {
  struct Pending {
    xercesc::DOMNode* pNode;
    int nDepth;
  };
  std::vector<Pending> pending;
  for (xercesc::DOMNode* pNode = pFirst;;) {
    while (pNode == nullptr) {
      if (pending.empty()) return;
      pNode = pending.back().pNode;
      nDepth = pending.back().nDepth;
      pending.pop_back();
    }
    bool bDescend = false;
    xercesc::DOMNode* pNext = visit(pNode, nDepth, bDescend);
    xercesc::DOMNode* pChild = bDescend ? pNode->getFirstChild() : nullptr;
    if (pChild == nullptr) {
      pNode = pNext;
      continue;
    }
    if (pNext) pending.push_back({pNext, nDepth});
    pNode = pChild;
    nDepth++;
  }
}

// Code units of a parser string; null is the empty string.
inline long long TextLength(const XMLCh* psz) { return psz ? static_cast<long long>(std::char_traits<XMLCh>::length(psz)) : 0; }
