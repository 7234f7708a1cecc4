// CArchive: binary storing to and loading from a CFile.
#pragma once

#include "File.h"

class AFX_CORE_API CArchive {
 public:
  enum Mode { store = 0, load = 1 };
  CArchive(CFile* pFile, UINT nMode);
  CArchive(const CArchive&) = delete;
  CArchive& operator=(const CArchive&) = delete;

  BOOL IsLoading() const { return m_nMode == load; }
  BOOL IsStoring() const { return m_nMode == store; }

  // Counts: below 0xFFFF as 16 bits; else 0xFFFF then 32 bits; from 0xFFFFFFFF on,
  // 0xFFFFFFFF then 64 bits; all little-endian. A short read raises endOfFile.
  void WriteCount(DWORD_PTR dwCount);
  DWORD_PTR ReadCount();
  // Read returns the bytes read; fewer than asked means the archive ended.
  UINT_PTR Read(void* lpBuf, UINT_PTR nMax);
  void Write(const void* lpBuf, UINT_PTR nMax);

 private:
  void ReadExactly(void* lpBuf, UINT_PTR nCount);

  CFile* m_pFile;
  UINT m_nMode;
};
