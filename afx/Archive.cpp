#include "quillon/afx/Archive.h"

#include <algorithm>
#include <climits>

#include "quillon/afx/Array.h"

CArchive::CArchive(CFile* pFile, UINT nMode) : m_pFile(pFile), m_nMode(nMode) {
  if (pFile == nullptr || (nMode != load && nMode != store)) AfxThrowInvalidArgException();
}

UINT_PTR CArchive::Read(void* lpBuf, UINT_PTR nMax) {
  if (!IsLoading()) AfxThrowArchiveException(CArchiveException::writeOnly);
  auto* p = static_cast<BYTE*>(lpBuf);
  UINT_PTR nRead = 0;
  while (nRead < nMax) {
    const UINT nChunk = static_cast<UINT>(std::min<UINT_PTR>(nMax - nRead, UINT_MAX));
    const UINT n = m_pFile->Read(p + nRead, nChunk);
    nRead += n;
    if (n < nChunk) break;
  }
  return nRead;
}

void CArchive::Write(const void* lpBuf, UINT_PTR nMax) {
  if (!IsStoring()) AfxThrowArchiveException(CArchiveException::readOnly);
  const auto* p = static_cast<const BYTE*>(lpBuf);
  for (UINT_PTR nDone = 0; nDone < nMax;) {
    const UINT nChunk = static_cast<UINT>(std::min<UINT_PTR>(nMax - nDone, UINT_MAX));
    m_pFile->Write(p + nDone, nChunk);
    nDone += nChunk;
  }
}

void CArchive::ReadExactly(void* lpBuf, UINT_PTR nCount) {
  if (Read(lpBuf, nCount) != nCount) AfxThrowArchiveException(CArchiveException::endOfFile);
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
  ReadExactly(w, sizeof w);
  if (LoadLE<WORD>(w) != 0xFFFF) return LoadLE<WORD>(w);
  BYTE d[4];
  ReadExactly(d, sizeof d);
  if (LoadLE<DWORD>(d) != 0xFFFFFFFF) return LoadLE<DWORD>(d);
  BYTE q[8];
  ReadExactly(q, sizeof q);
  return static_cast<DWORD_PTR>(LoadLE<ULONGLONG>(q));
}

template <>
void SerializeElements<CString>(CArchive& ar, CString* pElements, INT_PTR nCount) {
  for (INT_PTR i = 0; i < nCount; i++) {
    CString& str = pElements[i];
    if (ar.IsStoring()) {
      ar.WriteCount(static_cast<DWORD_PTR>(str.GetLength()));
      ar.Write(str.GetString(), static_cast<UINT_PTR>(str.GetLength()) * sizeof(TCHAR));
    } else {
      const DWORD_PTR nLength = ar.ReadCount();
      if (nLength > INT_MAX) AfxThrowArchiveException(CArchiveException::badIndex);
      CString text;
      LPTSTR p = text.GetBuffer(static_cast<int>(nLength));
      if (ar.Read(p, nLength * sizeof(TCHAR)) != nLength * sizeof(TCHAR))
        AfxThrowArchiveException(CArchiveException::endOfFile);
      str = text;
    }
  }
}
