#include "quillon/afx/Exceptions.h"

#include <algorithm>
#include <string>

void CException::Delete() {
  if (m_bAutoDelete) delete this;
}

BOOL CException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const {
  if (pnHelpContext) *pnHelpContext = 0;
  if (lpszError == nullptr || nMaxError == 0) return FALSE;
  const std::u16string_view text = Description();
  const size_t n = std::min<size_t>(text.size(), nMaxError - 1);
  std::copy_n(text.data(), n, lpszError);
  lpszError[n] = 0;
  return TRUE;
}

LPCTSTR CMemoryException::Description() const { return u"Out of memory."; }
LPCTSTR CInvalidArgException::Description() const { return u"Invalid argument."; }

LPCTSTR CArchiveException::Description() const {
  switch (m_cause) {
    case endOfFile: return u"Unexpected end of archive.";
    case badIndex: return u"Invalid count in archive.";
    case readOnly: return u"Archive is for loading only.";
    case writeOnly: return u"Archive is for storing only.";
    default: return u"Archive error.";
  }
}

LPCTSTR CFileException::Description() const {
  switch (m_cause) {
    case badSeek: return u"Seek outside the file.";
    case diskFull: return u"File is full.";
    case endOfFile: return u"Unexpected end of file.";
    default: return u"File error.";
  }
}

void AfxThrowMemoryException() {
  static CMemoryException simpleMemoryException(FALSE);
  throw &simpleMemoryException;
}
void AfxThrowInvalidArgException() { throw new CInvalidArgException; }
void AfxThrowArchiveException(int cause, LPCTSTR) { throw new CArchiveException(cause); }
void AfxThrowFileException(int cause) { throw new CFileException(cause); }
