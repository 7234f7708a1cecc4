// Out of memory in every exported operation, as an MFC host meets it: the n-th allocation of the
// process's new fails, for n = 0, 1, 2, ... until the operation completes. Only the memory
// exception, or the parser's own exceptions, may arrive; never std::bad_alloc. Objects stay
// usable and nothing leaks (the sanitizer build checks the last).
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>

#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "quillon/GenXMLInterface.h"
#include "tests/Files.h"
#include "tests/TmxTestSupport.h"

namespace {

long g_nAllocationsLeft = -1;  // that succeed before one fails; -1 for all

const std::string kTmxPath = QUILLON_EXAMPLES "/sample.tmx";
const std::string kXmlPath = QUILLON_EXAMPLES "/sample.xml";

// Fails each allocation of the operation in turn; returns how many runs an allowed exception ended.
int FailEachAllocationInTurn(const std::function<void()>& operation) {
  int nRaised = 0;
  for (long n = 0;; n++) {
    bool bDone = false;
    g_nAllocationsLeft = n;
    try {
      operation();
      bDone = true;
    } catch (CMemoryException* e) {
      e->Delete();
      nRaised++;
    } catch (const xercesc::OutOfMemoryException&) {  // the parser's own, and its report of it
      nRaised++;
    } catch (const xercesc::SAXParseException&) {
      nRaised++;
    } catch (const std::bad_alloc&) {
      ADD_FAILURE() << "std::bad_alloc reached the host at allocation " << n;
    }
    g_nAllocationsLeft = -1;
    if (bDone) return nRaised;
  }
}

TEST(MemoryExceptionTest, EveryExportedOperationRaisesOnlyTheMemoryException) {
  ParsedTmx parsed(ReadFile(kTmxPath));
  parsed.engine.m_strFirstLanguage = _T("en-US");
  parsed.engine.m_strSecondLanguage = _T("de-DE");
  UnitMap map(parsed.engine);
  MemoryTmx source(ReadFile(kTmxPath));
  CGenXMLInterface measured(CString(kXmlPath.c_str()), 0, CString());
  int nSize = 0;
  measured.PreParseForSize(nSize);
  std::vector<unsigned char> image(static_cast<size_t>(nSize));
  CTmxElementAddressAndTUVArray units;
  CArray<CString, const CString&> strings;
  const std::pair<const char*, std::function<void()>> operations[] = {
      {"languages from a path (constructor too)",
       [] { CTmxParseEngine(CString(kTmxPath.c_str()), nullptr, nullptr).SearchTmxForLanguages(nullptr); }},
      {"languages from a memory file (constructor too)",
       [&] { CTmxParseEngine(CString(), &source.file, nullptr).SearchTmxForLanguages(nullptr); }},
      {"bilingual build", [&] { parsed.engine.CreateDataStructures(*map); }},
      {"multilingual build", [&] { parsed.engine.CreateMultilingualDataStructures(*map); }},
      {"streamed units",
       [] {
         CTmxUnitReader reader(CString(_T("en-US")), CString(_T("de-DE")));
         reader.Open(CString(kTmxPath.c_str()));
         while (reader.ReadNextUnit()) {
         }
       }},
      {"measurement", [&] { CGenXMLInterface(CString(kXmlPath.c_str()), 0, CString()).PreParseForSize(nSize); }},
      {"packing", [&] { measured.ParseFileAndPackToMemory(image.data()); }},
      {"unit array and strings, which keep what they held",
       [&] {
         for (INT_PTR i = units.GetSize(); i < 100; i++) units.InsertAt(0, static_cast<CTmxElementAddressAndTUV*>(nullptr));
         for (INT_PTR i = strings.GetSize(); i < 100; i++) strings.Add(CString(_T("a fairly long string value")));
         CTmxElementAddressAndTUVArray copy;
         copy.Copy(units);
         copy.Append(units);
       }},
  };
  for (const auto& [name, operation] : operations) {
    EXPECT_GT(FailEachAllocationInTurn(operation), 0) << name;
    parsed.engine.DeleteMapObject(map.pMap);  // what a failed build filed is released
  }
  EXPECT_EQ(units.GetSize(), 100);
  EXPECT_EQ(strings.GetSize(), 100);
}

TEST(MemoryExceptionTest, NoMemoryGivesANullMapAndReleasingOneNeedsNone) {
  ParsedTmx parsed(ReadFile(kTmxPath));
  TmxUnitMap* pMap = reinterpret_cast<TmxUnitMap*>(&parsed);
  g_nAllocationsLeft = 0;
  parsed.engine.CreateMapObject(pMap);
  g_nAllocationsLeft = -1;
  EXPECT_EQ(pMap, nullptr);
  UnitMap map(parsed.engine);
  parsed.engine.CreateMultilingualDataStructures(*map);
  g_nAllocationsLeft = 0;
  parsed.engine.DeleteMapObject(map.pMap);
  g_nAllocationsLeft = -1;
  EXPECT_TRUE(map.pMap->IsEmpty());
}

}  // namespace

// The process's allocation functions, failing when told to, as an allocator without memory does.
void* operator new(std::size_t nBytes) {
  if (g_nAllocationsLeft >= 0 && g_nAllocationsLeft-- == 0) throw std::bad_alloc();
  if (void* p = std::malloc(nBytes ? nBytes : 1)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t nBytes) { return ::operator new(nBytes); }
void* operator new(std::size_t nBytes, const std::nothrow_t&) noexcept {
  try {
    return ::operator new(nBytes);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](std::size_t nBytes, const std::nothrow_t& tag) noexcept { return ::operator new(nBytes, tag); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
