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

void Pad(CAfxString& out, std::u16string_view text, const Conversion& conversion) {
  const size_t nPad = conversion.nWidth > 0 && static_cast<size_t>(conversion.nWidth) > text.size()
                          ? static_cast<size_t>(conversion.nWidth) - text.size() : 0;
  if (!conversion.bLeft) out.append(nPad, u' ');
  out += text;
  if (conversion.bLeft) out.append(nPad, u' ');
}

void AppendNumber(CAfxString& out, const Conversion& conversion, char conv, va_list& args) {
  std::string fmt = "%" + conversion.flags;
  if (conversion.nWidth >= 0) fmt += std::to_string(conversion.nWidth);
  if (conversion.nPrecision >= 0) fmt += "." + std::to_string(conversion.nPrecision);
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
  for (int i = 0; i < nLen && i < static_cast<int>(sizeof buf) - 1; i++) out += static_cast<char16_t>(buf[i]);
}

}  // namespace

void CStringFormatter::Run(CAfxString& out, LPCTSTR f, va_list& args) {
  if (f == nullptr) AfxThrowInvalidArgException();
  out.clear();
  while (*f) {
    if (*f != u'%') {
      out += *f++;
      continue;
    }
    f++;
    if (*f == u'%') {
      out += *f++;
      continue;
    }
    Conversion conversion;
    for (; *f == u'-' || *f == u'+' || *f == u' ' || *f == u'#' || *f == u'0'; f++) {
      if (*f == u'-') conversion.bLeft = true;
      conversion.flags += static_cast<char>(*f);
    }
    if (*f == u'*') {
      conversion.nWidth = va_arg(args, int);
      f++;
    } else {
      for (; *f >= u'0' && *f <= u'9'; f++) conversion.nWidth = (conversion.nWidth < 0 ? 0 : conversion.nWidth * 10) + (*f - u'0');
    }
    if (*f == u'.') {
      conversion.nPrecision = 0;
      for (f++; *f >= u'0' && *f <= u'9'; f++) conversion.nPrecision = conversion.nPrecision * 10 + (*f - u'0');
    }
    for (;; f++) {
      if (*f == u'l') conversion.nLongs++;
      else if (*f == u'h') conversion.bShort = true;
      else if (f[0] == u'I' && f[1] == u'6' && f[2] == u'4') { conversion.nLongs = 2; f += 2; }
      else break;
    }
    const char16_t conv = *f;
    if (conv == 0) AfxThrowInvalidArgException();
    f++;
    switch (conv) {
      case u's': {
        LPCTSTR psz = va_arg(args, LPCTSTR);
        std::u16string_view text = psz ? psz : u"(null)";
        if (conversion.nPrecision >= 0) text = text.substr(0, static_cast<size_t>(conversion.nPrecision));
        Pad(out, text, conversion);
        break;
      }
      case u'S': {
        LPCSTR psz = va_arg(args, LPCSTR);
        Pad(out, std::u16string_view(CA2W(psz ? psz : "(null)").str()), conversion);
        break;
      }
      case u'c': {
        const char16_t ch = static_cast<char16_t>(va_arg(args, int));
        Pad(out, std::u16string_view(&ch, 1), conversion);
        break;
      }
      case u'd': case u'i': case u'u': case u'x': case u'X': case u'o':
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
  for (CDynLinkLibrary* pDLL = pState->m_libraryList; pDLL; pDLL = pDLL->m_pNextDLL)
    if (AfxLoadStringResource(pDLL->m_hResource, nID, *this)) return TRUE;
  return FALSE;
}
