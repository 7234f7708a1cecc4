// CObject, the root of the class library's hierarchy, with its run-time class record.
#pragma once

#include "afxdef.h"

#include <new>

class CArchive;
class CDumpContext;
class CObject;

// Every allocation of the class library: memory or the memory exception, never null.
AFX_CORE_API void* AFXAPI AfxAllocate(size_t nBytes);

struct AFX_CORE_API CRuntimeClass {
  LPCSTR m_lpszClassName;
  int m_nObjectSize;
  CRuntimeClass* m_pBaseClass;
  CRuntimeClass* m_pNextClass;  // chain of a module's classes
};

class AFX_CORE_API CObject {
 public:
  virtual CRuntimeClass* GetRuntimeClass() const;
  virtual ~CObject() = default;
  virtual void Serialize(CArchive& ar);
  virtual void AssertValid() const;
  virtual void Dump(CDumpContext& dc) const;

  static CRuntimeClass classCObject;

  // Objects of the class library raise the memory exception when they cannot be allocated.
  static void* operator new(size_t nSize) { return AfxAllocate(nSize); }
  static void* operator new(size_t, void* p) noexcept { return p; }
  static void operator delete(void* p) noexcept { ::operator delete(p); }
  static void operator delete(void*, void*) noexcept {}

 protected:
  CObject() = default;
  CObject(const CObject&) = default;
  CObject& operator=(const CObject&) = default;
};
