// Extension modules: how a library that extends the class library registers itself, so that
// its run-time classes and string resources are found through the host's module state.
#pragma once

#include "Object.h"
#include "SimpleList.h"

class COleObjectFactory;
class CDynLinkLibrary;

// String resources. On Windows they are the module's own resources. Elsewhere a module's
// instance handle points at its resource directory: the string table the module carries.
struct AFX_STRING_RESOURCE {
  UINT nID;
  LPCTSTR lpszText;
};
struct AFX_RESOURCE_DIRECTORY {
  const AFX_STRING_RESOURCE* pStrings;
  UINT nStrings;
};
inline HINSTANCE AfxResourceHandle(const AFX_RESOURCE_DIRECTORY& directory) {
  return reinterpret_cast<HINSTANCE>(const_cast<AFX_RESOURCE_DIRECTORY*>(&directory));
}
#if !defined(_WIN32)
// The resources of the module being built, which its string table defines under this name, as
// a resource compiler puts them into a Windows module's image: the class library's start code
// (afx/DllModule.cpp) hands them to the module as its instance handle.
extern const AFX_RESOURCE_DIRECTORY afxModuleResources;
#endif
class CString;
// Loads string resource nID of the module into str; FALSE when the module has none.
AFX_CORE_API BOOL AFXAPI AfxLoadStringResource(HINSTANCE hInstance, UINT nID, CString& str);

struct AFX_EXTENSION_MODULE {
  BOOL bInitialized;
  HMODULE hModule;
  HMODULE hResource;
  CRuntimeClass* pFirstSharedClass;
  COleObjectFactory* pFirstSharedFactory;
};

class AFX_CORE_API COleObjectFactory {
 public:
  COleObjectFactory* m_pNextFactory = nullptr;
};

// The module state of the host: its chains of run-time classes, class factories and
// registered extension libraries. The class and factory chains that static construction
// fills while an extension module loads are handed to that module by AfxInitExtensionModule.
struct AFX_CORE_API AFX_MODULE_STATE {
  AFX_MODULE_STATE();
  CTypedSimpleList<CRuntimeClass*> m_classList;
  CTypedSimpleList<COleObjectFactory*> m_factoryList;
  CTypedSimpleList<CDynLinkLibrary*> m_libraryList;
  CRuntimeClass* m_pClassInit = nullptr;
  COleObjectFactory* m_pFactoryInit = nullptr;
  HINSTANCE m_hCurrentResourceHandle = nullptr;
};
AFX_CORE_API AFX_MODULE_STATE* AFXAPI AfxGetModuleState();

class AFX_CORE_API CDynLinkLibrary : public CObject {
 public:
  CDynLinkLibrary(AFX_EXTENSION_MODULE& state, BOOL bSystem = FALSE);
  ~CDynLinkLibrary() override;

  HMODULE m_hModule;
  HMODULE m_hResource;
  CTypedSimpleList<CRuntimeClass*> m_classList;
  CTypedSimpleList<COleObjectFactory*> m_factoryList;
  BOOL m_bSystem;
  CDynLinkLibrary* m_pNextDLL = nullptr;
};

AFX_CORE_API BOOL AFXAPI AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE hModule);
// Unregisters the module's libraries (every extension's with bAll).
AFX_CORE_API void AFXAPI AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL bAll = FALSE);
