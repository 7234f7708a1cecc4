// The body chain that both builders walk.
#pragma once

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMNode.hpp>
#include <xercesc/dom/DOMNodeList.hpp>

#include "quillon/TmxUnits.h"
#include "quillon/afx.h"

typedef CList<xercesc::DOMNode*, xercesc::DOMNode*> TmxNodeList;

// Appends the child nodes of body that units are read from, in document order: all of them
// but a leading text, CDATA, comment or processing instruction.
void CollectChildNodes(xercesc::DOMNodeList* pChildren, TmxNodeList& list);
