// The depth-first walk of a DOM tree in document order that the TMX reader and the packer share.
// Documents may nest far deeper than the machine stack allows, so the walk keeps its way back on
// the heap; it follows child and sibling links only (the parser's deep node lists and parent
// links pay a dynamic cast per node).
#pragma once

#include <vector>

#include <xercesc/dom/DOMNode.hpp>

// What the walk does after a node: its children first, then its next sibling; its next sibling
// only; or nothing more.
enum class WalkStep { kDescend, kSkip, kStop };

// Visits pFirst, its following siblings and their descendants; visit(node, depth) returns the
// step to take next. pFirst is at nDepth, and the children of a node one deeper.
template <class Node, class Visit>
void WalkDepthFirst(Node* pFirst, int nDepth, Visit visit) {
  struct Pending {
    Node* pNode;
    int nDepth;
  };
  std::vector<Pending> pending;  // where to go on after the current subtree
  for (Node* pNode = pFirst;;) {
    while (pNode == nullptr) {
      if (pending.empty()) return;
      pNode = pending.back().pNode;
      nDepth = pending.back().nDepth;
      pending.pop_back();
    }
    const WalkStep step = visit(pNode, nDepth);
    if (step == WalkStep::kStop) return;
    Node* pNext = pNode->getNextSibling();
    Node* pChild = step == WalkStep::kDescend ? pNode->getFirstChild() : nullptr;
    if (pChild == nullptr) {
      pNode = pNext;
      continue;
    }
    if (pNext) pending.push_back({pNext, nDepth});
    pNode = pChild;
    nDepth++;
  }
}
