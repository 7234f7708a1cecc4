// CFile and CMemFile: the class library's file interface and its in-memory file.
#pragma once

#include "Object.h"

class AFX_CORE_API CFile : public CObject {
 public:
  enum SeekPosition { begin = 0x0, current = 0x1, end = 0x2 };

  virtual ULONGLONG GetLength() const = 0;
  virtual ULONGLONG GetPosition() const = 0;
  virtual ULONGLONG Seek(LONGLONG lOff, UINT nFrom) = 0;
  void SeekToBegin() { Seek(0, begin); }
  // Returns the number of bytes read, fewer than asked only at the end of the data.
  virtual UINT Read(void* lpBuf, UINT nCount) = 0;
  virtual void Write(const void* lpBuf, UINT nCount) = 0;
};

// A file in memory. It owns its buffer unless the buffer was attached by the caller.
class AFX_CORE_API CMemFile : public CFile {
 public:
  explicit CMemFile(UINT nGrowBytes = 1024);
  CMemFile(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes = 0);
  ~CMemFile() override;
  CMemFile(const CMemFile&) = delete;
  CMemFile& operator=(const CMemFile&) = delete;

  void Attach(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes = 0);
  BYTE* Detach();

  ULONGLONG GetLength() const override { return m_nFileSize; }
  ULONGLONG GetPosition() const override { return m_nPosition; }
  ULONGLONG Seek(LONGLONG lOff, UINT nFrom) override;
  UINT Read(void* lpBuf, UINT nCount) override;
  void Write(const void* lpBuf, UINT nCount) override;

 private:
  void GrowFile(size_t nNewLen);

  UINT m_nGrowBytes;
  size_t m_nPosition = 0;
  size_t m_nBufferSize = 0;
  size_t m_nFileSize = 0;
  BYTE* m_lpBuffer = nullptr;
  bool m_bAutoDelete = true;
};
