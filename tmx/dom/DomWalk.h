// How the TMX code reads the DOM on its hot paths: child and sibling links only (see
// xml/DepthFirstWalk.h), and never recursion.
#pragma once

#include <xercesc/dom/DOMNode.hpp>

#include "quillon/afx.h"
#include "tmx/rules/UnitRules.h"
#include "xml/DepthFirstWalk.h"

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
