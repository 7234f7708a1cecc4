// CTmxParseEngine: input choice, language discovery and parse errors.
#include <gtest/gtest.h>

#include <xercesc/sax/SAXParseException.hpp>

#include "tests/Platform.h"
#include "tests/TempFolder.h"
#include "tests/TmxTestSupport.h"

namespace {

std::vector<std::string> Strings(const CStringArray& a) {
  std::vector<std::string> v;
  for (INT_PTR i = 0; i < a.GetSize(); i++) v.push_back(Utf8(a[i]));
  return v;
}

using Strs = std::vector<std::string>;

struct Source {
  std::string text;
  CMemFile file;
  explicit Source(std::string t) : text(std::move(t)), file(reinterpret_cast<BYTE*>(text.data()), static_cast<UINT>(text.size())) {}
};

Strs Languages(const std::string& xml, bool* pResult = nullptr, Strs initial = {}) {
  Source source(xml);
  CTmxParseEngine engine(CString(), &source.file, nullptr);
  CStringArray languages;
  for (const auto& s : initial) languages.Add(CString(s.c_str()));
  const bool bResult = engine.SearchTmxForLanguages(&languages);
  if (pResult) *pResult = bResult;
  return Strings(languages);
}

TEST(LanguageSearchTest, SortsOrdinallyDeduplicatesAndReadsBothAttributes) {
  const struct { const char* body; Strs expected; } cases[] = {
      {R"(<tu><tuv lang="de-DE"/><tuv lang="fr"/><tuv lang="EN"/><tuv lang="en-US"/></tu>)",
       {"EN", "de-DE", "en-US", "fr"}},
      {R"(<tu><tuv lang="en-US" xml:lang="EN-us"/></tu>)", {"EN-us", "en-US"}},
      {R"(<tu><tuv lang="fr"/><tuv xml:lang="fr"/></tu><tu><tuv lang="fr"/></tu>)", {"fr"}},
      {R"(<tu><TUV lang="de"/><tuv lang=""/><tuv LANG="it"/></tu>)", {}},
  };
  for (const auto& c : cases) EXPECT_EQ(Languages(Tmx(c.body)), c.expected) << c.body;
}

TEST(LanguageSearchTest, VariantsOutsideBodyCountToo) {
  EXPECT_EQ(Languages(R"(<tmx><header><tuv lang="la"/></header><body/></tmx>)"), Strs{"la"});
}

TEST(LanguageSearchTest, AppendsAfterWhatTheArrayHeldAndResultSaysWhetherItHoldsAnything) {
  bool bResult = false;
  EXPECT_EQ(Languages(Tmx(R"(<tu><tuv lang="fr"/></tu>)"), &bResult, {"fr"}), (Strs{"fr", "fr"}));
  EXPECT_TRUE(bResult);
  EXPECT_EQ(Languages(Tmx("<tu/>"), &bResult), Strs{});
  EXPECT_FALSE(bResult);
  EXPECT_EQ(Languages(Tmx("<tu/>"), &bResult, {"de"}), Strs{"de"});
  EXPECT_TRUE(bResult);
}

TEST(LanguageSearchTest, DocumentWithoutVariantsIsStillKeptForTheBuilders) {
  Source source(Tmx(""));
  CTmxParseEngine engine(CString(), &source.file, nullptr);
  CStringArray languages;
  EXPECT_FALSE(engine.SearchTmxForLanguages(&languages));
  EXPECT_NE(engine.m_pDocument, nullptr);
  EXPECT_TRUE(engine.SearchTmxForLanguages(nullptr));
}

TEST(InputChoiceTest, MemoryFileWinsOverPathAndAnInvalidChoiceParsesNothing) {
  Source source(Tmx(R"(<tu><tuv lang="fr"/></tu>)"));
  CTmxParseEngine both(CString(_T("ignored.tmx")), &source.file, nullptr);
  EXPECT_TRUE(both.m_strFilePath.IsEmpty());
  CStringArray languages;
  EXPECT_TRUE(both.SearchTmxForLanguages(&languages));

  CTmxParseEngine pathAdded(CString(), &source.file, nullptr);
  pathAdded.m_strFilePath = _T("x.tmx");
  EXPECT_FALSE(pathAdded.SearchTmxForLanguages(&languages));
  EXPECT_EQ(pathAdded.m_pDocument, nullptr);

  CTmxParseEngine neither(CString(), nullptr, nullptr);
  EXPECT_FALSE(neither.SearchTmxForLanguages(nullptr));
  EXPECT_EQ(languages.GetSize(), 1);
}

TEST(InputChoiceTest, MemoryFileIsReadFromItsStartWhereverItStands) {
  Source source(Tmx(R"(<tu><tuv lang="fr"/></tu>)"));
  source.file.Seek(0, CFile::end);
  CTmxParseEngine engine(CString(), &source.file, nullptr);
  CStringArray languages;
  EXPECT_TRUE(engine.SearchTmxForLanguages(&languages));
  EXPECT_EQ(source.file.GetPosition(), source.file.GetLength());
}

TEST(InputChoiceTest, ReadsUtf8AndUtf16FilesWithByteOrderMarks) {
  const std::basic_string<TCHAR> text = _T("<tmx><body><tu><tuv lang=\"\u00e5\"/></tu></body></tmx>");
  std::string utf16 = "\xFF\xFE";
  for (TCHAR c : text) utf16 += {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
  const std::string utf8 = "\xEF\xBB\xBF" + std::string(CW2A(text.c_str()));
  EXPECT_EQ(Languages(utf16), Strs{"\u00e5"});
  EXPECT_EQ(Languages(utf8), Strs{"\u00e5"});
}

TEST(ParseErrorTest, MalformedDocumentRaisesWithItsLineAndLeavesStateAlone) {
  Source good(Tmx(R"(<tu><tuv lang="fr"/></tu>)"));
  CTmxParseEngine engine(CString(), &good.file, nullptr);
  engine.SearchTmxForLanguages(nullptr);
  xercesc::DOMDocument* pBefore = engine.m_pDocument;

  Source bad("<tmx>\n<body>\n<tu></tuv>\n</body></tmx>");
  engine.m_pMemFile = &bad.file;
  CStringArray languages;
  languages.Add(_T("keep"));
  try {
    engine.SearchTmxForLanguages(&languages);
    ADD_FAILURE() << "no exception";
  } catch (const xercesc::SAXParseException& e) {
    EXPECT_EQ(e.getLineNumber(), 3u);
  }
  EXPECT_EQ(engine.m_pDocument, pBefore);
  EXPECT_EQ(Strings(languages), Strs{"keep"});
}

TEST(InputChoiceTest, PathWithNonAsciiLettersReachesTheParserUnchanged) {
  const std::string path = Temp().Path("m\u00e9moire-\u7ffb\u8a33.tmx");
  ASSERT_TRUE(WriteNamedFile(path, Tmx(R"(<tu><tuv lang="fr"/></tu>)")));
  CTmxParseEngine engine(CString(path.c_str()), nullptr, nullptr);
  CStringArray languages;
  EXPECT_TRUE(engine.SearchTmxForLanguages(&languages));
  EXPECT_EQ(Strings(languages), Strs{"fr"});
}

TEST(ParseErrorTest, MissingFileRaisesTheParsersException) {
  CTmxParseEngine engine(CString(_T("no/such/file.tmx")), nullptr, nullptr);
  EXPECT_THROW(engine.SearchTmxForLanguages(nullptr), xercesc::SAXParseException);
  EXPECT_EQ(engine.m_pDocument, nullptr);
}

TEST(CleanLanguagesTest, EmptiesTheArrayAndAcceptsNull) {
  CStringArray languages;
  languages.Add(_T("fr"));
  CTmxParseEngine engine(CString(_T("x")), nullptr, nullptr);
  EXPECT_TRUE(engine.CleanLanguages(&languages));
  EXPECT_EQ(languages.GetSize(), 0);
  EXPECT_TRUE(engine.CleanLanguages(nullptr));
}

}  // namespace
