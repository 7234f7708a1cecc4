#include "quillon/afx/DumpContext.h"

#include <cstdio>
#include <string>

#include "quillon/afx/Convert.h"

CDumpContext& CDumpContext::operator<<(LPCSTR lpsz) {
  return *this << CString(lpsz ? lpsz : "").GetString();
}

CDumpContext& CDumpContext::operator<<(LPCTSTR lpsz) {
  if (lpsz == nullptr) lpsz = _T("");
  const size_t nLength = std::char_traits<TCHAR>::length(lpsz);
  if (m_pFile)
    m_pFile->Write(lpsz, static_cast<UINT>(nLength * sizeof(TCHAR)));
  else
    std::fputs(CW2A(lpsz), stderr);
  return *this;
}
