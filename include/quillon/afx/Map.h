// CMap: the class library's hash map. Entries live in bucket chains exactly as MFC keeps them,
// so iteration order is MFC's: buckets ascending, each chain from its newest entry. The bucket
// count is fixed for the map's life (17 by default), which would make look-ups linear in the
// size; a private open-addressing index over the same entries keeps them O(1), and chains
// linked both ways keep removal O(1).
#pragma once

#include <new>

#include "Exceptions.h"
#include "Plex.h"

// MFC's integer hash: one step of the minimal-standard generator.
template <class ARG_KEY>
inline UINT AFXAPI HashKey(ARG_KEY key) {
  const int64_t k = static_cast<long>(key);
  int64_t h = 16807 * (k % 127773) - 2836 * (k / 127773);
  if (h < 0) h += 2147483647;
  return static_cast<UINT>(h);
}

template <class KEY, class ARG_KEY, class VALUE, class ARG_VALUE>
class CMap : public CObject {
  struct CAssoc {
    CAssoc* pNext;
    CAssoc* pPrev;
    UINT nHashValue;
    KEY key;
    VALUE value;
  };

 public:
  explicit CMap(INT_PTR nBlockSize = 10) : m_nBlockSize(nBlockSize > 0 ? nBlockSize : 10) {}
  CMap(const CMap&) = delete;
  CMap& operator=(const CMap&) = delete;
  ~CMap() override { RemoveAll(); }

  INT_PTR GetCount() const { return m_nCount; }
  INT_PTR GetSize() const { return m_nCount; }
  BOOL IsEmpty() const { return m_nCount == 0; }
  UINT GetHashTableSize() const { return m_nHashTableSize; }

  // Sets the bucket count of an empty map; the table itself is made by the first insertion.
  void InitHashTable(UINT nHashSize, BOOL bAllocNow = TRUE) {
    if (m_nCount != 0 || nHashSize == 0) AfxThrowInvalidArgException();
    FreeBuckets();
    m_nHashTableSize = nHashSize;
    if (bAllocNow) AllocBuckets();
  }

  BOOL Lookup(ARG_KEY key, VALUE& rValue) const {
    const CAssoc* pAssoc = Find(key, HashKey<ARG_KEY>(key));
    if (pAssoc == nullptr) return FALSE;
    rValue = pAssoc->value;
    return TRUE;
  }
  VALUE& operator[](ARG_KEY key) {
    const UINT nHashValue = HashKey<ARG_KEY>(key);
    CAssoc* pAssoc = Find(key, nHashValue);
    return pAssoc ? pAssoc->value : Insert(key, nHashValue)->value;
  }
  void SetAt(ARG_KEY key, ARG_VALUE newValue) { (*this)[key] = newValue; }
  // Removes the entry; FALSE when there is none. The last one gone, the map frees all it holds.
  BOOL RemoveKey(ARG_KEY key) {
    const UINT nHashValue = HashKey<ARG_KEY>(key);
    CAssoc* pAssoc = Find(key, nHashValue);
    if (pAssoc == nullptr) return FALSE;
    RemoveFromIndex(pAssoc);
    (pAssoc->pPrev ? pAssoc->pPrev->pNext : m_pHashTable[nHashValue % m_nHashTableSize]) = pAssoc->pNext;
    if (pAssoc->pNext) pAssoc->pNext->pPrev = pAssoc->pPrev;
    pAssoc->key.~KEY();
    pAssoc->value.~VALUE();
    pAssoc->pNext = m_pFreeList;
    m_pFreeList = pAssoc;
    if (--m_nCount == 0) RemoveAll();
    return TRUE;
  }

  POSITION GetStartPosition() const { return m_nCount == 0 ? nullptr : BEFORE_START_POSITION; }
  void GetNextAssoc(POSITION& rNextPosition, KEY& rKey, VALUE& rValue) const {
    CAssoc* pAssoc = reinterpret_cast<CAssoc*>(rNextPosition);
    if (pAssoc == nullptr || m_pHashTable == nullptr) AfxThrowInvalidArgException();
    if (rNextPosition == BEFORE_START_POSITION) pAssoc = FirstInBuckets(0);
    CAssoc* pNext = pAssoc->pNext;
    if (pNext == nullptr) pNext = FirstInBuckets(pAssoc->nHashValue % m_nHashTableSize + 1);
    rNextPosition = reinterpret_cast<POSITION>(pNext);
    rKey = pAssoc->key;
    rValue = pAssoc->value;
  }

  // Empties the map; the bucket count and block size stay for the next fill.
  void RemoveAll() {
    if (m_pHashTable) {
      for (UINT nBucket = 0; nBucket < m_nHashTableSize; nBucket++)
        for (CAssoc* pAssoc = m_pHashTable[nBucket]; pAssoc; pAssoc = pAssoc->pNext) {
          pAssoc->key.~KEY();
          pAssoc->value.~VALUE();
        }
    }
    FreeBuckets();
    ::operator delete(m_pIndex);
    m_pIndex = nullptr;
    m_nIndexMask = 0;
    m_nCount = 0;
    m_pFreeList = nullptr;
    if (m_pBlocks) m_pBlocks->FreeDataChain();
    m_pBlocks = nullptr;
  }

 private:
  void AllocBuckets() {
    m_pHashTable = static_cast<CAssoc**>(AfxAllocate(sizeof(CAssoc*) * m_nHashTableSize));
    for (UINT i = 0; i < m_nHashTableSize; i++) m_pHashTable[i] = nullptr;
  }
  void FreeBuckets() {
    ::operator delete(m_pHashTable);
    m_pHashTable = nullptr;
  }
  CAssoc* FirstInBuckets(UINT nBucket) const {
    for (; nBucket < m_nHashTableSize; nBucket++)
      if (m_pHashTable[nBucket]) return m_pHashTable[nBucket];
    return nullptr;
  }

  // Index slot for a hash: Fibonacci hashing spreads MFC's hash over the index's power of two.
  UINT_PTR Slot(UINT nHashValue) const {
    return static_cast<UINT_PTR>((nHashValue * 0x9E3779B97F4A7C15ull) >> 32) & m_nIndexMask;
  }
  CAssoc* Find(ARG_KEY key, UINT nHashValue) const {
    if (m_pIndex == nullptr) return nullptr;
    for (UINT_PTR i = Slot(nHashValue);; i = (i + 1) & m_nIndexMask) {
      CAssoc* pAssoc = m_pIndex[i];
      if (pAssoc == nullptr) return nullptr;
      if (pAssoc->nHashValue == nHashValue && pAssoc->key == key) return pAssoc;
    }
  }
  // Empties the entry's slot, then moves back every entry after it that the gap would otherwise
  // cut off from its home slot.
  void RemoveFromIndex(CAssoc* pAssoc) {
    UINT_PTR iGap = Slot(pAssoc->nHashValue);
    while (m_pIndex[iGap] != pAssoc) iGap = (iGap + 1) & m_nIndexMask;
    for (UINT_PTR i = (iGap + 1) & m_nIndexMask; m_pIndex[i]; i = (i + 1) & m_nIndexMask) {
      const UINT_PTR iHome = Slot(m_pIndex[i]->nHashValue);
      const bool bHomeInRun = iGap < i ? iGap < iHome && iHome <= i : iGap < iHome || iHome <= i;
      if (bHomeInRun) continue;
      m_pIndex[iGap] = m_pIndex[i];
      iGap = i;
    }
    m_pIndex[iGap] = nullptr;
  }
  void AddToIndex(CAssoc* pAssoc) {
    UINT_PTR i = Slot(pAssoc->nHashValue);
    while (m_pIndex[i]) i = (i + 1) & m_nIndexMask;
    m_pIndex[i] = pAssoc;
  }
  // Keeps the index at most half full.
  void ReserveIndex() {
    const UINT_PTR nSlots = m_nIndexMask + 1;
    if (m_pIndex && static_cast<UINT_PTR>(m_nCount + 1) * 2 <= nSlots) return;
    const UINT_PTR nNewSlots = m_pIndex ? nSlots * 2 : 32;
    CAssoc** pOld = m_pIndex;
    m_pIndex = static_cast<CAssoc**>(AfxAllocate(sizeof(CAssoc*) * nNewSlots));
    for (UINT_PTR i = 0; i < nNewSlots; i++) m_pIndex[i] = nullptr;
    m_nIndexMask = nNewSlots - 1;
    if (pOld)
      for (UINT_PTR i = 0; i < nSlots; i++)
        if (pOld[i]) AddToIndex(pOld[i]);
    ::operator delete(pOld);
  }

  CAssoc* Insert(ARG_KEY key, UINT nHashValue) {
    if (m_pHashTable == nullptr) AllocBuckets();
    ReserveIndex();
    CAssoc* pAssoc = CPlex::TakeNode(m_pBlocks, m_nBlockSize, m_pFreeList);
    ::new (static_cast<void*>(&pAssoc->key)) KEY(key);
    ::new (static_cast<void*>(&pAssoc->value)) VALUE();
    m_nCount++;
    pAssoc->nHashValue = nHashValue;
    CAssoc*& pBucket = m_pHashTable[nHashValue % m_nHashTableSize];
    pAssoc->pNext = pBucket;  // the newest entry leads its chain
    pAssoc->pPrev = nullptr;
    if (pBucket) pBucket->pPrev = pAssoc;
    pBucket = pAssoc;
    AddToIndex(pAssoc);
    return pAssoc;
  }

  CAssoc** m_pHashTable = nullptr;
  UINT m_nHashTableSize = 17;
  INT_PTR m_nCount = 0;
  CAssoc* m_pFreeList = nullptr;
  CPlex* m_pBlocks = nullptr;
  INT_PTR m_nBlockSize;
  CAssoc** m_pIndex = nullptr;
  UINT_PTR m_nIndexMask = 0;
};
