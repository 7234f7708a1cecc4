// CArchive: binary storing to and loading from a CFile. It writes through to the file as it
// goes, so Flush has nothing to do; Close and Abort detach it from the file.
#pragma once

#include "File.h"

class AFX_CORE_API CArchive {
 public:
  enum Mode { store = 0, load = 1, bNoFlushOnDelete = 2, bNoByteSwap = 4 };
  // The buffer arguments are MFC's; this archive needs no buffer.
  CArchive(CFile* pFile, UINT nMode, int nBufSize = 4096, void* lpBuf = nullptr);
  CArchive(const CArchive&) = delete;
  CArchive& operator=(const CArchive&) = delete;
  ~CArchive() { Abort(); }

  BOOL IsLoading() const { return (m_nMode & load) != 0; }
  BOOL IsStoring() const { return (m_nMode & load) == 0; }
  CFile* GetFile() const { return m_pFile; }
  void Flush() {}
  // Detaches from the file, which stays open; the archive can no longer be used.
  void Close() { m_pFile = nullptr; }
  void Abort() { m_pFile = nullptr; }

  // Counts: below 0xFFFF as 16 bits; else 0xFFFF then 32 bits; from 0xFFFFFFFF on,
  // 0xFFFFFFFF then 64 bits; all little-endian. A short read raises endOfFile.
  void WriteCount(DWORD_PTR dwCount);
  DWORD_PTR ReadCount();
  // Read returns the bytes read; fewer than asked means the archive ended. EnsureRead raises
  // endOfFile instead. A closed archive raises genericException.
  UINT Read(void* lpBuf, UINT nMax);
  void EnsureRead(void* lpBuf, UINT nCount);
  void Write(const void* lpBuf, UINT nMax);

 private:
  CFile& File() const;

  CFile* m_pFile;
  UINT m_nMode;
};
