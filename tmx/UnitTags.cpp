#include "tmx/UnitTags.h"

#include <new>

#include <xercesc/dom/DOMMemoryManager.hpp>
#include <xercesc/util/XMLUni.hpp>

using namespace xercesc;

const XMLCh kUnitKeyTag[] = u"TUK";

int* NewUnitKeyCounter(DOMDocument& document) {
  auto* pMemory = static_cast<DOMMemoryManager*>(document.getFeature(XMLUni::fgXercescInterfaceDOMMemoryManager, nullptr));
  int* pCounter = new (pMemory->allocate(sizeof(int))) int(-1);
  document.setUserData(kUnitKeyTag, pCounter, nullptr);
  return pCounter;
}

void UnhookTaggedDocument(DOMDocument* pDocument) {
  if (pDocument == nullptr || pDocument->getUserData(kUnitKeyTag) == nullptr) return;
  while (DOMNode* pChild = pDocument->getFirstChild()) pDocument->removeChild(pChild);
}
