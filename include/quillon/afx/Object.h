// CObject, the root of the class library's hierarchy, with its run-time class record.
#pragma once

#include "afxdef.h"

class CArchive;
class CDumpContext;
class CObject;

struct AFX_CORE_API CRuntimeClass {
  LPCSTR m_lpszClassName;
  int m_nObjectSize;
  CRuntimeClass* m_pBaseClass;
  CRuntimeClass* m_pNextClass;  // chain of a module's classes
  BOOL IsDerivedFrom(const CRuntimeClass* pBaseClass) const;
};

class AFX_CORE_API CObject {
 public:
  virtual CRuntimeClass* GetRuntimeClass() const;
  virtual ~CObject() = default;
  virtual void Serialize(CArchive& ar);
  virtual void AssertValid() const;
  virtual void Dump(CDumpContext& dc) const;

  BOOL IsKindOf(const CRuntimeClass* pClass) const;
  static CRuntimeClass classCObject;

 protected:
  CObject() = default;
  CObject(const CObject&) = default;
  CObject& operator=(const CObject&) = default;
};
