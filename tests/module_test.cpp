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
    ExtensionModule = {};
    calls.clear();
    startThrows = initFails = allocFails = false;
  }
  static bool Registered() {
    for (CDynLinkLibrary* p = AfxGetModuleState()->m_libraryList; p; p = AfxGetModuleState()->m_libraryList.GetNext(p))
      if (p->m_hModule == kInstance) return true;
    return false;
  }
};

using Calls = std::vector<std::string>;

// Attach, whether it succeeds and registers the module, then detach; the steps called in all.
TEST_F(EntryPointTest, AttachAndDetachInEachCase) {
  const struct { const char* what; bool* pFailure; bool bAttached, bRegistered; Calls calls; } cases[] = {
      {"load and unload", nullptr, true, true, {"start", "init", "alloc", "stop", "term"}},
      {"a platform start that throws still loads", &startThrows, true, true, {"start", "init", "alloc", "stop", "term"}},
      {"a failed registration fails the load", &initFails, false, false, {"start", "init", "stop", "term"}},
      {"no memory for the library object still loads", &allocFails, true, false, {"start", "init", "alloc", "stop", "term"}},
  };
  XMLPlatformUtils::Initialize();  // a thrown platform exception needs the platform made
  for (const auto& c : cases) {
    calls.clear();
    startThrows = initFails = allocFails = false;
    if (c.pFailure) *c.pFailure = true;
    EXPECT_EQ(AttachModule(recordingSteps, kInstance), c.bAttached) << c.what;
    EXPECT_EQ(Registered(), c.bRegistered) << c.what;
    DetachModule(recordingSteps);  // the loader sends it after a failure too
    EXPECT_FALSE(Registered()) << c.what;
    EXPECT_EQ(calls, c.calls) << c.what;
    ExtensionModule = {};
  }
  XMLPlatformUtils::Terminate();
}

TEST_F(EntryPointTest, RawHookSetsClassChainAsideForTheModule) {
  static CRuntimeClass hostClass = {"CHost", 0, nullptr, nullptr};
  static CRuntimeClass moduleClass = {"CModule", 0, nullptr, nullptr};
  AFX_MODULE_STATE* state = AfxGetModuleState();
  state->m_classList.m_pHead = &hostClass;
  RawDllMain(kInstance, DLL_PROCESS_ATTACH, nullptr);
  EXPECT_EQ(state->m_classList.GetHead(), nullptr);
  state->m_classList.m_pHead = &moduleClass;  // what static construction registers
  AttachModule(recordingSteps, kInstance);
  EXPECT_EQ(state->m_classList.GetHead(), &hostClass);
  EXPECT_EQ(ExtensionModule.pFirstSharedClass, &moduleClass);
  DetachModule(recordingSteps);
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
