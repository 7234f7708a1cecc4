// CString::Format and string resources.
#include <cstdarg>
#include <cstdio>
#include <string>

#include "quillon/afx/Convert.h"
#include "quillon/afx/Exceptions.h"
#include "quillon/afx/ExtensionModule.h"
#include "quillon/afx/String.h"

struct CStringFormatter {
  static void Run(CAfxString& out, LPCTSTR pszFormat, va_list& args);
};

namespace {

struct Conversion {
  bool bLeft = false;
  std::string flags;
  int nWidth = -1;
  int nPrecision = -1;
  int nLongs = 0;  // count of l modifiers; I64 counts as two
  bool bShort = false;
};

void Pad(CAfxString& out, std::basic_string_view<TCHAR> text, const Conversion& conversion) {
  const size_t nPad = conversion.nWidth > 0 && static_cast<size_t>(conversion.nWidth) > text.size()
                          ? static_cast<size_t>(conversion.nWidth) - text.size() : 0;
  if (!conversion.bLeft) out.append(nPad, _T(' '));
  out += text;
  if (conversion.bLeft) out.append(nPad, _T(' '));
}

void AppendNumber(CAfxString& out, const Conversion& conversion, char conv, va_list& args) {
  std::string fmt(1, '%');
  fmt += conversion.flags;
  if (conversion.nWidth >= 0) fmt += std::to_string(conversion.nWidth);
  if (conversion.nPrecision >= 0) (fmt += '.') += std::to_string(conversion.nPrecision);
  fmt += "ll";
  fmt += conv;
  const bool bSigned = conv == 'd' || conv == 'i';
  long long n;
  if (conversion.nLongs >= 2) n = va_arg(args, long long);
  else if (conversion.nLongs == 1) n = bSigned ? va_arg(args, long) : static_cast<long long>(va_arg(args, unsigned long));
  else n = bSigned ? va_arg(args, int) : static_cast<long long>(va_arg(args, unsigned int));
  if (conversion.bShort) n = bSigned ? static_cast<short>(n) : static_cast<unsigned short>(n);
  char buf[80];
  const int nLen = std::snprintf(buf, sizeof buf, fmt.c_str(), n);
  for (int i = 0; i < nLen && i < static_cast<int>(sizeof buf) - 1; i++) out += static_cast<TCHAR>(buf[i]);
}

}  // namespace

void CStringFormatter::Run(CAfxString& out, LPCTSTR f, va_list& args) {
  if (f == nullptr) AfxThrowInvalidArgException();
  out.clear();
  while (*f) {
    if (*f != _T('%')) {
      out += *f++;
      continue;
    }
    f++;
    if (*f == _T('%')) {
      out += *f++;
      continue;
    }
    Conversion conversion;
    for (; *f == _T('-') || *f == _T('+') || *f == _T(' ') || *f == _T('#') || *f == _T('0'); f++) {
      if (*f == _T('-')) conversion.bLeft = true;
      conversion.flags += static_cast<char>(*f);
    }
    if (*f == _T('*')) {
      conversion.nWidth = va_arg(args, int);
      f++;
    } else {
      for (; *f >= _T('0') && *f <= _T('9'); f++) conversion.nWidth = (conversion.nWidth < 0 ? 0 : conversion.nWidth * 10) + (*f - _T('0'));
    }
    if (*f == _T('.')) {
      conversion.nPrecision = 0;
      for (f++; *f >= _T('0') && *f <= _T('9'); f++) conversion.nPrecision = conversion.nPrecision * 10 + (*f - _T('0'));
    }
    for (;; f++) {
      if (*f == _T('l')) conversion.nLongs++;
      else if (*f == _T('h')) conversion.bShort = true;
      else if (f[0] == _T('I') && f[1] == _T('6') && f[2] == _T('4')) { conversion.nLongs = 2; f += 2; }
      else break;
    }
    const TCHAR conv = *f;
    if (conv == 0) AfxThrowInvalidArgException();
    f++;
    switch (conv) {
      case _T('s'): {
        LPCTSTR psz = va_arg(args, LPCTSTR);
        std::basic_string_view<TCHAR> text = psz ? psz : _T("(null)");
        if (conversion.nPrecision >= 0) text = text.substr(0, static_cast<size_t>(conversion.nPrecision));
        Pad(out, text, conversion);
        break;
      }
      case _T('S'): {
        LPCSTR psz = va_arg(args, LPCSTR);
        Pad(out, std::basic_string_view<TCHAR>(CA2W(psz ? psz : "(null)").str()), conversion);
        break;
      }
      case _T('c'): {
        const TCHAR ch = static_cast<TCHAR>(va_arg(args, int));
        Pad(out, std::basic_string_view<TCHAR>(&ch, 1), conversion);
        break;
      }
      case _T('d'): case _T('i'): case _T('u'): case _T('x'): case _T('X'): case _T('o'):
        AppendNumber(out, conversion, static_cast<char>(conv), args);
        break;
      default:
        AfxThrowInvalidArgException();
    }
  }
}

void CString::Format(LPCTSTR pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  try {
    CStringFormatter::Run(m_str, pszFormat, args);
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
}

void CString::Format(UINT nFormatID, ...) {
  CString strFormat;
  if (!strFormat.LoadString(nFormatID)) AfxThrowInvalidArgException();
  va_list args;
  va_start(args, nFormatID);
  try {
    CStringFormatter::Run(m_str, strFormat.GetString(), args);
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
}

// Looks in the host's own resources first, then along the chain of extension libraries.
BOOL CString::LoadString(UINT nID) {
  AFX_MODULE_STATE* pState = AfxGetModuleState();
  if (AfxLoadStringResource(pState->m_hCurrentResourceHandle, nID, *this)) return TRUE;
  for (CDynLinkLibrary* pDLL = pState->m_libraryList; pDLL; pDLL = pState->m_libraryList.GetNext(pDLL))
    if (AfxLoadStringResource(pDLL->m_hResource, nID, *this)) return TRUE;
  return FALSE;
}
