// The library's entry point: start and stop of the parser platform and registration with the
// class library, once per load. What attach and detach do is written over the steps they take,
// which tests replace.
#pragma once

#include <cstddef>

#include "quillon/afx.h"

struct ModuleSteps {
  void (*StartParserPlatform)();
  BOOL (*InitExtensionModule)(AFX_EXTENSION_MODULE& state, HMODULE hModule);
  void* (*AllocateLibraryObject)(size_t nBytes);  // null when there is no memory
  void (*StopParserPlatform)();
  void (*TermExtensionModule)(AFX_EXTENSION_MODULE& state, BOOL bAll);
};

extern const ModuleSteps kLibrarySteps;  // the parser platform's and the class library's own
extern AFX_EXTENSION_MODULE ExtensionModule;

// Process attach: FALSE when the registration fails. Process detach.
BOOL AttachModule(const ModuleSteps& steps, HINSTANCE hInstance);
void DetachModule(const ModuleSteps& steps);

// Runs before the library's static objects are constructed, as the class library requires of
// an extension module; its start code finds it through _pRawDllMain.
extern "C" BOOL WINAPI RawDllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID lpReserved);
extern "C" BOOL(WINAPI* const _pRawDllMain)(HINSTANCE, DWORD, LPVOID);
// The loader's entry point on Windows; elsewhere the load trigger calls it.
extern "C" BOOL APIENTRY DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID lpReserved);
