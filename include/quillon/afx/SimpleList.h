// CSimpleList and CTypedSimpleList: the class library's intrusive singly linked lists, whose
// elements keep their next pointer at a fixed offset. The module state chains its run-time
// classes, class factories and extension libraries with them.
#pragma once

#include "afxdef.h"

class CSimpleList {
 public:
  explicit CSimpleList(size_t nNextOffset = 0) : m_pHead(nullptr), m_nNextOffset(nNextOffset) {}
  void Construct(size_t nNextOffset) { m_nNextOffset = nNextOffset; }
  BOOL IsEmpty() const { return m_pHead == nullptr; }
  void AddHead(void* p) {
    *NextOf(p) = m_pHead;
    m_pHead = p;
  }
  void RemoveAll() { m_pHead = nullptr; }
  void* GetHead() const { return m_pHead; }
  void* GetNext(void* p) const { return *NextOf(p); }
  BOOL Remove(void* p) {
    for (void** pp = &m_pHead; *pp; pp = NextOf(*pp))
      if (*pp == p) {
        *pp = *NextOf(p);
        return TRUE;
      }
    return FALSE;
  }

  void* m_pHead;
  size_t m_nNextOffset;

 private:
  void** NextOf(void* p) const { return reinterpret_cast<void**>(static_cast<BYTE*>(p) + m_nNextOffset); }
};

template <class TYPE>
class CTypedSimpleList : public CSimpleList {
 public:
  explicit CTypedSimpleList(size_t nNextOffset = 0) : CSimpleList(nNextOffset) {}
  void AddHead(TYPE p) { CSimpleList::AddHead(p); }
  TYPE GetHead() const { return static_cast<TYPE>(CSimpleList::GetHead()); }
  TYPE GetNext(TYPE p) const { return static_cast<TYPE>(CSimpleList::GetNext(p)); }
  BOOL Remove(TYPE p) { return CSimpleList::Remove(p); }
  operator TYPE() const { return GetHead(); }
};
