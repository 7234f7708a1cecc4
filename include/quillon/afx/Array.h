// CArray: the class library's growable array, and CStringArray.
#pragma once

#include <climits>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include "Archive.h"
#include "Exceptions.h"
#include "String.h"

// Default element serialisation: the elements' raw bytes, at most INT_MAX bytes a call.
template <class TYPE>
void AFXAPI SerializeElements(CArchive& ar, TYPE* pElements, INT_PTR nCount) {
  static_assert(std::is_trivially_copyable_v<TYPE>, "only plain elements serialise bitwise");
  constexpr INT_PTR nMaxPerCall = INT_MAX / sizeof(TYPE);
  for (INT_PTR nDone = 0; nDone < nCount;) {
    const UINT nElements = static_cast<UINT>(nCount - nDone < nMaxPerCall ? nCount - nDone : nMaxPerCall);
    if (ar.IsStoring())
      ar.Write(pElements + nDone, nElements * static_cast<UINT>(sizeof(TYPE)));
    else
      ar.EnsureRead(pElements + nDone, nElements * static_cast<UINT>(sizeof(TYPE)));
    nDone += nElements;
  }
}

template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray : public CObject {
 public:
  CArray() = default;
  CArray(const CArray&) = delete;
  CArray& operator=(const CArray&) = delete;
  ~CArray() override { Release(); }

  INT_PTR GetSize() const { return m_nSize; }
  INT_PTR GetCount() const { return m_nSize; }
  INT_PTR GetUpperBound() const { return m_nSize - 1; }
  BOOL IsEmpty() const { return m_nSize == 0; }

  void SetSize(INT_PTR nNewSize, INT_PTR nGrowBy = -1);
  void FreeExtra();
  void RemoveAll() { SetSize(0, -1); }

  const TYPE& GetAt(INT_PTR i) const { return m_pData[Checked(i)]; }
  TYPE& GetAt(INT_PTR i) { return m_pData[Checked(i)]; }
  const TYPE& ElementAt(INT_PTR i) const { return m_pData[Checked(i)]; }
  TYPE& ElementAt(INT_PTR i) { return m_pData[Checked(i)]; }
  const TYPE& operator[](INT_PTR i) const { return m_pData[Checked(i)]; }
  TYPE& operator[](INT_PTR i) { return m_pData[Checked(i)]; }
  const TYPE* GetData() const { return m_pData; }
  TYPE* GetData() { return m_pData; }

  void SetAt(INT_PTR i, ARG_TYPE newElement) { m_pData[Checked(i)] = newElement; }
  void SetAtGrow(INT_PTR i, ARG_TYPE newElement);
  INT_PTR Add(ARG_TYPE newElement);
  INT_PTR Append(const CArray& src);
  void Copy(const CArray& src);
  void InsertAt(INT_PTR nIndex, ARG_TYPE newElement, INT_PTR nCount = 1);
  void InsertAt(INT_PTR nStartIndex, CArray* pNewArray);
  void RemoveAt(INT_PTR nIndex, INT_PTR nCount = 1);

  void Serialize(CArchive& ar) override;

 private:
  INT_PTR Checked(INT_PTR i) const {
    if (i < 0 || i >= m_nSize) AfxThrowInvalidArgException();
    return i;
  }
  static TYPE* Allocate(INT_PTR n) {
    if (static_cast<size_t>(n) > SIZE_MAX / sizeof(TYPE)) AfxThrowMemoryException();
    return static_cast<TYPE*>(AfxAllocate(static_cast<size_t>(n) * sizeof(TYPE)));
  }
  static void Construct(TYPE* p, INT_PTR n) {
    for (INT_PTR i = 0; i < n; i++) ::new (static_cast<void*>(p + i)) TYPE();
  }
  static void Destroy(TYPE* p, INT_PTR n) {
    if constexpr (!std::is_trivially_destructible_v<TYPE>)
      for (INT_PTR i = 0; i < n; i++) p[i].~TYPE();
  }
  // Moves n elements between buffers that may overlap; the source slots end up destroyed.
  static void Relocate(TYPE* pDst, TYPE* pSrc, INT_PTR n) {
    if constexpr (std::is_trivially_copyable_v<TYPE>) {
      if (n > 0) std::memmove(pDst, pSrc, static_cast<size_t>(n) * sizeof(TYPE));
    } else if (pDst < pSrc) {
      for (INT_PTR i = 0; i < n; i++) {
        ::new (static_cast<void*>(pDst + i)) TYPE(std::move(pSrc[i]));
        pSrc[i].~TYPE();
      }
    } else {
      for (INT_PTR i = n - 1; i >= 0; i--) {
        ::new (static_cast<void*>(pDst + i)) TYPE(std::move(pSrc[i]));
        pSrc[i].~TYPE();
      }
    }
  }
  void Release() {
    Destroy(m_pData, m_nSize);
    ::operator delete(m_pData);
    m_pData = nullptr;
    m_nSize = m_nMaxSize = 0;
  }
  // Opens nCount default-constructed slots at nIndex, shifting the tail up.
  void OpenGap(INT_PTR nIndex, INT_PTR nCount);

  TYPE* m_pData = nullptr;
  INT_PTR m_nSize = 0;
  INT_PTR m_nMaxSize = 0;
  INT_PTR m_nGrowBy = 0;
};

template <class TYPE, class ARG_TYPE>
void CArray<TYPE, ARG_TYPE>::SetSize(INT_PTR nNewSize, INT_PTR nGrowBy) {
  if (nNewSize < 0) AfxThrowInvalidArgException();
  if (nGrowBy >= 0) m_nGrowBy = nGrowBy;

  if (nNewSize == 0) {
    Release();
  } else if (m_pData == nullptr) {
    const INT_PTR nAllocSize = nNewSize > m_nGrowBy ? nNewSize : m_nGrowBy;
    m_pData = Allocate(nAllocSize);
    Construct(m_pData, nNewSize);
    m_nSize = nNewSize;
    m_nMaxSize = nAllocSize;
  } else if (nNewSize <= m_nMaxSize) {
    if (nNewSize > m_nSize)
      Construct(m_pData + m_nSize, nNewSize - m_nSize);
    else
      Destroy(m_pData + nNewSize, m_nSize - nNewSize);
    m_nSize = nNewSize;
  } else {
    // Grow by the set step, or by an eighth of the size kept between 4 and 1024 elements.
    INT_PTR nGrowArrayBy = m_nGrowBy;
    if (nGrowArrayBy == 0) {
      nGrowArrayBy = m_nSize / 8;
      nGrowArrayBy = nGrowArrayBy < 4 ? 4 : (nGrowArrayBy > 1024 ? 1024 : nGrowArrayBy);
    }
    const INT_PTR nNewMax = nNewSize < m_nMaxSize + nGrowArrayBy ? m_nMaxSize + nGrowArrayBy : nNewSize;
    TYPE* pNewData = Allocate(nNewMax);
    Relocate(pNewData, m_pData, m_nSize);
    Construct(pNewData + m_nSize, nNewSize - m_nSize);
    ::operator delete(m_pData);
    m_pData = pNewData;
    m_nSize = nNewSize;
    m_nMaxSize = nNewMax;
  }
}

template <class TYPE, class ARG_TYPE>
void CArray<TYPE, ARG_TYPE>::FreeExtra() {
  if (m_nSize == m_nMaxSize) return;
  TYPE* pNewData = m_nSize ? Allocate(m_nSize) : nullptr;
  Relocate(pNewData, m_pData, m_nSize);
  ::operator delete(m_pData);
  m_pData = pNewData;
  m_nMaxSize = m_nSize;
}

template <class TYPE, class ARG_TYPE>
void CArray<TYPE, ARG_TYPE>::SetAtGrow(INT_PTR i, ARG_TYPE newElement) {
  if (i < 0) AfxThrowInvalidArgException();
  if (i >= m_nSize) {
    TYPE copy(newElement);  // the argument may live in this array's storage
    SetSize(i + 1, -1);
    m_pData[i] = std::move(copy);
  } else {
    m_pData[i] = newElement;
  }
}

template <class TYPE, class ARG_TYPE>
INT_PTR CArray<TYPE, ARG_TYPE>::Add(ARG_TYPE newElement) {
  const INT_PTR nIndex = m_nSize;
  SetAtGrow(nIndex, newElement);
  return nIndex;
}

template <class TYPE, class ARG_TYPE>
INT_PTR CArray<TYPE, ARG_TYPE>::Append(const CArray& src) {
  if (this == &src) AfxThrowInvalidArgException();
  const INT_PTR nOldSize = m_nSize;
  SetSize(m_nSize + src.m_nSize, -1);
  for (INT_PTR i = 0; i < src.m_nSize; i++) m_pData[nOldSize + i] = src.m_pData[i];
  return nOldSize;
}

template <class TYPE, class ARG_TYPE>
void CArray<TYPE, ARG_TYPE>::Copy(const CArray& src) {
  if (this == &src) return;
  SetSize(src.m_nSize, -1);
  for (INT_PTR i = 0; i < src.m_nSize; i++) m_pData[i] = src.m_pData[i];
}

template <class TYPE, class ARG_TYPE>
void CArray<TYPE, ARG_TYPE>::OpenGap(INT_PTR nIndex, INT_PTR nCount) {
  if (nIndex >= m_nSize) {
    SetSize(nIndex + nCount, -1);
    return;
  }
  const INT_PTR nOldSize = m_nSize;
  SetSize(m_nSize + nCount, -1);
  Destroy(m_pData + nOldSize, nCount);
  Relocate(m_pData + nIndex + nCount, m_pData + nIndex, nOldSize - nIndex);
  Construct(m_pData + nIndex, nCount);
}

template <class TYPE, class ARG_TYPE>
void CArray<TYPE, ARG_TYPE>::InsertAt(INT_PTR nIndex, ARG_TYPE newElement, INT_PTR nCount) {
  if (nIndex < 0 || nCount < 1) AfxThrowInvalidArgException();
  TYPE copy(newElement);
  OpenGap(nIndex, nCount);
  for (INT_PTR i = 0; i < nCount; i++) m_pData[nIndex + i] = copy;
}

template <class TYPE, class ARG_TYPE>
void CArray<TYPE, ARG_TYPE>::InsertAt(INT_PTR nStartIndex, CArray* pNewArray) {
  if (pNewArray == nullptr || nStartIndex < 0) AfxThrowInvalidArgException();
  const INT_PTR nCount = pNewArray->GetSize();
  if (nCount == 0) return;
  if (pNewArray == this) {
    CArray copy;
    copy.Copy(*this);
    InsertAt(nStartIndex, &copy);
    return;
  }
  OpenGap(nStartIndex, nCount);
  for (INT_PTR i = 0; i < nCount; i++) m_pData[nStartIndex + i] = pNewArray->m_pData[i];
}

template <class TYPE, class ARG_TYPE>
void CArray<TYPE, ARG_TYPE>::RemoveAt(INT_PTR nIndex, INT_PTR nCount) {
  if (nIndex < 0 || nCount < 0 || nIndex > m_nSize - nCount) AfxThrowInvalidArgException();
  if (nCount == 0) return;
  Destroy(m_pData + nIndex, nCount);
  Relocate(m_pData + nIndex, m_pData + nIndex + nCount, m_nSize - nIndex - nCount);
  m_nSize -= nCount;
}

template <class TYPE, class ARG_TYPE>
void CArray<TYPE, ARG_TYPE>::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar.WriteCount(static_cast<DWORD_PTR>(m_nSize));
  } else {
    const DWORD_PTR nCount = ar.ReadCount();
    if (nCount > static_cast<DWORD_PTR>(INTPTR_MAX / static_cast<INT_PTR>(sizeof(TYPE))))
      AfxThrowArchiveException(CArchiveException::badIndex);
    SetSize(static_cast<INT_PTR>(nCount), -1);
  }
  SerializeElements<TYPE>(ar, m_pData, m_nSize);
}

// Strings serialise as their length in the archive's count encoding, then their code units.
template <>
AFX_CORE_API void AFXAPI SerializeElements<CString>(CArchive& ar, CString* pElements, INT_PTR nCount);

// MFC's CStringArray: an array of strings with the same growth and index rules.
class CStringArray : public CArray<CString, LPCTSTR> {};
