// The unit model and the two builders: keys, languages, notes, segment texts and ownership.
#include <gtest/gtest.h>

#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNodeList.hpp>

#include "tests/TmxTestSupport.h"

namespace {

using Variants = std::vector<std::string>;

Units Bilingual(const std::string& xml, LPCTSTR first, LPCTSTR second, bool* pResult = nullptr) {
  return BuiltUnits(xml, first, second, pResult);
}

Units Multilingual(const std::string& xml, bool* pResult = nullptr) { return BuiltUnits(xml, nullptr, nullptr, pResult); }

const char kThreeUnits[] =
    "\n<tu><tuv lang='en'><seg>a</seg></tuv></tu>\n<tu><tuv lang='en'><seg>b</seg></tuv></tu>\n"
    "<tu><tuv lang='en'><seg>c</seg></tuv></tu>\n";

TEST(UnitKeyTest, BilingualKeysCountEveryNodeOfTheBodyChain) {
  EXPECT_EQ(Bilingual(Tmx(kThreeUnits), _T("en"), _T("de")),
            (Units{{0, {"en|a|"}}, {2, {"en|b|"}}, {4, {"en|c|"}}}));
  const std::string withComment =
      "\n<tu><tuv lang='en'><seg>a</seg></tuv></tu>\n<!-- c -->\n<tu><tuv lang='en'><seg>b</seg></tuv></tu>";
  EXPECT_EQ(Bilingual(Tmx(withComment), _T("en"), _T("de")), (Units{{0, {"en|a|"}}, {4, {"en|b|"}}}));
}

TEST(UnitKeyTest, MultilingualKeysCountTuElementsOnlyAndEmptyUnitsUseUpKeys) {
  const std::string body =
      "\n<tu/><!-- c --><tu><note>n</note></tu>\n<tu><tuv lang='en'/></tu><tu><tuv lang='en'><seg>x</seg></tuv></tu>";
  EXPECT_EQ(Multilingual(Tmx(body)), (Units{{3, {"en|x|"}}}));
  EXPECT_EQ(Multilingual(Tmx(kThreeUnits)), (Units{{0, {"en|a|"}}, {1, {"en|b|"}}, {2, {"en|c|"}}}));
}

TEST(UnitKeyTest, BodyWithoutLeadingWhitespaceKeepsItsFirstUnit) {
  const std::string body = "<tu><tuv lang='en'><seg>a</seg></tuv></tu><tu><tuv lang='en'><seg>b</seg></tuv></tu>";
  const Units expected{{0, {"en|a|"}}, {1, {"en|b|"}}};
  EXPECT_EQ(Bilingual(Tmx(body), _T("en"), _T("")), expected);
  EXPECT_EQ(Multilingual(Tmx(body)), expected);
}

TEST(MultilingualBuilderTest, WorkedCase) {
  const std::string body =
      "\n<tu><note>N</note><tuv xml:lang='en'><seg>Hello</seg></tuv>"
      "<tuv lang='de'><note>M</note><seg>Hallo</seg></tuv></tu>\n"
      "<tu><tuv xml:lang='fr'><seg/></tuv></tu>\n";
  EXPECT_EQ(Multilingual(Tmx(body)), (Units{{0, {"en|Hello|N", "de|Hallo|N\n\nM"}}, {1, {"fr||"}}}));
}

TEST(BilingualBuilderTest, KeepsOnlyThePairComparedWholeIgnoringAsciiCase) {
  const std::string body =
      "\n<tu><tuv xml:lang='EN-us'><seg>1</seg></tuv><tuv xml:lang='de-de'><seg>2</seg></tuv>"
      "<tuv xml:lang='en'><seg>3</seg></tuv><tuv xml:lang='de-AT'><seg>4</seg></tuv><tuv><seg>5</seg></tuv></tu>"
      "<tu><tuv lang='fr'><seg>6</seg></tuv></tu>";
  EXPECT_EQ(Bilingual(Tmx(body), _T("en-US"), _T("de-DE")), (Units{{0, {"EN-us|1|", "de-de|2|"}}}));
  EXPECT_EQ(Bilingual(Tmx(body), _T(""), _T("")), (Units{{0, {"|5|"}}}));
}

TEST(BuilderTest, NamesMatchInAnyCaseButBilingualBodyTagIsExact) {
  const std::string doc =
      "<tmx><BODY>\n<TU><Note>n</Note><Tuv XML:LANG='en' lang='x'><SEG>s</SEG></Tuv></TU></BODY></tmx>";
  bool bResult = true;
  EXPECT_EQ(Multilingual(doc), (Units{{0, {"x|s|n"}}}));  // lang sorts after XML:LANG, so it wins
  EXPECT_EQ(Bilingual(doc, _T("en"), _T("x"), &bResult), Units{});
  EXPECT_FALSE(bResult);
}

TEST(BuilderTest, OnlyTheFirstBodyIsWalked) {
  const std::string doc =
      "<tmx><body>\n<tu><tuv lang='en'><seg>a</seg></tuv></tu></body>"
      "<body>\n<tu><tuv lang='en'><seg>b</seg></tuv></tu></body></tmx>";
  EXPECT_EQ(Bilingual(doc, _T("en"), _T("de")), (Units{{0, {"en|a|"}}}));
  EXPECT_EQ(Multilingual(doc), (Units{{0, {"en|a|"}}}));
}

TEST(BuilderTest, NoBodyOrNoDocument) {
  bool bResult = true;
  EXPECT_EQ(Bilingual("<tmx><header/></tmx>", _T("en"), _T("de"), &bResult), Units{});
  EXPECT_FALSE(bResult);
  EXPECT_EQ(Multilingual("<tmx><header/></tmx>", &bResult), Units{});
  EXPECT_TRUE(bResult);

  CTmxParseEngine engine(CString(_T("unparsed.tmx")), nullptr, nullptr);
  UnitMap map(engine);
  EXPECT_FALSE(engine.CreateDataStructures(*map));
  EXPECT_FALSE(engine.CreateMultilingualDataStructures(*map));
}

TEST(NoteTest, LastNonEmptyWinsAndANoteReachesOnlyWhatFollowsIt) {
  const std::string body =
      "\n<tu><note>u1</note><note/><tuv lang='en'><seg>a</seg><note>late</note></tuv>"
      "<note>u2</note><tuv lang='de'><note>o1</note><note>o2</note><seg>b</seg></tuv></tu>";
  EXPECT_EQ(Multilingual(Tmx(body)), (Units{{0, {"en|a|u1", "de|b|u2\n\no2"}}}));
}

TEST(NoteTest, SecondSegOfAVariantHasTheMergeAppliedTwice) {
  const std::string body = "\n<tu><note>U</note><tuv lang='en'><note>O</note><seg>a</seg><seg>b</seg></tuv></tu>";
  const Units expected{{0, {"en|a|U\n\nO", "en|b|U\n\nU\n\nO"}}};
  EXPECT_EQ(Multilingual(Tmx(body)), expected);
  EXPECT_EQ(Bilingual(Tmx(body), _T("en"), _T("de")), expected);
}

TEST(SegmentTest, BilingualTakesWholeMixedContentMultilingualTheFirstChild) {
  const struct { const char* seg; const char* bilingual; const char* multilingual; } cases[] = {
      {"<seg>Save <b>as</b> now</seg>", "Save as now", "Save "},
      {"<seg><ph>{x}</ph></seg>", "", ""},
      {"<seg><ph>{x}</ph> tail</seg>", "{x} tail", ""},
      {"<seg><![CDATA[<raw>]]></seg>", "<raw>", "<raw>"},
      {"<seg>a<!--c--></seg>", "c", "a"},
  };
  for (const auto& c : cases) {
    const std::string body = std::string("\n<tu><tuv lang='en'>") + c.seg + "</tuv></tu>";
    EXPECT_EQ(Bilingual(Tmx(body), _T("en"), _T(""))[0], Variants{std::string("en|") + c.bilingual + "|"}) << c.seg;
    EXPECT_EQ(Multilingual(Tmx(body))[0], Variants{std::string("en|") + c.multilingual + "|"}) << c.seg;
  }
}

TEST(SegmentTest, EmptySegGivesAVariantOnlyToTheMultilingualBuilder) {
  const std::string body = "\n<tu><tuv lang='en'><seg/></tuv></tu>";
  EXPECT_EQ(Bilingual(Tmx(body), _T("en"), _T("")), Units{});
  EXPECT_EQ(Multilingual(Tmx(body)), (Units{{0, {"en||"}}}));
}

TEST(FilingTest, TwoBuildsIntoOneMapFileEveryVariantTwice) {
  ParsedTmx tmx(Tmx("\n<tu><tuv lang='en'><seg>a</seg></tuv></tu>"));
  tmx.engine.m_strFirstLanguage = _T("en");
  UnitMap map(tmx.engine);
  tmx.engine.CreateDataStructures(*map);
  tmx.engine.CreateDataStructures(*map);
  EXPECT_EQ(map.Units(), (Units{{0, {"en|a|", "en|a|"}}}));
}

TEST(FilingTest, NullUnitRefusesVariantsAndAUnitWithoutListGetsAFreshOne) {
  ParsedTmx tmx(Tmx("\n<tu><tuv lang='en'><seg>a</seg></tuv></tu>\n<tu><tuv lang='en'><seg>b</seg></tuv></tu>"));
  UnitMap map(tmx.engine);
  (*map)[0] = nullptr;
  auto* pEmptied = new CTmxElementAddressAndTUV;
  pEmptied->m_nElementAddress = 1;
  (*map)[1] = pEmptied;
  tmx.engine.CreateMultilingualDataStructures(*map);
  EXPECT_EQ(map.Units(), (Units{{0, {}}, {1, {"en|b|"}}}));
}

TEST(FilingTest, TagsOnTuElementsOnlyStayReadableAndAReparseLeavesTheDocumentWhole) {
  ParsedTmx tmx(Tmx(kThreeUnits));
  {
    UnitMap map(tmx.engine);
    tmx.engine.CreateMultilingualDataStructures(*map);
  }
  xercesc::DOMDocument* pFirst = tmx.engine.m_pDocument;
  const xercesc::DOMNode* pUnit = pFirst->getElementsByTagName(_T("tu"))->item(2);
  EXPECT_EQ(pFirst->getUserData(_T("TUK")), nullptr);
  tmx.engine.SearchTmxForLanguages(nullptr);
  EXPECT_NE(tmx.engine.m_pDocument, pFirst);
  ASSERT_NE(pFirst->getDocumentElement(), nullptr);  // the earlier document is the parser's, whole
  const int* pKey = static_cast<const int*>(pUnit->getUserData(_T("TUK")));
  ASSERT_NE(pKey, nullptr);
  EXPECT_EQ(*pKey, 2);  // the counter as the build left it
}

TEST(UnitMapTest, HostIteratesUnitsInTheMapsHashOrder) {
  std::string body = "\n";
  for (int i = 0; i < 40; i++) body += "<tu><tuv lang='en'><seg>s</seg></tuv></tu>";
  ParsedTmx tmx(Tmx(body));
  UnitMap map(tmx.engine);
  tmx.engine.CreateMultilingualDataStructures(*map);
  std::vector<int> got;
  for (POSITION pos = map.pMap->GetStartPosition(); pos;) {
    int key;
    CTmxElementAddressAndTUV* pUnit;
    map.pMap->GetNextAssoc(pos, key, pUnit);
    EXPECT_EQ(pUnit->m_nElementAddress, key);
    got.push_back(key);
  }
  std::vector<int> expected;  // buckets ascending, later keys first within a bucket
  for (UINT bucket = 0; bucket < 17; bucket++)
    for (int key = 39; key >= 0; key--)
      if (HashKey<int>(key) % 17 == bucket) expected.push_back(key);
  EXPECT_EQ(got, expected);
}

// A host's own unit class, which notes the order of destruction and what the map holds then.
std::vector<int> g_destroyed;
TmxUnitMap* g_pReleasedMap;
struct CHostUnit : CTmxElementAddressAndTUV {
  ~CHostUnit() override {
    for (int key : g_destroyed) {
      CTmxElementAddressAndTUV* pUnit = this;
      EXPECT_TRUE(g_pReleasedMap->Lookup(key, pUnit) && pUnit == nullptr) << "the value of a destroyed unit";
    }
    g_destroyed.push_back(m_nElementAddress);
  }
};

TEST(UnitMapTest, DeleteMapObjectDestroysInTheMapsOrderAndNullsEachValue) {
  CTmxParseEngine engine(CString(_T("x")), nullptr, nullptr);
  TmxUnitMap* pMap = nullptr;
  engine.DeleteMapObject(pMap);
  engine.CreateMapObject(pMap);
  TmxUnitMap* const pSame = pMap;
  g_pReleasedMap = pMap;
  for (int key : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0, 17}) {
    CHostUnit* pUnit = key == 4 ? nullptr : new CHostUnit;  // a null unit is skipped
    if (pUnit) pUnit->m_nElementAddress = key;
    (*pMap)[key] = pUnit;
  }
  engine.DeleteMapObject(pMap);
  EXPECT_EQ(g_destroyed, (std::vector<int>{17, 0, 8, 5, 2, 10, 7, 1, 9, 6, 3}));
  EXPECT_EQ(pMap, pSame);
  EXPECT_TRUE(pMap->IsEmpty());
  EXPECT_EQ(pMap->GetHashTableSize(), 17u);
  delete pMap;
}

TEST(UnitTest, CopiesShareTheListAndDeleteIsIdempotent) {
  CTmxElementAddressAndTUV unit;
  EXPECT_EQ(unit.m_nElementAddress, -1);
  unit.Delete();
  unit.m_nElementAddress = 7;
  unit.m_pTuvList = new TmxTuvList;
  CTmxElementAddressAndTUV copy(unit);
  EXPECT_EQ(copy.m_nElementAddress, 7);
  EXPECT_EQ(copy.m_pTuvList, unit.m_pTuvList);
  copy.m_pTuvList = nullptr;  // only one owner may destroy the shared list
  unit.Delete();
  unit.Delete();
  EXPECT_EQ(unit.m_pTuvList, nullptr);
}

TEST(UnitArrayTest, LookupFindsTheLowestIndexAndTheArrayOwnsItsUnits) {
  CTmxElementAddressAndTUVArray array;
  EXPECT_EQ(array.Lookup(3), -1);
  for (int key : {5, 3, 3}) {
    auto* pUnit = new CTmxElementAddressAndTUV;
    pUnit->m_nElementAddress = key;
    pUnit->m_pTuvList = new TmxTuvList;
    array.Add(pUnit);
  }
  array.InsertAt(0, static_cast<CTmxElementAddressAndTUV*>(nullptr));
  EXPECT_EQ(array.Lookup(3), 2);
  EXPECT_EQ(array.Lookup(4), -1);
}  // the sanitizer build checks that the units and lists are freed

TEST(UnitArrayTest, SerializeStoresCountAndRawPointersAndShortArchiveRaises) {
  CArray<CTmxElementAddressAndTUV*, CTmxElementAddressAndTUV*> out;
  CTmxElementAddressAndTUV a, b;
  out.Add(&a);
  out.Add(&b);
  CMemFile file;
  {
    CArchive ar(&file, CArchive::store);
    out.Serialize(ar);
  }
  EXPECT_EQ(file.GetLength(), 2u + 2 * sizeof(void*));
  file.SeekToBegin();
  CArray<CTmxElementAddressAndTUV*, CTmxElementAddressAndTUV*> in;
  {
    CArchive ar(&file, CArchive::load);
    in.Serialize(ar);
  }
  ASSERT_EQ(in.GetSize(), 2);
  EXPECT_EQ(in[0], &a);
  EXPECT_EQ(in[1], &b);

  BYTE shortArchive[] = {3, 0, 1, 2, 3};
  CMemFile cut(shortArchive, sizeof shortArchive);
  CArchive ar(&cut, CArchive::load);
  try {
    in.Serialize(ar);
    ADD_FAILURE() << "no exception";
  } catch (CArchiveException* e) {
    EXPECT_EQ(e->m_cause, CArchiveException::endOfFile);
    e->Delete();
  }
}

TEST(VariantTest, DumpWritesLanguageTabAndQuotedSegment) {
  ParsedTmx tmx(Tmx("\n<tu><tuv lang='en'><note>n</note><seg>Hello</seg></tuv><tuv><seg/></tuv></tu>"));
  UnitMap map(tmx.engine);
  tmx.engine.CreateMultilingualDataStructures(*map);
  CMemFile file;
  CDumpContext dc(&file);
  CTmxElementAddressAndTUV* pUnit = nullptr;
  ASSERT_TRUE(map.pMap->Lookup(0, pUnit));
  for (INT_PTR i = 0; i < pUnit->m_pTuvList->GetSize(); i++) (*pUnit->m_pTuvList)[i]->Dump(dc);
  std::basic_string<TCHAR> got(static_cast<size_t>(file.GetLength()) / 2, _T('\0'));
  file.SeekToBegin();
  file.Read(got.data(), static_cast<UINT>(file.GetLength()));
  EXPECT_EQ(got, _T("en:\t'Hello'\n:\t''\n"));
}

}  // namespace
