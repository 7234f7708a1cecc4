// The module's entry point: attach and detach steps, their order and their failure paths, and a
// real load and unload of the shared library.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLExceptMsgs.hpp>
#include <xercesc/util/XMLException.hpp>

#include "module/EntryPoint.h"
#include "tests/Platform.h"

using namespace xercesc;

namespace {


std::vector<std::string> calls;
bool startThrows, initFails, allocFails;

const ModuleSteps recordingSteps = {
    [] {
      calls.push_back("start");
      if (startThrows) ThrowXML(XMLPlatformUtilsException, XMLExcepts::CPtr_PointerIsZero);
    },
    [](AFX_EXTENSION_MODULE& state, HMODULE h) -> BOOL {
      calls.push_back("init");
      return initFails ? FALSE : AfxInitExtensionModule(state, h);
    },
    [](size_t n) -> void* {
      calls.push_back("alloc");
      return allocFails ? nullptr : ::operator new(n);
    },
    [] { calls.push_back("stop"); },
    [](AFX_EXTENSION_MODULE& state, BOOL bAll) {
      calls.push_back("term");
      AfxTermExtensionModule(state, bAll);
    }};

HINSTANCE const kInstance = reinterpret_cast<HINSTANCE>(0x1000);

class EntryPointTest : public ::testing::Test {
 protected:
  void SetUp() override {
    saved = g_moduleSteps;
    g_moduleSteps = recordingSteps;
    ExtensionModule = {};
    calls.clear();
    startThrows = initFails = allocFails = false;
  }
  void TearDown() override { g_moduleSteps = saved; }
  static bool Registered() {
    for (CDynLinkLibrary* p = AfxGetModuleState()->m_libraryList; p; p = AfxGetModuleState()->m_libraryList.GetNext(p))
      if (p->m_hModule == kInstance) return true;
    return false;
  }
  ModuleSteps saved;
};

using Calls = std::vector<std::string>;

TEST_F(EntryPointTest, LoadThenUnloadStartsRegistersThenStopsAndUnregisters) {
  EXPECT_TRUE(DllMain(kInstance, DLL_PROCESS_ATTACH, nullptr));
  EXPECT_TRUE(Registered());
  EXPECT_TRUE(DllMain(kInstance, DLL_PROCESS_DETACH, nullptr));
  EXPECT_FALSE(Registered());
  EXPECT_EQ(calls, (Calls{"start", "init", "alloc", "stop", "term"}));
}

TEST_F(EntryPointTest, PlatformStartThatThrowsStillLoads) {
  XMLPlatformUtils::Initialize();  // the exception itself needs the platform to be made
  startThrows = true;
  EXPECT_TRUE(DllMain(kInstance, DLL_PROCESS_ATTACH, nullptr));
  EXPECT_TRUE(Registered());
  DllMain(kInstance, DLL_PROCESS_DETACH, nullptr);
  XMLPlatformUtils::Terminate();
}

TEST_F(EntryPointTest, FailedRegistrationFailsTheLoadAndTheDetachPassStillWorks) {
  initFails = true;
  EXPECT_FALSE(DllMain(kInstance, DLL_PROCESS_ATTACH, nullptr));
  EXPECT_TRUE(DllMain(kInstance, DLL_PROCESS_DETACH, nullptr));  // what the loader then sends
  EXPECT_EQ(calls, (Calls{"start", "init", "stop", "term"}));
}

TEST_F(EntryPointTest, NoMemoryForTheLibraryObjectStillLoads) {
  allocFails = true;
  EXPECT_TRUE(DllMain(kInstance, DLL_PROCESS_ATTACH, nullptr));
  EXPECT_FALSE(Registered());
  DllMain(kInstance, DLL_PROCESS_DETACH, nullptr);
}

TEST_F(EntryPointTest, ThreadNotificationsDoNothing) {
  EXPECT_TRUE(DllMain(kInstance, DLL_THREAD_ATTACH, nullptr));
  EXPECT_TRUE(DllMain(kInstance, DLL_THREAD_DETACH, nullptr));
  EXPECT_TRUE(calls.empty());
}

TEST_F(EntryPointTest, RawHookSetsClassChainAsideForTheModule) {
  static CRuntimeClass hostClass = {"CHost", 0, nullptr, nullptr};
  static CRuntimeClass moduleClass = {"CModule", 0, nullptr, nullptr};
  AFX_MODULE_STATE* state = AfxGetModuleState();
  state->m_classList.m_pHead = &hostClass;
  RawDllMain(kInstance, DLL_PROCESS_ATTACH, nullptr);
  EXPECT_EQ(state->m_classList.GetHead(), nullptr);
  state->m_classList.m_pHead = &moduleClass;  // what static construction registers
  DllMain(kInstance, DLL_PROCESS_ATTACH, nullptr);
  EXPECT_EQ(state->m_classList.GetHead(), &hostClass);
  EXPECT_EQ(ExtensionModule.pFirstSharedClass, &moduleClass);
  DllMain(kInstance, DLL_PROCESS_DETACH, nullptr);
  state->m_classList.m_pHead = nullptr;
}

TEST(SharedLibraryTest, LoadingStartsTheParserPlatformAndUnloadingStopsIt) {
  ASSERT_EQ(XMLPlatformUtils::fgMemoryManager, nullptr);
  void* handle = OpenSharedLibrary(QUILLON_LIBRARY);
  ASSERT_NE(handle, nullptr);
  EXPECT_NE(XMLPlatformUtils::fgMemoryManager, nullptr);
  CString merge;
  EXPECT_TRUE(merge.LoadString(1));  // the module's string table is reachable
  EXPECT_EQ(merge, _T("%s\n\n%s"));
  EXPECT_TRUE(CloseSharedLibrary(handle));
  EXPECT_EQ(XMLPlatformUtils::fgMemoryManager, nullptr);
  EXPECT_FALSE(merge.LoadString(1));
}

}  // namespace
