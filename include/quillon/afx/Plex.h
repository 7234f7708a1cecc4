// Block allocation of list and map nodes: nodes are carved from blocks of nBlockSize and
// recycled through a free list; blocks are released all at once.
#pragma once

#include "afxdef.h"

struct AFX_CORE_API CPlex {
  CPlex* pNext;
  void* data() { return this + 1; }
  static CPlex* Create(CPlex*& pHead, UINT_PTR nMax, UINT_PTR cbElement);
  void FreeDataChain();

  // Takes a node from the free list, first carving a new block of nBlockSize nodes into it
  // (chained through their pNext) when it is empty. The node is raw storage.
  template <class NODE>
  static NODE* TakeNode(CPlex*& pBlocks, INT_PTR nBlockSize, NODE*& pFreeList) {
    if (pFreeList == nullptr) {
      NODE* pNode = static_cast<NODE*>(Create(pBlocks, static_cast<UINT_PTR>(nBlockSize), sizeof(NODE))->data());
      for (INT_PTR i = nBlockSize - 1; i >= 0; i--) {
        pNode[i].pNext = pFreeList;
        pFreeList = &pNode[i];
      }
    }
    NODE* pNode = pFreeList;
    pFreeList = pFreeList->pNext;
    return pNode;
  }
};
