// The two builders' walk of the DOM: the body chain, and each tu element of it, driven through
// the unit rules and filed into a unit map.
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

// Files the variants of every tu element of the chain into map: the multilingual rules
// without a language pair, the bilingual rules with one.
void FileUnits(xercesc::DOMDocument& document, const TmxNodeList& chain, TmxUnitMap& map,
               const CString* pFirstLanguage = nullptr, const CString* pSecondLanguage = nullptr);
