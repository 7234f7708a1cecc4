// The class-library layer: the MFC behaviour the library and its hosts rely on.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "quillon/afx.h"

namespace {

template <class Exception, class F>
void ExpectThrows(F f) {
  try {
    f();
    ADD_FAILURE() << "no exception";
  } catch (CException* e) {
    EXPECT_NE(dynamic_cast<Exception*>(e), nullptr);
    e->Delete();
  }
}

TEST(CStringTest, CompareIsOrdinalAndCompareNoCaseFoldsAsciiOnly) {
  EXPECT_LT(CString(_T("EN")).Compare(_T("de")), 0);  // upper-case ASCII sorts first
  EXPECT_EQ(CString(_T("en")).Compare(_T("en")), 0);
  EXPECT_EQ(CString(_T("EN-us")).CompareNoCase(_T("en-US")), 0);
  EXPECT_NE(CString(_T("\u00e9")).CompareNoCase(_T("\u00c9")), 0);
  EXPECT_NE(CString(_T("en")).CompareNoCase(_T("en-US")), 0);
  EXPECT_EQ(CString().CompareNoCase(nullptr), 0);
}

TEST(CStringTest, FormatTakesUtf16TextIntegersAndPercent) {
  CString s;
  s.Format(_T("%s|%d|%%|%-4s|%03d|%x"), _T("abc"), -42, _T("x"), 7, 255);
  EXPECT_EQ(s, _T("abc|-42|%|x   |007|ff"));
}

TEST(CStringTest, FormatWithResourceIdLoadsFromRegisteredModule) {
#if defined(_WIN32)
  GTEST_SKIP() << "string tables are the modules' own resources on Windows";
#endif
  static const AFX_STRING_RESOURCE strings[] = {{7, _T("%s and %s")}};
  static const AFX_RESOURCE_DIRECTORY directory = {strings, 1};
  AFX_EXTENSION_MODULE module = {};
  ASSERT_TRUE(AfxInitExtensionModule(module, AfxResourceHandle(directory)));
  auto* library = new CDynLinkLibrary(module);
  CString s;
  s.Format(7u, _T("this"), _T("that"));
  EXPECT_EQ(s, _T("this and that"));
  ExpectThrows<CInvalidArgException>([&] { s.Format(8u, _T("x")); });
  AfxTermExtensionModule(module);
  EXPECT_EQ(AfxGetModuleState()->m_libraryList.GetHead(), nullptr) << library;
}

TEST(CArrayTest, GuardedIndexesRaiseInvalidArgument) {
  CArray<int*, int*> a;
  a.Add(nullptr);
  ExpectThrows<CInvalidArgException>([&] { a.GetAt(1); });
  ExpectThrows<CInvalidArgException>([&] { a[-1]; });
  ExpectThrows<CInvalidArgException>([&] { a.SetAt(2, nullptr); });
  ExpectThrows<CInvalidArgException>([&] { a.SetSize(-1); });
  ExpectThrows<CInvalidArgException>([&] { a.SetAtGrow(-1, nullptr); });
  ExpectThrows<CInvalidArgException>([&] { a.RemoveAt(0, 2); });
  ExpectThrows<CInvalidArgException>([&] { a.InsertAt(0, nullptr, 0); });
  ExpectThrows<CInvalidArgException>([&] { a.InsertAt(0, static_cast<CArray<int*, int*>*>(nullptr)); });
  ExpectThrows<CInvalidArgException>([&] { a.Append(a); });
}

TEST(CArrayTest, GrowthWithGrowByZeroStartsAtOneThenAnEighthBetweenFourAndKilo) {
  CArray<int, int> a;
  a.Add(1);
  a.Add(2);  // capacity 1 -> 5
  for (int i = 0; i < 3; i++) a.Add(i);
  const int* p = a.GetData();
  a.Add(9);  // sixth element needs growth: +4
  EXPECT_NE(a.GetData(), p);
  a.SetSize(9000);
  a.FreeExtra();
  a.Add(0);  // grows by 9000 / 8 = 1125, capped at 1024
  p = a.GetData();
  for (int i = 0; i < 1023; i++) a.Add(0);
  EXPECT_EQ(a.GetData(), p);
  a.Add(0);
  EXPECT_NE(a.GetData(), p);
}

TEST(CArrayTest, InsertRemoveAndCopyKeepOrder) {
  CArray<int, int> a;
  for (int i = 0; i < 4; i++) a.Add(i);
  a.InsertAt(1, 9, 2);
  a.RemoveAt(4);
  a.InsertAt(7, 5);  // past the end: grows with zero slots
  std::vector<int> got(a.GetData(), a.GetData() + a.GetSize());
  EXPECT_EQ(got, (std::vector<int>{0, 9, 9, 1, 3, 0, 0, 5}));
  CArray<int, int> b;
  b.Copy(a);
  b.InsertAt(0, &b);
  EXPECT_EQ(b.GetSize(), 16);
  EXPECT_EQ(b[8], 0);
}

// Where MFC iterates an entry: its bucket, and its rank from the front of the chain.
UINT Bucket(int key) { return HashKey<int>(key) % 17; }

TEST(CMapTest, IterationFollowsBucketsAscendingAndNewestFirstInEachChain) {
  const std::vector<int> keys = {0, 1, 2, 17, 34, -1, -17, -127773, 127773, 2147483647,
                                 -2147483647 - 1, 1000000, 42, 59, 76};
  CMap<int, int, void*, void*> map;
  for (int k : keys) map[k] = nullptr;
  std::vector<std::pair<UINT, size_t>> order;
  std::vector<int> expected;
  for (size_t i = 0; i < keys.size(); i++) order.push_back({Bucket(keys[i]), keys.size() - i});
  std::vector<size_t> idx(keys.size());
  for (size_t i = 0; i < idx.size(); i++) idx[i] = i;
  std::sort(idx.begin(), idx.end(), [&](size_t a, size_t b) { return order[a] < order[b]; });
  for (size_t i : idx) expected.push_back(keys[i]);

  std::vector<int> got;
  for (POSITION pos = map.GetStartPosition(); pos;) {
    int key;
    void* value;
    map.GetNextAssoc(pos, key, value);
    got.push_back(key);
  }
  EXPECT_EQ(got, expected);
}

TEST(CMapTest, HashIsTheMinimalStandardStep) {
  EXPECT_EQ(HashKey<int>(0), 0u);
  EXPECT_EQ(HashKey<int>(1), 16807u);
  EXPECT_EQ(HashKey<int>(127773), 2147480811u);  // 16807*0 - 2836*1 + 2^31 - 1
  EXPECT_EQ(HashKey<int>(-1), 2147466840u);
}

TEST(CMapTest, LookupSetAtAndRemoveAllKeepBucketCount) {
  CMap<int, int, int, int> map;
  for (int i = 0; i < 100000; i++) map.SetAt(i * 7, i);
  map.SetAt(14, -1);
  int value = 0;
  EXPECT_TRUE(map.Lookup(14, value));
  EXPECT_EQ(value, -1);
  EXPECT_TRUE(map.Lookup(699993, value));
  EXPECT_FALSE(map.Lookup(15, value));
  EXPECT_EQ(map.GetCount(), 100000);
  map.RemoveAll();
  EXPECT_EQ(map.GetCount(), 0);
  EXPECT_EQ(map.GetStartPosition(), nullptr);
  EXPECT_EQ(map.GetHashTableSize(), 17u);
  map[3] = 4;
  EXPECT_TRUE(map.Lookup(3, value));
}

// MFC's order for the keys inserted in that order: buckets ascending, the newest first in each.
std::vector<int> MfcOrder(const std::vector<int>& inserted) {
  std::vector<int> order(inserted.rbegin(), inserted.rend());
  std::stable_sort(order.begin(), order.end(), [](int a, int b) { return Bucket(a) < Bucket(b); });
  return order;
}

std::vector<int> Keys(const CMap<int, int, int, int>& map) {
  std::vector<int> keys;
  for (POSITION pos = map.GetStartPosition(); pos;) {
    int key, value;
    map.GetNextAssoc(pos, key, value);
    keys.push_back(key);
  }
  return keys;
}

TEST(CMapTest, RemoveKeyLeavesTheRestFindableInMfcOrder) {
  CMap<int, int, int, int> map;
  std::vector<int> kept;
  for (int i = 0; i < 3000; i++) map[i * 17] = i;  // one bucket: removal inside one long chain
  for (int i = 0; i < 3000; i++)
    if (i % 3 == 0) EXPECT_TRUE(map.RemoveKey(i * 17));
    else kept.push_back(i * 17);
  EXPECT_FALSE(map.RemoveKey(0));
  EXPECT_EQ(map.GetCount(), 2000);
  for (int i = 0; i < 3000; i++) {
    int value = -1;
    EXPECT_EQ(map.Lookup(i * 17, value), i % 3 != 0) << i;
  }
  EXPECT_EQ(Keys(map), MfcOrder(kept));
  for (POSITION pos = map.GetStartPosition(); pos;) {  // removing the entry just visited is safe
    int key, value;
    map.GetNextAssoc(pos, key, value);
    map.RemoveKey(key);
  }
  EXPECT_TRUE(map.IsEmpty());
  map[5] = 5;
  EXPECT_EQ(Keys(map), std::vector<int>{5});
}

TEST(CArchiveTest, ClosedOrAbortedArchiveIsDetachedFromItsFile) {
  CMemFile file;
  for (auto detach : {&CArchive::Close, &CArchive::Abort}) {
    CArchive ar(&file, CArchive::store | CArchive::bNoFlushOnDelete);
    EXPECT_TRUE(ar.IsStoring());
    ar.Flush();
    (ar.*detach)();
    EXPECT_EQ(ar.GetFile(), nullptr);
    try {
      ar.WriteCount(1);
      ADD_FAILURE() << "no exception";
    } catch (CArchiveException* e) {
      EXPECT_EQ(e->m_cause, CArchiveException::genericException);
      e->Delete();
    }
  }
  EXPECT_EQ(file.GetLength(), 0u);
}

TEST(CArchiveTest, CountEncodingRoundTripsAtEveryWidth) {
  const struct { DWORD_PTR count; size_t bytes; } cases[] = {
      {0, 2}, {0xFFFE, 2}, {0xFFFF, 6}, {0xFFFFFFFE, 6}, {0xFFFFFFFF, 14}, {0x123456789ull, 14}};
  for (const auto& c : cases) {
    CMemFile file;
    CArchive out(&file, CArchive::store);
    out.WriteCount(c.count);
    EXPECT_EQ(file.GetLength(), c.bytes) << c.count;
    file.SeekToBegin();
    CArchive in(&file, CArchive::load);
    EXPECT_EQ(in.ReadCount(), c.count);
  }
  BYTE bytes[] = {0xFF, 0xFF, 0x01};  // 32-bit count cut short
  CMemFile file(bytes, sizeof bytes);
  CArchive in(&file, CArchive::load);
  try {
    in.ReadCount();
    ADD_FAILURE() << "no exception";
  } catch (CArchiveException* e) {
    EXPECT_EQ(e->m_cause, CArchiveException::endOfFile);
    e->Delete();
  }
}

}  // namespace
