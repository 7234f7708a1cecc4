#include "quillon/afx/Archive.h"

#include <climits>

#include "quillon/afx/Array.h"

CArchive::CArchive(CFile* pFile, UINT nMode, int, void*) : m_pFile(pFile), m_nMode(nMode) {
  if (pFile == nullptr || (nMode & ~static_cast<UINT>(load | bNoFlushOnDelete | bNoByteSwap)) != 0)
    AfxThrowInvalidArgException();
}

CFile& CArchive::File() const {
  if (m_pFile == nullptr) AfxThrowArchiveException(CArchiveException::genericException);
  return *m_pFile;
}

UINT CArchive::Read(void* lpBuf, UINT nMax) {
  if (!IsLoading()) AfxThrowArchiveException(CArchiveException::writeOnly);
  return File().Read(lpBuf, nMax);
}

void CArchive::EnsureRead(void* lpBuf, UINT nCount) {
  if (Read(lpBuf, nCount) != nCount) AfxThrowArchiveException(CArchiveException::endOfFile);
}

void CArchive::Write(const void* lpBuf, UINT nMax) {
  if (!IsStoring()) AfxThrowArchiveException(CArchiveException::readOnly);
  File().Write(lpBuf, nMax);
}

namespace {

template <class T>
void StoreLE(CArchive& ar, T value) {
  BYTE bytes[sizeof(T)];
  for (size_t i = 0; i < sizeof(T); i++) bytes[i] = static_cast<BYTE>(value >> (8 * i));
  ar.Write(bytes, sizeof bytes);
}

template <class T>
T LoadLE(const BYTE (&bytes)[sizeof(T)]) {
  T value = 0;
  for (size_t i = 0; i < sizeof(T); i++) value |= static_cast<T>(bytes[i]) << (8 * i);
  return value;
}

}  // namespace

void CArchive::WriteCount(DWORD_PTR dwCount) {
  if (dwCount < 0xFFFF) {
    StoreLE<WORD>(*this, static_cast<WORD>(dwCount));
    return;
  }
  StoreLE<WORD>(*this, 0xFFFF);
  if (dwCount < 0xFFFFFFFF) {
    StoreLE<DWORD>(*this, static_cast<DWORD>(dwCount));
    return;
  }
  StoreLE<DWORD>(*this, 0xFFFFFFFF);
  StoreLE<ULONGLONG>(*this, dwCount);
}

DWORD_PTR CArchive::ReadCount() {
  BYTE w[2];
  EnsureRead(w, sizeof w);
  if (LoadLE<WORD>(w) != 0xFFFF) return LoadLE<WORD>(w);
  BYTE d[4];
  EnsureRead(d, sizeof d);
  if (LoadLE<DWORD>(d) != 0xFFFFFFFF) return LoadLE<DWORD>(d);
  BYTE q[8];
  EnsureRead(q, sizeof q);
  return static_cast<DWORD_PTR>(LoadLE<ULONGLONG>(q));
}

template <>
void SerializeElements<CString>(CArchive& ar, CString* pElements, INT_PTR nCount) {
  for (INT_PTR i = 0; i < nCount; i++) {
    CString& str = pElements[i];
    if (ar.IsStoring()) {
      ar.WriteCount(static_cast<DWORD_PTR>(str.GetLength()));
      ar.Write(str.GetString(), static_cast<UINT>(str.GetLength() * sizeof(TCHAR)));
    } else {
      const DWORD_PTR nLength = ar.ReadCount();
      if (nLength > INT_MAX / sizeof(TCHAR)) AfxThrowArchiveException(CArchiveException::badIndex);
      CString text;
      ar.EnsureRead(text.GetBuffer(static_cast<int>(nLength)), static_cast<UINT>(nLength * sizeof(TCHAR)));
      str = text;
    }
  }
}
