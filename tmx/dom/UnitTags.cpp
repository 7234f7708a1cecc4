#include "tmx/dom/UnitTags.h"

#include <new>

#include <xercesc/dom/DOMMemoryManager.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "quillon/afx.h"

using namespace xercesc;

const XMLCh kUnitKeyTag[] = _T("TUK");

int* NewUnitKeyCounter(DOMDocument& document) {
  auto* pMemory = static_cast<DOMMemoryManager*>(document.getFeature(XMLUni::fgXercescInterfaceDOMMemoryManager, nullptr));
  return new (pMemory->allocate(sizeof(int))) int(-1);
}

void CutBeforeRelease(DOMDocument* pDocument) {
  while (DOMNode* pChild = pDocument->getFirstChild()) pDocument->removeChild(pChild);
}
