#include "module/EntryPoint.h"

#include <new>
#include <type_traits>

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>

using namespace xercesc;

// The library hands CString text to the parser as it is: wchar_t on Windows, char16_t elsewhere.
static_assert(std::is_same_v<TCHAR, XMLCh>, "TCHAR and the parser's XMLCh are one type");

namespace {

void StartParserPlatform() {
  XMLPlatformUtils::Initialize(XMLUni::fgXercescDefaultLocale, nullptr, nullptr, nullptr);
}

void* AllocateLibraryObject(size_t nBytes) { return ::operator new(nBytes, std::nothrow); }

void StopParserPlatform() { XMLPlatformUtils::Terminate(); }

}  // namespace

const ModuleSteps kLibrarySteps = {StartParserPlatform, AfxInitExtensionModule, AllocateLibraryObject,
                                  StopParserPlatform, AfxTermExtensionModule};

AFX_EXTENSION_MODULE ExtensionModule = {};

extern "C" BOOL WINAPI RawDllMain(HINSTANCE, DWORD dwReason, LPVOID) {
  if (dwReason == DLL_PROCESS_ATTACH) {
    AFX_MODULE_STATE* pModuleState = AfxGetModuleState();
    pModuleState->m_pClassInit = pModuleState->m_classList;
    pModuleState->m_pFactoryInit = pModuleState->m_factoryList;
    pModuleState->m_classList.m_pHead = nullptr;
    pModuleState->m_factoryList.m_pHead = nullptr;
  }
  return TRUE;
}

extern "C" BOOL(WINAPI* const _pRawDllMain)(HINSTANCE, DWORD, LPVOID) = &RawDllMain;

BOOL AttachModule(const ModuleSteps& steps, HINSTANCE hInstance) {
  try {
    steps.StartParserPlatform();
  } catch (const XMLException&) {
    // A platform that cannot start shows up in the first parse; loading goes on.
  }
  if (!steps.InitExtensionModule(ExtensionModule, hInstance)) return FALSE;
  // The registration object belongs to the class library from here on.
  if (void* p = steps.AllocateLibraryObject(sizeof(CDynLinkLibrary))) new (p) CDynLinkLibrary(ExtensionModule, FALSE);
  return TRUE;
}

void DetachModule(const ModuleSteps& steps) {
  steps.StopParserPlatform();
  steps.TermExtensionModule(ExtensionModule, FALSE);
}

extern "C" BOOL APIENTRY DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID) {
  if (dwReason == DLL_PROCESS_ATTACH) return AttachModule(kLibrarySteps, hInstance);
  if (dwReason == DLL_PROCESS_DETACH) DetachModule(kLibrarySteps);
  return TRUE;
}
