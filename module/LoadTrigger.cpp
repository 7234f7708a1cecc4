// What runs around the entry point when the library loads. The raw attach hook runs before the
// library's static objects are constructed (priority 101 comes before every default-priority
// constructor). On Windows the loader then calls DllMain itself; elsewhere the loader calls no
// entry point, so the shared object's initialisation and finalisation deliver the attach and
// detach notifications, and a failed attach is answered at once with the one detach pass that
// the Windows loader would make.
#include "module/EntryPoint.h"
#include "resources/StringTable.h"

namespace {

HINSTANCE ModuleHandle() { return AfxResourceHandle(g_moduleResources); }

[[gnu::constructor(101)]] void RawAttach() { RawDllMain(ModuleHandle(), DLL_PROCESS_ATTACH, nullptr); }

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
