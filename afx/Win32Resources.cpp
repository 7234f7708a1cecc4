// String resources from a Windows module. Kept apart: the platform's headers declare the
// Windows types differently from the class library's own.
#include <windows.h>

struct HINSTANCE__;

// The text (not terminated) and length of string resource nID, or 0 when there is none.
int AfxWin32LoadString(HINSTANCE hInstance, UINT nID, const WCHAR** ppText) {
  const WCHAR* pText = nullptr;
  const int nLength = LoadStringW(hInstance, nID, reinterpret_cast<LPWSTR>(&pText), 0);
  *ppText = pText;
  return nLength;
}
