// This platform's loader calls no entry point: the shared object's initialisation and
// finalisation deliver the attach and detach notifications instead. A failed attach is
// answered at once with the one detach pass that the Windows loader would make.
#include "module/EntryPoint.h"
#include "resources/StringTable.h"

namespace {

HINSTANCE ModuleHandle() { return AfxResourceHandle(g_moduleResources); }

// Priority 101 runs before every static object of the library is constructed.
[[gnu::constructor(101)]] void RawAttach() { RawDllMain(ModuleHandle(), DLL_PROCESS_ATTACH, nullptr); }

struct LoadTrigger {
  BOOL bAttached;
  LoadTrigger() : bAttached(DllMain(ModuleHandle(), DLL_PROCESS_ATTACH, nullptr)) {
    if (!bAttached) DllMain(ModuleHandle(), DLL_PROCESS_DETACH, nullptr);
  }
  ~LoadTrigger() {
    if (bAttached) DllMain(ModuleHandle(), DLL_PROCESS_DETACH, nullptr);
  }
} trigger;

}  // namespace
