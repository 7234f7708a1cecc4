// Out of memory in every exported operation, as an MFC host meets it: the n-th allocation of the
// process's new fails, for n = 0, 1, 2, ... until the operation completes. Only the memory
// exception, or the parser's own exceptions, may arrive; never std::bad_alloc. Objects stay
// usable and nothing leaks (the sanitizer build checks the last).
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <new>

#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "quillon/GenXMLInterface.h"
#include "quillon/TmxParseEngine.h"
#include "quillon/TmxUnitReader.h"

namespace {

long g_nAllocationsLeft = -1;  // that succeed before one fails; -1 for all

std::string ReadFile(const char* path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

const std::string kTmxPath = QUILLON_EXAMPLES "/sample.tmx";
const std::string kXmlPath = QUILLON_EXAMPLES "/sample.xml";

// Runs operation with the n-th allocation failing, for n = 0, 1, 2, ... until it completes;
// returns how many runs failed. Anything but the memory exception and the parser's own
// exceptions fails the test.
int FailEachAllocationInTurn(const std::function<void()>& operation) {
  int nRaised = 0;  // runs that an allowed exception ended
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

class ParsedEngine {
 public:
  ParsedEngine() : m_text(ReadFile(kTmxPath.c_str())), m_file(Bytes(), static_cast<UINT>(m_text.size())) {
    engine.SearchTmxForLanguages(nullptr);
    engine.m_strFirstLanguage = _T("en-US");
    engine.m_strSecondLanguage = _T("de-DE");
    engine.CreateMapObject(pMap);
  }
  ~ParsedEngine() {
    engine.DeleteMapObject(pMap);
    delete pMap;
  }
  BYTE* Bytes() { return reinterpret_cast<BYTE*>(m_text.data()); }
  UINT Size() const { return static_cast<UINT>(m_text.size()); }

 private:
  std::string m_text;
  CMemFile m_file;

 public:
  CTmxParseEngine engine{CString(), &m_file, nullptr};
  TmxUnitMap* pMap = nullptr;
};

TEST(MemoryExceptionTest, EngineOperationsRaiseOnlyTheMemoryException) {
  ParsedEngine parsed;
  const std::pair<const char*, std::function<void()>> operations[] = {
      {"constructor with a path", [] { CTmxParseEngine engine(CString(kTmxPath.c_str()), nullptr, nullptr); }},
      {"constructor with a memory file",
       [] {
         CMemFile file;
         CTmxParseEngine engine(CString(), &file, nullptr);
       }},
      {"languages from a path",
       [] {
         CTmxParseEngine engine(CString(kTmxPath.c_str()), nullptr, nullptr);
         CStringArray languages;
         engine.SearchTmxForLanguages(&languages);
       }},
      {"languages from a memory file",
       [&] {
         CMemFile file(parsed.Bytes(), parsed.Size());
         CTmxParseEngine engine(CString(), &file, nullptr);
         CStringArray languages;
         engine.SearchTmxForLanguages(&languages);
       }},
      {"bilingual build", [&] { parsed.engine.CreateDataStructures(*parsed.pMap); }},
      {"multilingual build", [&] { parsed.engine.CreateMultilingualDataStructures(*parsed.pMap); }},
      {"streamed units",
       [] {
         CTmxUnitReader reader(CString(_T("en-US")), CString(_T("de-DE")));
         reader.Open(CString(kTmxPath.c_str()));
         while (reader.ReadNextUnit()) {
         }
       }},
  };
  for (const auto& [name, operation] : operations) {
    EXPECT_GT(FailEachAllocationInTurn(operation), 0) << name;
    parsed.engine.DeleteMapObject(parsed.pMap);  // what a failed build filed is released
  }
}

TEST(MemoryExceptionTest, ReleasingAMapNeedsNoMemory) {
  ParsedEngine parsed;
  parsed.engine.CreateMultilingualDataStructures(*parsed.pMap);
  ASSERT_GT(parsed.pMap->GetCount(), 0);
  g_nAllocationsLeft = 0;
  parsed.engine.DeleteMapObject(parsed.pMap);
  g_nAllocationsLeft = -1;
  EXPECT_TRUE(parsed.pMap->IsEmpty());
}

TEST(MemoryExceptionTest, NoMemoryForAMapGivesANullMap) {
  CTmxParseEngine engine(CString(_T("x.tmx")), nullptr, nullptr);
  TmxUnitMap* pMap = reinterpret_cast<TmxUnitMap*>(&engine);
  g_nAllocationsLeft = 0;
  engine.CreateMapObject(pMap);
  g_nAllocationsLeft = -1;
  EXPECT_EQ(pMap, nullptr);
}

TEST(MemoryExceptionTest, PackerOperationsRaiseOnlyTheMemoryException) {
  EXPECT_GT(FailEachAllocationInTurn([] {
              CGenXMLInterface xml(CString(kXmlPath.c_str()), 0, CString());
              int nSize = 0;
              xml.PreParseForSize(nSize);
            }),
            0);
  CGenXMLInterface xml(CString(kXmlPath.c_str()), 0, CString());
  int nSize = 0;
  xml.PreParseForSize(nSize);
  std::vector<unsigned char> buffer(static_cast<size_t>(nSize));
  EXPECT_GT(FailEachAllocationInTurn([&] { xml.ParseFileAndPackToMemory(buffer.data()); }), 0);
}

TEST(MemoryExceptionTest, ContainersRaiseAndKeepWhatTheyHeld) {
  CTmxElementAddressAndTUVArray units;
  CMap<int, int, int, int> map;
  CArray<CString, const CString&> strings;
  EXPECT_GT(FailEachAllocationInTurn([&] {
              for (int i = map.GetCount(); i < 200; i++) map[i] = i;
              for (INT_PTR i = strings.GetSize(); i < 200; i++) strings.Add(CString(_T("a fairly long string value")));
              for (INT_PTR i = units.GetSize(); i < 100; i++) units.InsertAt(0, static_cast<CTmxElementAddressAndTUV*>(nullptr), 1);
              CTmxElementAddressAndTUVArray copy;
              copy.Copy(units);
              copy.Append(units);
              copy.SetSize(300);
            }),
            10);
  EXPECT_EQ(map.GetCount(), 200);
  EXPECT_EQ(strings.GetSize(), 200);
  EXPECT_EQ(units.GetSize(), 100);
  for (POSITION pos = map.GetStartPosition(); pos;) {
    int key, value;
    map.GetNextAssoc(pos, key, value);
    EXPECT_EQ(key, value);
  }
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
