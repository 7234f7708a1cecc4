#include "quillon/afx/Object.h"

#include "quillon/afx/Exceptions.h"

void* AfxAllocate(size_t nBytes) {
  void* p = ::operator new(nBytes, std::nothrow);
  if (p == nullptr) AfxThrowMemoryException();
  return p;
}

CRuntimeClass CObject::classCObject = {"CObject", sizeof(CObject), nullptr, nullptr};

CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }
void CObject::Serialize(CArchive&) {}
void CObject::AssertValid() const {}
void CObject::Dump(CDumpContext&) const {}
