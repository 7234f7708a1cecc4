// Reading text out of the DOM on the TMX hot paths.
#pragma once

#include <xercesc/dom/DOMNode.hpp>

#include "quillon/afx.h"

// An attribute's value. A plain value is its one text child, read directly: the attribute's own
// getter pays a dynamic cast on every call.
inline const XMLCh* AttributeValue(const xercesc::DOMNode* pAttribute) {
  const xercesc::DOMNode* pText = pAttribute->getFirstChild();
  if (pText && pText->getNextSibling() == nullptr && pText->getNodeType() == xercesc::DOMNode::TEXT_NODE)
    return pText->getNodeValue();
  return pAttribute->getNodeValue();
}

// The DOM's text content of a node, gathered without recursion and without parent links, so
// that deep nesting cannot exhaust the stack (and without the parser's own copy, which would
// stay in the document's memory until it is released).
CString TextContent(const xercesc::DOMNode* pNode);
