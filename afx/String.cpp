#include "quillon/afx/String.h"

#include "quillon/afx/Convert.h"
#include "quillon/afx/Exceptions.h"

namespace {

size_t Length(LPCTSTR psz) { return psz ? std::char_traits<TCHAR>::length(psz) : 0; }

}  // namespace

CString::CString(LPCTSTR psz) : m_str(psz ? psz : _T("")) {}

CString::CString(LPCTSTR pch, int nLength) {
  if (nLength < 0 || (pch == nullptr && nLength > 0)) AfxThrowInvalidArgException();
  if (nLength) m_str.assign(pch, static_cast<size_t>(nLength));
}

CString::CString(LPCSTR psz) {
  const CA2W wide(psz);
  m_str.assign(wide.str().data(), wide.str().size());
}

CString::CString(TCHAR ch, int nRepeat) : m_str(nRepeat > 0 ? static_cast<size_t>(nRepeat) : 0, ch) {}

CString& CString::operator=(LPCTSTR psz) {
  m_str.assign(psz ? psz : _T(""));
  return *this;
}

CString& CString::operator=(LPCSTR psz) {
  const CA2W wide(psz);
  m_str.assign(wide.str().data(), wide.str().size());
  return *this;
}

CString& CString::operator=(TCHAR ch) {
  m_str.assign(1, ch);
  return *this;
}

CString& CString::operator+=(const CString& str) {
  m_str += str.m_str;
  return *this;
}

CString& CString::operator+=(LPCTSTR psz) {
  if (psz) m_str += psz;
  return *this;
}

CString& CString::operator+=(LPCSTR psz) {
  const CA2W wide(psz);
  m_str.append(wide.str().data(), wide.str().size());
  return *this;
}

CString& CString::operator+=(TCHAR ch) {
  m_str += ch;
  return *this;
}

void CString::Append(LPCTSTR pch, int nLength) {
  if (nLength < 0 || (pch == nullptr && nLength > 0)) AfxThrowInvalidArgException();
  if (nLength) m_str.append(pch, static_cast<size_t>(nLength));
}

void CString::SetString(LPCTSTR pch, int nLength) {
  if (nLength < 0 || (pch == nullptr && nLength > 0)) AfxThrowInvalidArgException();
  m_str.assign(pch ? pch : _T(""), static_cast<size_t>(nLength));
}

TCHAR CString::GetAt(int i) const {
  if (i < 0 || i >= GetLength()) AfxThrowInvalidArgException();
  return m_str[static_cast<size_t>(i)];
}

LPTSTR CString::GetBuffer() { return m_str.data(); }

LPTSTR CString::GetBuffer(int nMinBufLength) {
  if (nMinBufLength < 0) AfxThrowInvalidArgException();
  if (static_cast<size_t>(nMinBufLength) > m_str.size()) m_str.resize(static_cast<size_t>(nMinBufLength));
  return m_str.data();
}

void CString::ReleaseBuffer(int nNewLength) {
  if (nNewLength < 0) nNewLength = static_cast<int>(Length(m_str.c_str()));
  if (nNewLength > GetLength()) AfxThrowInvalidArgException();
  m_str.resize(static_cast<size_t>(nNewLength));
}

int CString::Compare(LPCTSTR psz) const {
  const int n = m_str.compare(psz ? psz : _T(""));
  return n < 0 ? -1 : n > 0 ? 1 : 0;
}

int CString::CompareNoCase(LPCTSTR psz) const { return _tcsicmp(m_str.c_str(), psz ? psz : _T("")); }

int CString::Find(LPCTSTR pszSub, int iStart) const {
  if (iStart < 0 || iStart > GetLength()) return -1;
  const size_t i = m_str.find(pszSub ? pszSub : _T(""), static_cast<size_t>(iStart));
  return i == CAfxString::npos ? -1 : static_cast<int>(i);
}

int CString::Find(TCHAR ch, int iStart) const {
  if (iStart < 0 || iStart >= GetLength()) return -1;
  const size_t i = m_str.find(ch, static_cast<size_t>(iStart));
  return i == CAfxString::npos ? -1 : static_cast<int>(i);
}
