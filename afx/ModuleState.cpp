#include "quillon/afx/ExtensionModule.h"

#include <cstddef>

#include "quillon/afx/String.h"

#if defined(_WIN32)
int AfxWin32LoadString(HINSTANCE hInstance, UINT nID, const WCHAR** ppText);
#endif

AFX_MODULE_STATE* AfxGetModuleState() {
  static AFX_MODULE_STATE state;
  return &state;
}

BOOL AfxLoadStringResource(HINSTANCE hInstance, UINT nID, CString& str) {
  if (hInstance == nullptr) return FALSE;
#if defined(_WIN32)
  const WCHAR* pText = nullptr;
  const int nLength = AfxWin32LoadString(hInstance, nID, &pText);
  if (nLength <= 0) return FALSE;
  str = CString(pText, nLength);
  return TRUE;
#else
  const auto* pDirectory = reinterpret_cast<const AFX_RESOURCE_DIRECTORY*>(hInstance);
  for (UINT i = 0; i < pDirectory->nStrings; i++)
    if (pDirectory->pStrings[i].nID == nID) {
      str = pDirectory->pStrings[i].lpszText;
      return TRUE;
    }
  return FALSE;
#endif
}

// The chains link their elements through these members, as MFC's do (offsetof on classes with
// virtual functions, which the compiler supports).
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
AFX_MODULE_STATE::AFX_MODULE_STATE()
    : m_classList(offsetof(CRuntimeClass, m_pNextClass)),
      m_factoryList(offsetof(COleObjectFactory, m_pNextFactory)),
      m_libraryList(offsetof(CDynLinkLibrary, m_pNextDLL)) {}

// The classes and factories that the module's static construction registered since the raw
// attach hook set the host's chains aside now belong to the module; the host gets its own back.
BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE hModule) {
  if (state.bInitialized) return TRUE;
  state.bInitialized = TRUE;
  state.hModule = hModule;
  state.hResource = hModule;
  AFX_MODULE_STATE* pModuleState = AfxGetModuleState();
  state.pFirstSharedClass = pModuleState->m_classList;
  pModuleState->m_classList.m_pHead = pModuleState->m_pClassInit;
  state.pFirstSharedFactory = pModuleState->m_factoryList;
  pModuleState->m_factoryList.m_pHead = pModuleState->m_pFactoryInit;
  return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL bAll) {
  AFX_MODULE_STATE* pModuleState = AfxGetModuleState();
  for (CDynLinkLibrary* pDLL = pModuleState->m_libraryList; pDLL;) {
    CDynLinkLibrary* pNext = pModuleState->m_libraryList.GetNext(pDLL);
    if (bAll || pDLL->m_hModule == state.hModule) delete pDLL;
    pDLL = pNext;
  }
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& state, BOOL bSystem)
    : m_hModule(state.hModule),
      m_hResource(state.hResource),
      m_classList(offsetof(CRuntimeClass, m_pNextClass)),
      m_factoryList(offsetof(COleObjectFactory, m_pNextFactory)),
      m_bSystem(bSystem) {
  m_classList.m_pHead = state.pFirstSharedClass;
  m_factoryList.m_pHead = state.pFirstSharedFactory;
  AfxGetModuleState()->m_libraryList.AddHead(this);
}

CDynLinkLibrary::~CDynLinkLibrary() { AfxGetModuleState()->m_libraryList.Remove(this); }
