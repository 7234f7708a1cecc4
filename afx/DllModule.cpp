// The start code that the C runtime and the class library put around an extension module's
// entry point, as a part of the class library linked into the module (a build against the real
// MFC has its own). The raw hook goes first, through _pRawDllMain, before the module's static
// objects are constructed (constructor priority 101 comes before every default priority). Where
// the loader calls no entry point (everywhere but Windows), the module's load and unload deliver
// DllMain's attach and detach, and a failed attach is answered at once with the one detach pass
// that the Windows loader would make.
#include "quillon/afx.h"

extern "C" BOOL(WINAPI* const _pRawDllMain)(HINSTANCE, DWORD, LPVOID);
extern "C" BOOL APIENTRY DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID lpReserved);

#if defined(_WIN32)
extern "C" char __ImageBase;  // the module's image, as the linker names it
#endif

namespace {

// On Windows the module's image; elsewhere its string table, which the class library reads
// through the handle.
HINSTANCE ModuleHandle() {
#if defined(_WIN32)
  return reinterpret_cast<HINSTANCE>(&__ImageBase);
#else
  return AfxResourceHandle(afxModuleResources);
#endif
}

[[gnu::constructor(101)]] void RawAttach() { _pRawDllMain(ModuleHandle(), DLL_PROCESS_ATTACH, nullptr); }

#if !defined(_WIN32)
struct LoadTrigger {
  BOOL bAttached;
  LoadTrigger() : bAttached(DllMain(ModuleHandle(), DLL_PROCESS_ATTACH, nullptr)) {
    if (!bAttached) DllMain(ModuleHandle(), DLL_PROCESS_DETACH, nullptr);
  }
  ~LoadTrigger() {
    if (bAttached) DllMain(ModuleHandle(), DLL_PROCESS_DETACH, nullptr);
  }
} trigger;
#endif

}  // namespace
