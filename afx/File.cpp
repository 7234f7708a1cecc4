#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "quillon/afx/Exceptions.h"
#include "quillon/afx/File.h"

CMemFile::CMemFile(UINT nGrowBytes) : m_nGrowBytes(nGrowBytes) {}

CMemFile::CMemFile(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes) : m_nGrowBytes(nGrowBytes) {
  Attach(lpBuffer, nBufferSize, nGrowBytes);
}

CMemFile::~CMemFile() {
  if (m_bAutoDelete) std::free(m_lpBuffer);
}

// An attached buffer is the caller's: it is never freed here, and with nGrowBytes 0 it is
// a fixed-size file holding nBufferSize bytes.
void CMemFile::Attach(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes) {
  if (m_lpBuffer != nullptr) AfxThrowInvalidArgException();
  m_lpBuffer = lpBuffer;
  m_nBufferSize = nBufferSize;
  m_nFileSize = nGrowBytes == 0 ? nBufferSize : 0;
  m_nGrowBytes = nGrowBytes;
  m_nPosition = 0;
  m_bAutoDelete = false;
}

BYTE* CMemFile::Detach() {
  BYTE* lpBuffer = m_lpBuffer;
  m_lpBuffer = nullptr;
  m_nBufferSize = m_nFileSize = m_nPosition = 0;
  m_bAutoDelete = true;
  return lpBuffer;
}

ULONGLONG CMemFile::Seek(LONGLONG lOff, UINT nFrom) {
  LONGLONG base;
  switch (nFrom) {
    case begin: base = 0; break;
    case current: base = static_cast<LONGLONG>(m_nPosition); break;
    case end: base = static_cast<LONGLONG>(m_nFileSize); break;
    default: AfxThrowInvalidArgException();
  }
  if ((lOff < 0 && base + lOff < 0)) AfxThrowFileException(CFileException::badSeek);
  m_nPosition = static_cast<size_t>(base + lOff);
  return m_nPosition;
}

UINT CMemFile::Read(void* lpBuf, UINT nCount) {
  if (nCount == 0 || m_nPosition >= m_nFileSize) return 0;
  if (lpBuf == nullptr) AfxThrowInvalidArgException();
  const size_t nRead = std::min<size_t>(nCount, m_nFileSize - m_nPosition);
  std::memcpy(lpBuf, m_lpBuffer + m_nPosition, nRead);
  m_nPosition += nRead;
  return static_cast<UINT>(nRead);
}

void CMemFile::Write(const void* lpBuf, UINT nCount) {
  if (nCount == 0) return;
  if (lpBuf == nullptr) AfxThrowInvalidArgException();
  const size_t nEnd = m_nPosition + nCount;
  if (nEnd > m_nBufferSize) GrowFile(nEnd);
  if (m_nPosition > m_nFileSize) std::memset(m_lpBuffer + m_nFileSize, 0, m_nPosition - m_nFileSize);
  std::memcpy(m_lpBuffer + m_nPosition, lpBuf, nCount);
  m_nPosition = nEnd;
  if (m_nPosition > m_nFileSize) m_nFileSize = m_nPosition;
}

void CMemFile::GrowFile(size_t nNewLen) {
  if (m_nGrowBytes == 0 || !m_bAutoDelete) AfxThrowFileException(CFileException::diskFull);
  size_t nNewBufferSize = m_nBufferSize;
  while (nNewBufferSize < nNewLen) nNewBufferSize += std::max<size_t>(m_nGrowBytes, nNewBufferSize / 2);
  BYTE* lpNew = static_cast<BYTE*>(std::realloc(m_lpBuffer, nNewBufferSize));
  if (lpNew == nullptr) AfxThrowMemoryException();
  m_lpBuffer = lpNew;
  m_nBufferSize = nNewBufferSize;
}
