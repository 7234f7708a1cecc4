#include "tmx/dom/UnitMapBuilder.h"
#include "tmx/rules/UnitRules.h"

using namespace xercesc;

// Children are followed by sibling links: indexing a child list walks it from the start
// every time, which turns a body of many units quadratic.
void CollectChildNodes(DOMNodeList* pChildren, TmxNodeList& list) {
  DOMNode* pFirst = pChildren ? pChildren->item(0) : nullptr;
  if (pFirst && UnitRules::LeftOutWhenFirst(pFirst->getNodeType())) pFirst = pFirst->getNextSibling();
  for (DOMNode* pNode = pFirst; pNode; pNode = pNode->getNextSibling()) list.AddTail(pNode);
}
