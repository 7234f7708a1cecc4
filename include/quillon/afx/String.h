// CString: a UTF-16 string with value semantics, as the host's class library offers it.
#pragma once

#include <string>

#include "Object.h"

// The C runtime's comparison ignoring case, as it compares in the C locale: ASCII letters only (é
// and É differ). CString::CompareNoCase is made of it, as the class library's is.
#if defined(_WIN32)
#include <wchar.h>
#define _tcsicmp _wcsicmp
#else
inline int _tcsicmp(LPCTSTR a, LPCTSTR b) {
  for (;; a++, b++) {
    const TCHAR ca = *a >= 'A' && *a <= 'Z' ? static_cast<TCHAR>(*a + 32) : *a;
    const TCHAR cb = *b >= 'A' && *b <= 'Z' ? static_cast<TCHAR>(*b + 32) : *b;
    if (ca != cb) return ca < cb ? -1 : 1;
    if (ca == 0) return 0;
  }
}
#endif

// Storage of the class library's strings: like all its storage, it raises the memory exception.
template <class T>
struct CAfxAllocator {
  using value_type = T;
  CAfxAllocator() = default;
  template <class U>
  CAfxAllocator(const CAfxAllocator<U>&) {}
  T* allocate(size_t n) { return static_cast<T*>(AfxAllocate(n * sizeof(T))); }
  void deallocate(T* p, size_t) { ::operator delete(p); }
};
template <class T, class U>
bool operator==(const CAfxAllocator<T>&, const CAfxAllocator<U>&) { return true; }
template <class T, class U>
bool operator!=(const CAfxAllocator<T>&, const CAfxAllocator<U>&) { return false; }
typedef std::basic_string<TCHAR, std::char_traits<TCHAR>, CAfxAllocator<TCHAR>> CAfxString;

class AFX_CORE_API CString {
 public:
  CString() = default;
  CString(const CString&) = default;
  CString(CString&&) noexcept = default;
  CString(LPCTSTR psz);  // null is the empty string
  CString(LPCTSTR pch, int nLength);
  CString(LPCSTR psz);   // 8-bit text is UTF-8 on this platform
  CString(TCHAR ch, int nRepeat = 1);

  CString& operator=(const CString&) = default;
  CString& operator=(CString&&) noexcept = default;
  CString& operator=(LPCTSTR psz);
  CString& operator=(LPCSTR psz);
  CString& operator=(TCHAR ch);

  CString& operator+=(const CString& str);
  CString& operator+=(LPCTSTR psz);
  CString& operator+=(LPCSTR psz);
  CString& operator+=(TCHAR ch);
  void Append(LPCTSTR pch, int nLength);
  // Replaces the text with nLength code units at pch, keeping the storage where it suffices.
  void SetString(LPCTSTR pch, int nLength);

  int GetLength() const { return static_cast<int>(m_str.size()); }
  BOOL IsEmpty() const { return m_str.empty(); }
  void Empty() { m_str.clear(); }
  TCHAR GetAt(int i) const;
  TCHAR operator[](int i) const { return GetAt(i); }

  LPCTSTR GetString() const { return m_str.c_str(); }
  operator LPCTSTR() const { return m_str.c_str(); }
  // Writable text with a terminating zero; after writing, ReleaseBuffer sets the length.
  LPTSTR GetBuffer();
  LPTSTR GetBuffer(int nMinBufLength);
  void ReleaseBuffer(int nNewLength = -1);

  // Ordinal comparison of code units: negative, zero or positive.
  int Compare(LPCTSTR psz) const;
  // Equality ignoring the case of ASCII letters only (é and É differ).
  int CompareNoCase(LPCTSTR psz) const;
  int Find(LPCTSTR pszSub, int iStart = 0) const;
  int Find(TCHAR ch, int iStart = 0) const;

  // printf-style: %s takes UTF-16 text, %S 8-bit text, %c a code unit, %d %i %u %x %X integers.
  void Format(LPCTSTR pszFormat, ...);
  // The same with a format string loaded from the string resources.
  void Format(UINT nFormatID, ...);
  BOOL LoadString(UINT nID);

  friend bool operator==(const CString& a, const CString& b) { return a.m_str == b.m_str; }
  friend bool operator==(const CString& a, LPCTSTR b) { return a.Compare(b) == 0; }
  friend bool operator<(const CString& a, const CString& b) { return a.m_str < b.m_str; }
  friend CString operator+(const CString& a, const CString& b) {
    CString result(a);
    result += b;
    return result;
  }

 private:
  CAfxString m_str;
  friend struct CStringFormatter;
};

