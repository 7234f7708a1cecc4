// The "TUK" unit tags that the builders leave on tu elements, and what they cost the document.
#pragma once

#include <xercesc/dom/DOMDocument.hpp>

extern const XMLCh kUnitKeyTag[];

// The key counter that a build's tags point at. It lives in the document's own memory, so a tag
// read after the build, for as long as the document exists, still finds it.
int* NewUnitKeyCounter(xercesc::DOMDocument& document);

// Once any node of a document carries user data, the parser's release of that document visits
// every node to notify handlers, recursing once per level of nesting: slow on large documents
// and a stack overflow on deeply nested ones. Our tags have no handler to notify, so a tagged
// document about to be released is first cut from its tree (the nodes stay in, and are freed
// with, the document's memory).
void CutBeforeRelease(xercesc::DOMDocument* pDocument);
