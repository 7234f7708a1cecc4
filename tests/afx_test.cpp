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

// The cause of the archive exception that f raises; -1 when it raises none.
template <class F>
int ArchiveCause(F f) {
  try {
    f();
  } catch (CArchiveException* e) {
    const int nCause = e->m_cause;
    e->Delete();
    return nCause;
  }
  return -1;
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

// MFC's order for keys inserted in that order: buckets ascending, the newest first in each.
std::vector<int> MfcOrder(const std::vector<int>& inserted) {
  std::vector<int> order(inserted.rbegin(), inserted.rend());
  std::stable_sort(order.begin(), order.end(), [](int a, int b) { return HashKey<int>(a) % 17 < HashKey<int>(b) % 17; });
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

TEST(CMapTest, IterationFollowsTheMinimalStandardHashIntoMfcsBuckets) {
  EXPECT_EQ(HashKey<int>(1), 16807u);
  EXPECT_EQ(HashKey<int>(127773), 2147480811u);  // 16807*0 - 2836*1 + 2^31 - 1
  EXPECT_EQ(HashKey<int>(-1), 2147466840u);
  const std::vector<int> keys = {0, 1, 2, 17, 34, -1, -17, -127773, 127773, 2147483647, -2147483647 - 1, 42, 59};
  CMap<int, int, int, int> map;
  for (int k : keys) map[k] = k;
  EXPECT_EQ(Keys(map), MfcOrder(keys));
}

TEST(CMapTest, LookUpAndRemovalStayRightAtEverySizeAndKeepMfcsOrder) {
  CMap<int, int, int, int> map;
  std::vector<int> kept;
  for (int i = 0; i < 100000; i++) map[i * 17] = i;  // one bucket: removal inside one long chain
  for (int i = 0; i < 100000; i++)
    if (i % 3 == 0) EXPECT_TRUE(map.RemoveKey(i * 17));
    else kept.push_back(i * 17);
  EXPECT_FALSE(map.RemoveKey(0));
  EXPECT_EQ(map.GetCount(), static_cast<INT_PTR>(kept.size()));
  for (int i = 0; i < 100000; i++) {
    int value = -1;
    EXPECT_EQ(map.Lookup(i * 17, value) != FALSE, i % 3 != 0);
  }
  EXPECT_EQ(Keys(map), MfcOrder(kept));
  for (POSITION pos = map.GetStartPosition(); pos;) {  // removing the entry just visited is safe
    int key, value;
    map.GetNextAssoc(pos, key, value);
    map.RemoveKey(key);
  }
  EXPECT_EQ(map.GetStartPosition(), nullptr);
  EXPECT_EQ(map.GetHashTableSize(), 17u);
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
    EXPECT_EQ(ArchiveCause([&] { ar.WriteCount(1); }), CArchiveException::genericException);
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
  EXPECT_EQ(ArchiveCause([&] { in.ReadCount(); }), CArchiveException::endOfFile);
}

}  // namespace
