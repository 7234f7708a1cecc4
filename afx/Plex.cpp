#include "quillon/afx/Plex.h"

#include "quillon/afx/Exceptions.h"

CPlex* CPlex::Create(CPlex*& pHead, UINT_PTR nMax, UINT_PTR cbElement) {
  if (nMax == 0 || cbElement == 0 || nMax > (SIZE_MAX - sizeof(CPlex)) / cbElement)
    AfxThrowInvalidArgException();
  CPlex* pBlock = static_cast<CPlex*>(AfxAllocate(sizeof(CPlex) + nMax * cbElement));
  pBlock->pNext = pHead;
  pHead = pBlock;
  return pBlock;
}

void CPlex::FreeDataChain() {
  for (CPlex* p = this; p;) {
    CPlex* pNext = p->pNext;
    ::operator delete(p);
    p = pNext;
  }
}
