// Allocation failure in the class library's storage and in the parser's memory manager: the
// memory exception reaches the caller, objects stay consistent and nothing leaks (the sanitizer
// and memcheck runs check the last).
#include <gtest/gtest.h>

#include <fstream>
#include <new>

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "quillon/GenXMLInterface.h"
#include "quillon/TmxParseEngine.h"
#include "module/EntryPoint.h"
#include "resources/StringTable.h"

using namespace xercesc;

namespace {

long g_nAllocationsLeft = -1;  // the class library's allocations that succeed; -1 for all

bool FailThisAllocation() { return g_nAllocationsLeft >= 0 && g_nAllocationsLeft-- == 0; }

// The parser library's allocations, failing the same way it fails: with its exception.
class FailingMemoryManager : public MemoryManager {
 public:
  long nLeft = -1;
  MemoryManager* getExceptionMemoryManager() override { return this; }
  void* allocate(XMLSize_t size) override {
    if (nLeft >= 0 && nLeft-- == 0) throw OutOfMemoryException();
    return ::operator new(size);
  }
  void deallocate(void* p) override { ::operator delete(p); }
};

FailingMemoryManager g_parserMemory;

// The platform starts on the failing memory manager before the module attaches (its own start
// then finds the platform running), and stops after the module detaches.
class PlatformEnvironment : public ::testing::Environment {
  void SetUp() override {
    XMLPlatformUtils::Initialize(XMLUni::fgXercescDefaultLocale, nullptr, nullptr, &g_parserMemory);
    DllMain(AfxResourceHandle(g_moduleResources), DLL_PROCESS_ATTACH, nullptr);
  }
  void TearDown() override {
    DllMain(AfxResourceHandle(g_moduleResources), DLL_PROCESS_DETACH, nullptr);
    XMLPlatformUtils::Terminate();
  }
};
const auto* const environment = ::testing::AddGlobalTestEnvironment(new PlatformEnvironment);

std::string Sample() {
  std::ifstream in(QUILLON_EXAMPLES "/sample.tmx", std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Runs operation with the nth class-library allocation failing, for n = 0, 1, 2, ... until it
// completes; returns how many runs raised the memory exception.
template <class Operation>
int FailEachAllocationInTurn(Operation operation) {
  int nRaised = 0;
  for (long n = 0;; n++) {
    g_nAllocationsLeft = n;
    try {
      operation();
      g_nAllocationsLeft = -1;
      return nRaised;
    } catch (CMemoryException* e) {
      g_nAllocationsLeft = -1;
      e->Delete();
      nRaised++;
    }
  }
}

TEST(AllocationFailureTest, ContainersRaiseAndKeepWhatTheyHeld) {
  CMap<int, int, int, int> map;
  CArray<CString, const CString&> array;
  const int nRaised = FailEachAllocationInTurn([&] {
    for (int i = map.GetCount(); i < 200; i++) map[i] = i;
    for (INT_PTR i = array.GetSize(); i < 200; i++) array.Add(CString(u"a fairly long string value"));
  });
  EXPECT_GT(nRaised, 10);
  EXPECT_EQ(map.GetCount(), 200);
  EXPECT_EQ(array.GetSize(), 200);
  INT_PTR nVisited = 0;
  for (POSITION pos = map.GetStartPosition(); pos; nVisited++) {
    int key, value;
    map.GetNextAssoc(pos, key, value);
    EXPECT_EQ(key, value);
  }
  EXPECT_EQ(nVisited, 200);
}

TEST(AllocationFailureTest, NoMemoryForAMapGivesANullMap) {
  CTmxParseEngine engine(CString(u"x.tmx"), nullptr, nullptr);
  TmxUnitMap* pMap = reinterpret_cast<TmxUnitMap*>(&engine);
  g_nAllocationsLeft = 0;
  engine.CreateMapObject(pMap);
  g_nAllocationsLeft = -1;
  EXPECT_EQ(pMap, nullptr);
}

TEST(AllocationFailureTest, BuildersRaiseTheMemoryExceptionAndKeepTheirMapReleasable) {
  std::string text = Sample();
  CMemFile file(reinterpret_cast<BYTE*>(text.data()), static_cast<UINT>(text.size()));
  CTmxParseEngine engine(CString(), &file, nullptr);
  engine.SearchTmxForLanguages(nullptr);
  engine.m_strFirstLanguage = u"en-US";
  engine.m_strSecondLanguage = u"de-DE";
  TmxUnitMap map(10);
  TmxUnitMap* pMap = &map;
  auto build = [&] {
    engine.DeleteMapObject(pMap);
    engine.CreateDataStructures(map);
    engine.CreateMultilingualDataStructures(map);
  };
  build();
  const INT_PTR nUnits = map.GetCount();
  EXPECT_GT(FailEachAllocationInTurn(build), 50);
  EXPECT_EQ(map.GetCount(), nUnits);
  engine.DeleteMapObject(pMap);
}

// The parser reports its own failure: its out-of-memory exception, or the fatal error it makes
// of it (which the engine's reporter raises).
TEST(AllocationFailureTest, ParserOutOfMemoryReachesTheCallerAndStateStays) {
  std::string text = Sample();
  int nRaised = 0;
  for (long n = 0; n < 400; n++) {
    CMemFile file(reinterpret_cast<BYTE*>(text.data()), static_cast<UINT>(text.size()));
    CTmxParseEngine engine(CString(), &file, nullptr);
    CStringArray languages;
    g_parserMemory.nLeft = n;
    bool bRaised = false;
    try {
      engine.SearchTmxForLanguages(&languages);
    } catch (const OutOfMemoryException&) {
      bRaised = true;
    } catch (const SAXParseException&) {
      bRaised = true;
    }
    g_parserMemory.nLeft = -1;
    nRaised += bRaised;
    EXPECT_EQ(engine.m_pDocument == nullptr, bRaised) << n;
    EXPECT_EQ(languages.GetSize(), bRaised ? 0 : 4) << n;
  }
  EXPECT_GT(nRaised, 100);
}

}  // namespace

// Every allocation of the class library goes through here.
void* operator new(size_t nBytes, const std::nothrow_t&) noexcept {
  if (FailThisAllocation()) return nullptr;
  try {
    return ::operator new(nBytes);
  } catch (...) {
    return nullptr;
  }
}
