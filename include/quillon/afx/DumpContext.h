// CDumpContext: diagnostic text output. Over a CFile it writes UTF-16 code units, as a
// Unicode build of the class library does; without a file it writes UTF-8 to stderr.
#pragma once

#include "File.h"
#include "String.h"

class AFX_CORE_API CDumpContext {
 public:
  explicit CDumpContext(CFile* pFile = nullptr) : m_pFile(pFile) {}
  CDumpContext& operator<<(LPCSTR lpsz);
  CDumpContext& operator<<(LPCTSTR lpsz);
  CDumpContext& operator<<(const CString& str) { return *this << str.GetString(); }

 private:
  CFile* m_pFile;
};
