// The class library's exceptions. Like MFC, they are thrown as pointers to heap objects: the
// catcher owns the object and releases it with Delete().
#pragma once

#include "Object.h"

class AFX_CORE_API CException : public CObject {
 public:
  explicit CException(BOOL bAutoDelete = TRUE) : m_bAutoDelete(bAutoDelete) {}
  void Delete();
  // Copies a readable description, cut to nMaxError - 1 code units and terminated.
  virtual BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext = nullptr) const;

  BOOL m_bAutoDelete;

 protected:
  virtual LPCTSTR Description() const = 0;
};

class AFX_CORE_API CMemoryException : public CException {
 public:
  explicit CMemoryException(BOOL bAutoDelete = TRUE) : CException(bAutoDelete) {}

 protected:
  LPCTSTR Description() const override;
};

class AFX_CORE_API CInvalidArgException : public CException {
 protected:
  LPCTSTR Description() const override;
};

class AFX_CORE_API CArchiveException : public CException {
 public:
  enum { none, genericException, readOnly, endOfFile, writeOnly, badIndex, badClass, badSchema,
         bufferFull };
  explicit CArchiveException(int cause = none) : m_cause(cause) {}
  int m_cause;

 protected:
  LPCTSTR Description() const override;
};

class AFX_CORE_API CFileException : public CException {
 public:
  enum { none, genericException, fileNotFound, badPath, tooManyOpenFiles, accessDenied,
         invalidFile, removeCurrentDir, directoryFull, badSeek, hardIO, sharingViolation,
         lockViolation, diskFull, endOfFile };
  explicit CFileException(int cause = none) : m_cause(cause) {}
  int m_cause;

 protected:
  LPCTSTR Description() const override;
};

// Throws the one preallocated memory exception, whose Delete() does nothing: raising it needs no
// memory, and a catcher that loses it leaks nothing.
[[noreturn]] AFX_CORE_API void AFXAPI AfxThrowMemoryException();
[[noreturn]] AFX_CORE_API void AFXAPI AfxThrowInvalidArgException();
[[noreturn]] AFX_CORE_API void AFXAPI AfxThrowArchiveException(int cause, LPCTSTR lpszArchiveName = nullptr);
[[noreturn]] AFX_CORE_API void AFXAPI AfxThrowFileException(int cause);
