// Windows types and export macros used in the class library's and the module's signatures.
#pragma once

#include <cstddef>
#include <cstdint>

// Text is UTF-16 throughout, in the code unit of the parser's XMLCh: wchar_t on Windows, as in a
// Unicode build of MFC (the Windows parser is built with wchar_t as its XMLCh), char16_t elsewhere.
#if defined(_WIN32)
typedef wchar_t TCHAR;
typedef wchar_t WCHAR;
#define _T(x) L##x
#else
typedef char16_t TCHAR;
typedef char16_t WCHAR;
#define _T(x) u##x
#endif
typedef TCHAR* LPTSTR;
typedef const TCHAR* LPCTSTR;
typedef const WCHAR* LPCWSTR;
typedef char* LPSTR;
typedef const char* LPCSTR;

typedef int BOOL;
#define TRUE 1
#define FALSE 0
typedef unsigned char BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef unsigned int UINT;
typedef UINT* PUINT;
typedef int32_t LONG;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef uintptr_t DWORD_PTR;
typedef void* LPVOID;

// Opaque handles, as the platform declares them.
struct HWND__;
typedef HWND__* HWND;
struct HINSTANCE__;
typedef HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
struct __POSITION {};
typedef __POSITION* POSITION;
#define BEFORE_START_POSITION ((POSITION)-1L)

#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3

#if defined(_WIN32)
#  define WINAPI __stdcall
#else
#  define WINAPI
#endif
#define APIENTRY WINAPI
#define AFXAPI

// AFX_CORE_API exports the class library itself; AFX_EXT_CLASS and AFX_EXT_API export what an
// extension module (this library) offers its host.
#if defined(_WIN32)
#  define AFX_DLL_EXPORT __declspec(dllexport)
#  define AFX_DLL_IMPORT __declspec(dllimport)
#else
#  define AFX_DLL_EXPORT __attribute__((visibility("default")))
#  define AFX_DLL_IMPORT __attribute__((visibility("default")))
#endif
#if defined(_AFXDLL_BUILD)
#  define AFX_CORE_API AFX_DLL_EXPORT
#else
#  define AFX_CORE_API AFX_DLL_IMPORT
#endif
#if defined(_AFXEXT)
#  define AFX_EXT_CLASS AFX_DLL_EXPORT
#else
#  define AFX_EXT_CLASS AFX_DLL_IMPORT
#endif
#define AFX_EXT_API AFX_EXT_CLASS
