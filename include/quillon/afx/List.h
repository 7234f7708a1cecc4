// CList: the class library's doubly linked list, its nodes allocated in blocks.
#pragma once

#include <new>

#include "Exceptions.h"
#include "Plex.h"

template <class TYPE, class ARG_TYPE = const TYPE&>
class CList : public CObject {
  struct CNode {
    CNode* pNext;
    CNode* pPrev;
    TYPE data;
  };

 public:
  explicit CList(INT_PTR nBlockSize = 10) : m_nBlockSize(nBlockSize > 0 ? nBlockSize : 10) {}
  CList(const CList&) = delete;
  CList& operator=(const CList&) = delete;
  ~CList() override { RemoveAll(); }

  INT_PTR GetCount() const { return m_nCount; }
  INT_PTR GetSize() const { return m_nCount; }
  BOOL IsEmpty() const { return m_nCount == 0; }

  POSITION AddTail(ARG_TYPE newElement) {
    CNode* pNode = NewNode(m_pNodeTail, nullptr, newElement);
    (m_pNodeTail ? m_pNodeTail->pNext : m_pNodeHead) = pNode;
    m_pNodeTail = pNode;
    return reinterpret_cast<POSITION>(pNode);
  }
  POSITION GetHeadPosition() const { return reinterpret_cast<POSITION>(m_pNodeHead); }
  TYPE& GetNext(POSITION& rPosition) {
    CNode* pNode = Node(rPosition);
    rPosition = reinterpret_cast<POSITION>(pNode->pNext);
    return pNode->data;
  }
  const TYPE& GetNext(POSITION& rPosition) const {
    CNode* pNode = Node(rPosition);
    rPosition = reinterpret_cast<POSITION>(pNode->pNext);
    return pNode->data;
  }

  void RemoveAll() {
    for (CNode* pNode = m_pNodeHead; pNode; pNode = pNode->pNext) pNode->data.~TYPE();
    m_nCount = 0;
    m_pNodeHead = m_pNodeTail = m_pNodeFree = nullptr;
    if (m_pBlocks) m_pBlocks->FreeDataChain();
    m_pBlocks = nullptr;
  }

 private:
  static CNode* Node(POSITION position) {
    if (position == nullptr) AfxThrowInvalidArgException();
    return reinterpret_cast<CNode*>(position);
  }
  CNode* NewNode(CNode* pPrev, CNode* pNext, ARG_TYPE value) {
    CNode* pNode = CPlex::TakeNode(m_pBlocks, m_nBlockSize, m_pNodeFree);
    ::new (static_cast<void*>(&pNode->data)) TYPE(value);
    pNode->pPrev = pPrev;
    pNode->pNext = pNext;
    m_nCount++;
    return pNode;
  }

  CNode* m_pNodeHead = nullptr;
  CNode* m_pNodeTail = nullptr;
  INT_PTR m_nCount = 0;
  CNode* m_pNodeFree = nullptr;
  CPlex* m_pBlocks = nullptr;
  INT_PTR m_nBlockSize;
};
