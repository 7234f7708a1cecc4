// Block allocation of list and map nodes: nodes are carved from blocks of nBlockSize and
// recycled through a free list; blocks are released all at once.
#pragma once

#include "afxdef.h"

struct AFX_CORE_API CPlex {
  CPlex* pNext;
  void* data() { return this + 1; }
  static CPlex* Create(CPlex*& pHead, UINT_PTR nMax, UINT_PTR cbElement);
  void FreeDataChain();
};
