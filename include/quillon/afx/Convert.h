// ATL's text conversion classes, for the code page this platform uses for 8-bit text (UTF-8).
// Ill-formed input converts to U+FFFD.
#pragma once

#include <string>

#include "afxdef.h"

#define CP_UTF8 65001

class AFX_CORE_API CW2A {
 public:
  explicit CW2A(LPCWSTR psz, UINT nCodePage = CP_UTF8);
  CW2A(LPCWSTR pch, size_t nLength, UINT nCodePage);
  operator LPCSTR() const { return m_str.c_str(); }
  const std::string& str() const { return m_str; }

 private:
  std::string m_str;
};

class AFX_CORE_API CA2W {
 public:
  explicit CA2W(LPCSTR psz, UINT nCodePage = CP_UTF8);
  CA2W(LPCSTR pch, size_t nLength, UINT nCodePage);
  operator LPCWSTR() const { return m_str.c_str(); }
  const std::basic_string<WCHAR>& str() const { return m_str; }

 private:
  std::basic_string<WCHAR> m_str;
};
