#include "tests/Platform.h"

#if defined(_WIN32)
#include <windows.h>

void* OpenSharedLibrary(const char* path) { return LoadLibraryA(path); }
bool CloseSharedLibrary(void* handle) { return FreeLibrary(static_cast<HMODULE>(handle)) != 0; }
#else
#include <dlfcn.h>

void* OpenSharedLibrary(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
bool CloseSharedLibrary(void* handle) { return dlclose(handle) == 0; }
#endif
