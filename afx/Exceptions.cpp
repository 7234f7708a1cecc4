#include "quillon/afx/Exceptions.h"

#include <algorithm>
#include <string>

void CException::Delete() {
  if (m_bAutoDelete) delete this;
}

BOOL CException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const {
  if (pnHelpContext) *pnHelpContext = 0;
  if (lpszError == nullptr || nMaxError == 0) return FALSE;
  const std::basic_string_view<TCHAR> text = Description();
  const size_t n = std::min<size_t>(text.size(), nMaxError - 1);
  std::copy_n(text.data(), n, lpszError);
  lpszError[n] = 0;
  return TRUE;
}

LPCTSTR CMemoryException::Description() const { return _T("Out of memory."); }
LPCTSTR CInvalidArgException::Description() const { return _T("Invalid argument."); }

LPCTSTR CArchiveException::Description() const {
  switch (m_cause) {
    case endOfFile: return _T("Unexpected end of archive.");
    case badIndex: return _T("Invalid count in archive.");
    case readOnly: return _T("Archive is for loading only.");
    case writeOnly: return _T("Archive is for storing only.");
    default: return _T("Archive error.");
  }
}

LPCTSTR CFileException::Description() const {
  switch (m_cause) {
    case badSeek: return _T("Seek outside the file.");
    case diskFull: return _T("File is full.");
    case endOfFile: return _T("Unexpected end of file.");
    default: return _T("File error.");
  }
}

void AfxThrowMemoryException() {
  static CMemoryException simpleMemoryException(FALSE);
  throw &simpleMemoryException;
}
void AfxThrowInvalidArgException() { throw new CInvalidArgException; }
void AfxThrowArchiveException(int cause, LPCTSTR) { throw new CArchiveException(cause); }
void AfxThrowFileException(int cause) { throw new CFileException(cause); }
