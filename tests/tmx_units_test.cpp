// The unit model and the two builders: keys, languages, notes, segment texts and ownership.
#include <gtest/gtest.h>

#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNodeList.hpp>

#include "tests/TmxTestSupport.h"

namespace {

using Variants = std::vector<std::string>;

const std::string kUnitA = "<tu><tuv lang='en'><seg>a</seg></tuv></tu>";
const std::string kUnitB = "<tu><tuv lang='en'><seg>b</seg></tuv></tu>";

// A document, the units that the bilingual builder files for a language pair, and those that
// the multilingual builder files. (Each read is checked against the streaming reader's too.)
const struct BuilderCase {
  const char* what;
  std::string document;
  LPCTSTR first, second;
  Units bilingual, multilingual;
} kBuilderCases[] = {
    {"bilingual keys count every node of the chain, multilingual keys count tu elements",
     Tmx("\n" + kUnitA + "\n<!-- c -->\n" + kUnitB + "\n"), _T("en"), _T("de"),
     {{0, {"en|a|"}}, {4, {"en|b|"}}}, {{0, {"en|a|"}}, {1, {"en|b|"}}}},
    {"units without variants use up keys",
     Tmx("\n<tu/><!-- c --><tu><note>n</note></tu>\n<tu><tuv lang='en'/></tu><tu><tuv lang='en'><seg>x</seg></tuv></tu>"),
     _T("en"), _T("de"), {{5, {"en|x|"}}}, {{3, {"en|x|"}}}},
    {"a body without leading whitespace keeps its first unit", Tmx(kUnitA + kUnitB), _T("en"), _T(""),
     {{0, {"en|a|"}}, {1, {"en|b|"}}}, {{0, {"en|a|"}}, {1, {"en|b|"}}}},
    {"the worked case",
     Tmx("\n<tu><note>N</note><tuv xml:lang='en'><seg>Hello</seg></tuv><tuv lang='de'><note>M</note><seg>Hallo</seg>"
         "</tuv></tu>\n<tu><tuv xml:lang='fr'><seg/></tuv></tu>\n"),
     _T("en"), _T("de"), {{0, {"en|Hello|N", "de|Hallo|N\n\nM"}}},
     {{0, {"en|Hello|N", "de|Hallo|N\n\nM"}}, {1, {"fr||"}}}},
    {"the pair is compared whole, ignoring ASCII case",
     Tmx("\n<tu><tuv xml:lang='EN-us'><seg>1</seg></tuv><tuv xml:lang='de-de'><seg>2</seg></tuv><tuv xml:lang='en'>"
         "<seg>3</seg></tuv><tuv xml:lang='de-AT'><seg>4</seg></tuv><tuv><seg>5</seg></tuv></tu>"),
     _T("en-US"), _T("de-DE"), {{0, {"EN-us|1|", "de-de|2|"}}},
     {{0, {"EN-us|1|", "de-de|2|", "en|3|", "de-AT|4|", "|5|"}}}},
    {"an empty pair keeps the variants without a language", Tmx("\n<tu><tuv lang='fr'><seg>6</seg></tuv><tuv><seg>5</seg></tuv></tu>"),
     _T(""), _T(""), {{0, {"|5|"}}}, {{0, {"fr|6|", "|5|"}}}},
    {"names match in any case, but the bilingual body's tag must be exact; lang sorts after XML:LANG",
     "<tmx><BODY>\n<TU><Note>n</Note><Tuv XML:LANG='en' lang='x'><SEG>s</SEG></Tuv></TU></BODY></tmx>",
     _T("en"), _T("x"), {}, {{0, {"x|s|n"}}}},
    {"only the first body is read", "<tmx><body>\n" + kUnitA + "</body><body>\n" + kUnitB + "</body></tmx>",
     _T("en"), _T("de"), {{0, {"en|a|"}}}, {{0, {"en|a|"}}}},
    {"the last non-empty note wins, and a note reaches only what follows it",
     Tmx("\n<tu><note>u1</note><note/><tuv lang='en'><seg>a</seg><note>late</note></tuv>"
         "<note>u2</note><tuv lang='de'><note>o1</note><note>o2</note><seg>b</seg></tuv></tu>"),
     _T("en"), _T("de"), {{0, {"en|a|u1", "de|b|u2\n\no2"}}}, {{0, {"en|a|u1", "de|b|u2\n\no2"}}}},
    {"a second seg of a variant has the merge applied twice",
     Tmx("\n<tu><note>U</note><tuv lang='en'><note>O</note><seg>a</seg><seg>b</seg></tuv></tu>"), _T("en"), _T("de"),
     {{0, {"en|a|U\n\nO", "en|b|U\n\nU\n\nO"}}}, {{0, {"en|a|U\n\nO", "en|b|U\n\nU\n\nO"}}}},
    {"an empty seg gives a variant to the multilingual builder only", Tmx("\n<tu><tuv lang='en'><seg/></tuv></tu>"),
     _T("en"), _T(""), {}, {{0, {"en||"}}}},
};

TEST(BuilderTest, KeysVariantsTextsAndNotesByEachRuleSet) {
  for (const BuilderCase& c : kBuilderCases) {
    EXPECT_EQ(BuiltUnits(c.document, c.first, c.second), c.bilingual) << c.what;
    EXPECT_EQ(BuiltUnits(c.document), c.multilingual) << c.what;
  }
}

TEST(BuilderTest, NoBodyOrNoDocument) {
  bool bResult = true;
  EXPECT_EQ(BuiltUnits("<tmx><header/></tmx>", _T("en"), _T("de"), &bResult), Units{});
  EXPECT_FALSE(bResult);
  BuiltUnits("<tmx><BODY/></tmx>", _T("en"), _T("de"), &bResult);
  EXPECT_FALSE(bResult);
  EXPECT_EQ(BuiltUnits("<tmx><header/></tmx>", nullptr, nullptr, &bResult), Units{});
  EXPECT_TRUE(bResult);

  CTmxParseEngine engine(CString(_T("unparsed.tmx")), nullptr, nullptr);
  UnitMap map(engine);
  EXPECT_FALSE(engine.CreateDataStructures(*map));
  EXPECT_FALSE(engine.CreateMultilingualDataStructures(*map));
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
    EXPECT_EQ(BuiltUnits(Tmx(body), _T("en"), _T(""))[0], Variants{std::string("en|") + c.bilingual + "|"}) << c.seg;
    EXPECT_EQ(BuiltUnits(Tmx(body))[0], Variants{std::string("en|") + c.multilingual + "|"}) << c.seg;
  }
}

// A map is filled as it stands: a second build adds each variant again, a key the host filed as
// null takes nothing, a unit the host emptied with Delete gets a fresh list.
TEST(FilingTest, BuildsAddToWhatTheMapHolds) {
  ParsedTmx tmx(Tmx("\n" + kUnitA + "\n" + kUnitB + "\n" + kUnitB));
  UnitMap map(tmx.engine);
  (*map)[0] = nullptr;
  (*map)[1] = new CTmxElementAddressAndTUV;
  (*map)[1]->m_nElementAddress = 1;
  tmx.engine.CreateMultilingualDataStructures(*map);
  tmx.engine.CreateMultilingualDataStructures(*map);
  EXPECT_EQ(map.Units(), (Units{{0, {}}, {1, {"en|b|", "en|b|"}}, {2, {"en|b|", "en|b|"}}}));
}

TEST(FilingTest, TagsOnTuElementsOnlyStayReadableAndAReparseLeavesTheDocumentWhole) {
  ParsedTmx tmx(Tmx("\n" + kUnitA + "\n" + kUnitB + "\n" + kUnitA + "\n"));
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

TEST(UnitArrayTest, SerializeStoresTheCountAndRawPointers) {
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
  EXPECT_TRUE(in.GetSize() == 2 && in[0] == &a && in[1] == &b);
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
