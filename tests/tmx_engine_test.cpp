// CTmxParseEngine: input choice, language discovery and parse errors.
#include <gtest/gtest.h>

#include <xercesc/sax/SAXParseException.hpp>

#include "tests/Files.h"
#include "tests/TmxTestSupport.h"

namespace {

using Strs = std::vector<std::string>;

Strs Languages(const std::string& xml, bool* pResult = nullptr, Strs initial = {}) {
  MemoryTmx source(xml);
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
      {R"(</body><header><tuv lang="la"/></header><body>)", {"la"}},  // outside body too
  };
  for (const auto& c : cases) EXPECT_EQ(Languages(Tmx(c.body)), c.expected) << c.body;
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
  MemoryTmx source(Tmx(""));
  CTmxParseEngine engine(CString(), &source.file, nullptr);
  CStringArray languages;
  EXPECT_FALSE(engine.SearchTmxForLanguages(&languages));
  EXPECT_NE(engine.m_pDocument, nullptr);
  EXPECT_TRUE(engine.SearchTmxForLanguages(nullptr));
}

TEST(InputChoiceTest, MemoryFileWinsOverPathFromItsStartAndAnInvalidChoiceParsesNothing) {
  MemoryTmx source(Tmx(R"(<tu><tuv lang="fr"/></tu>)"));
  source.file.Seek(0, CFile::end);
  CTmxParseEngine both(CString(_T("ignored.tmx")), &source.file, nullptr);
  EXPECT_TRUE(both.m_strFilePath.IsEmpty());
  CStringArray languages;
  EXPECT_TRUE(both.SearchTmxForLanguages(&languages));
  EXPECT_EQ(source.file.GetPosition(), source.file.GetLength());

  CTmxParseEngine pathAdded(CString(), &source.file, nullptr);
  pathAdded.m_strFilePath = _T("x.tmx");
  EXPECT_FALSE(pathAdded.SearchTmxForLanguages(&languages));
  EXPECT_EQ(pathAdded.m_pDocument, nullptr);

  CTmxParseEngine neither(CString(), nullptr, nullptr);
  EXPECT_FALSE(neither.SearchTmxForLanguages(nullptr));
  EXPECT_EQ(languages.GetSize(), 1);
}

TEST(ParseErrorTest, MalformedDocumentRaisesWithItsLineAndLeavesStateAlone) {
  MemoryTmx good(Tmx(R"(<tu><tuv lang="fr"/></tu>)"));
  CTmxParseEngine engine(CString(), &good.file, nullptr);
  engine.SearchTmxForLanguages(nullptr);
  xercesc::DOMDocument* pBefore = engine.m_pDocument;

  MemoryTmx bad("<tmx>\n<body>\n<tu></tuv>\n</body></tmx>");
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
  const std::string path = Temp().Write("m\u00e9moire-\u7ffb\u8a33.tmx", Tmx(R"(<tu><tuv lang="fr"/></tu>)"));
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

}  // namespace
