// The text of a segment as a translator reads it (plain) and as XML (markup), the units those
// modes read, language ranges, and the pairs that parallel text is made of.
#include <gtest/gtest.h>

#include "quillon/TmxPairs.h"
#include "tests/TmxTestSupport.h"

namespace {

using TextMode = CTmxUnitReader::TextMode;

// Each unit read in mode as "key tuid: language|segment, ...", the tuid "-" when there is none.
std::vector<std::string> ReadUnits(const std::string& tmx, TextMode mode, LPCTSTR pszFirst = nullptr,
                                   LPCTSTR pszSecond = nullptr) {
  MemoryTmx source(tmx);
  auto reader = pszFirst ? std::make_unique<CTmxUnitReader>(CString(pszFirst), CString(pszSecond), mode)
                         : std::make_unique<CTmxUnitReader>(mode);
  reader->Open(&source.file);
  std::vector<std::string> units;
  while (reader->ReadNextUnit()) {
    LPCTSTR pszId = reader->GetUnitId();
    std::string unit = std::to_string(reader->GetKey()) + " " + (pszId ? Utf8(pszId) : "-") + ":";
    for (INT_PTR i = 0; i < reader->GetVariantCount(); i++)
      unit += (i ? ", " : " ") + Utf8(reader->GetVariant(i).m_strLanguage) + "|" + Utf8(reader->GetVariant(i).m_strSegment);
    units.push_back(unit);
  }
  return units;
}

const std::string kEntities = "<!DOCTYPE tmx [<!ENTITY brand 'Lumen'>]>";

// The text of one seg with the given content.
std::string SegmentText(const std::string& content, TextMode mode, const std::string& prolog = kEntities) {
  MemoryTmx source(prolog + "<tmx><body><tu><tuv lang='en'><seg>" + content + "</seg></tuv></tu></body></tmx>");
  CTmxUnitReader reader(mode);
  reader.Open(&source.file);
  EXPECT_TRUE(reader.ReadNextUnit());
  return Utf8(reader.GetVariant(0).m_strSegment);
}

TEST(SegmentTextTest, PlainIsTheSentenceAndMarkupParsesBackToTheSameSegment) {
  const struct {
    const char* content;
    const char* plain;
  } cases[] = {
      {"Click <bpt i=\"1\">{\\b </bpt>Save<ept i=\"1\">}</ept> to keep <ph x=\"2\">&lt;br/&gt;</ph>your work.",
       "Click Save to keep your work."},
      {"<hi type='term'>Lumen</hi> starts", "Lumen starts"},
      {"a<ph x='1'>code<sub>alt text</sub></ph>b", "ab"},
      {"<bpt i='1'>&lt;b></bpt>bold <hi>and <ept i='1'>&lt;/b></ept>term</hi>", "bold and term"},
      {"<it pos='begin'>&lt;i></it>start", "start"},
      {"end<ut>{\\f1}</ut>", "end"},
      {"<ph x='1'/><bpt i='2'>x</bpt><ept i='2'>y</ept>", ""},
      {"", ""},
      {"<BPT i='1'>{</BPT>Up<Ept i='1'>}</Ept><pH/>", "Up"},
      {"<![CDATA[a < b]]> &amp; <ph><![CDATA[<x/>]]>&amp;</ph>c &#x263A; &brand;<ph>&brand;</ph>", "a < b & c \u263A Lumen"},
      {"line<ph type='lb'/>next<ph type='LB'>&lt;br></ph>third<it type='pb'/>x<ut type='cb'/>y<ph type='x-lb'/>z",
       "line\nnext\nthird\nx\nyz"},
      {"<g id='1'>kept</g> <x id='2'/><mrk mtype='term'>also</mrk><sub>, outside a code</sub>", "kept also, outside a code"},
      {"a<!-- c -->b<?pi data?>c&#13;d", "abc\rd"},
      {"<ph x='1' type=\"&quot;&#9;&#10;&#13;&lt;\">x</ph>&gt;]]&gt;", ">]]>"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.content);
    EXPECT_EQ(SegmentText(c.content, TextMode::Plain), c.plain);
    const std::string markup = SegmentText(c.content, TextMode::Markup);
    EXPECT_EQ(SegmentText(markup, TextMode::Markup, ""), markup) << "the markup does not parse back to itself";
    EXPECT_EQ(SegmentText(markup, TextMode::Plain, ""), c.plain);
  }
  EXPECT_EQ(SegmentText("a<!--c--><ph x=\"1\"><!--c--></ph>&lt;<hi>&brand;</hi><![CDATA[&]]>", TextMode::Markup),
            "a<ph x=\"1\"/>&lt;<hi>Lumen</hi>&amp;");
}

TEST(SegmentTextTest, EveryEncodingGivesTheSameUnits) {
  const std::string body =
      "<tu tuid='\u65e5'><tuv xml:lang='ja'><seg>\u65e5<ph>&lt;b></ph>\u672c \U0001F600</seg></tuv></tu>";
  const std::string utf8 = "<?xml version='1.0'?><tmx><body>" + body + "</body></tmx>";
  for (TextMode mode : {TextMode::Plain, TextMode::Markup}) {
    const auto expected = ReadUnits(utf8, mode);
    ASSERT_EQ(expected.size(), 1u);
    EXPECT_EQ(ReadUnits("\xEF\xBB\xBF" + utf8, mode), expected);
    EXPECT_EQ(ReadUnits(Utf16(utf8), mode), expected);
    EXPECT_EQ(ReadUnits(Utf16(utf8, true), mode), expected);
  }
}

TEST(SegmentTextTest, PlainAndMarkupReadTheMultilingualUnitsInLanguageRanges) {
  const std::string tmx = Tmx(
      "<tu tuid='a'><note>n</note><tuv xml:lang='en-US'><seg>Hello</seg></tuv><tuv xml:lang='DE_de'><seg>Hallo</seg></tuv>"
      "<tuv lang='fr'><seg>Salut</seg></tuv></tu>"
      "<!-- between --><tu><tuv xml:lang='fr'><seg>Seul</seg></tuv></tu>\n"
      "<TU TUID='c'><tuv xml:lang='en'><seg/></tuv></TU>");
  EXPECT_EQ(ReadUnits(tmx, TextMode::Plain),
            (std::vector<std::string>{"0 a: en-US|Hello, DE_de|Hallo, fr|Salut", "1 -: fr|Seul", "2 c: en|"}));
  EXPECT_EQ(ReadUnits(tmx, TextMode::Markup, _T("en"), _T("de-DE")),
            (std::vector<std::string>{"0 a: en-US|Hello, DE_de|Hallo", "2 c: en|"}));
  EXPECT_EQ(ReadUnits(tmx, TextMode::Plain, _T("*"), _T("x")).size(), 3u);
  // Engine text keeps the builders' keys and exact languages.
  EXPECT_EQ(ReadUnits(tmx, TextMode::Engine, _T("en-us"), _T("de")), (std::vector<std::string>{"0 a: en-US|Hello"}));
}

// Every text but the builders' gives each seg of a variant the notes as the document has them:
// the unit's, then the variant's own, each once. The builders keep only the last of each, and
// merge them again into a later seg's.
TEST(SegmentTextTest, NotesAreTheDocumentsOwnInEveryTextButTheBuilders) {
  const std::string tmx = Tmx("<tu><note>U1</note><note>U2</note><tuv lang='en'><note>V</note><seg>a</seg><seg>b</seg>"
                              "</tuv><tuv lang='de'><seg>c</seg></tuv></tu>");
  auto notes = [&tmx](TextMode mode) {
    MemoryTmx source(tmx);
    CTmxUnitReader reader(mode);
    reader.Open(&source.file);
    std::vector<std::string> found;
    while (reader.ReadNextUnit())
      for (INT_PTR i = 0; i < reader.GetVariantCount(); i++) found.push_back(Utf8(reader.GetVariant(i).m_strNote));
    return found;
  };
  for (TextMode mode : {TextMode::Plain, TextMode::Markup})
    EXPECT_EQ(notes(mode), (std::vector<std::string>{"U1\n\nU2\n\nV", "U1\n\nU2\n\nV", "U1\n\nU2"}));
  EXPECT_EQ(notes(TextMode::Engine), (std::vector<std::string>{"U2\n\nV", "U2\n\nU2\n\nV", "U2"}));
}

TEST(LanguageRangeTest, BasicFilteringIgnoresCaseAndReadsUnderscoresAsHyphens) {
  const struct {
    LPCTSTR range, code;
    BOOL matches;
  } cases[] = {
      {_T("en"), _T("en"), TRUE},       {_T("en"), _T("en-US"), TRUE},     {_T("en"), _T("EN_gb"), TRUE},
      {_T("en-US"), _T("en-us"), TRUE}, {_T("en_us"), _T("EN-US"), TRUE},  {_T("en-US"), _T("en"), FALSE},
      {_T("en"), _T("eng"), FALSE},     {_T("en"), _T("e"), FALSE},        {_T("zh-Hant"), _T("zh-hant-TW"), TRUE},
      {_T("*"), _T("x-klingon"), TRUE}, {_T("*"), _T(""), TRUE},           {_T(""), _T(""), TRUE},
      {_T(""), _T("-en"), FALSE},       {_T("en"), _T(""), FALSE},         {_T("en-"), _T("en-"), TRUE},
  };
  for (const auto& c : cases)
    EXPECT_EQ(LanguageRangeMatches(c.range, c.code), c.matches) << Utf8(c.range) << " / " << Utf8(c.code);
}

// Ranges that overlap would give one variant's text on both sides of a pair: they make no pairs,
// and a selector given them all the same never takes one variant twice.
TEST(LanguageRangeTest, RangesThatOverlapCannotMakePairs) {
  const struct {
    LPCTSTR first, second;
    BOOL overlap;
  } cases[] = {
      {_T("en"), _T("en-US"), TRUE}, {_T("en-US"), _T("en"), TRUE}, {_T("*"), _T("de"), TRUE},
      {_T("en_us"), _T("EN-US"), TRUE}, {_T(""), _T(""), TRUE},      {_T("en"), _T("de"), FALSE},
      {_T("en"), _T("eng"), FALSE},     {_T("en"), _T(""), FALSE},   {_T("en-US"), _T("en-GB"), FALSE},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(LanguageRangesOverlap(c.first, c.second), c.overlap) << Utf8(c.first) << " / " << Utf8(c.second);
    EXPECT_EQ(CTmxPairSelector::CanPair(c.first, c.second, TextMode::Plain), !c.overlap) << Utf8(c.first);
  }
  // Engine text matches codes whole, ignoring case only.
  EXPECT_TRUE(CTmxPairSelector::CanPair(_T("en"), _T("en-US"), TextMode::Engine));
  EXPECT_FALSE(CTmxPairSelector::CanPair(_T("en-us"), _T("EN-US"), TextMode::Engine));
  MemoryTmx source(Tmx("<tu><tuv lang='en-US'><seg>alone</seg></tuv></tu>"));
  const CString en(_T("en")), enUS(_T("en-US"));
  CTmxUnitReader reader(en, enUS, TextMode::Plain);
  CTmxPairSelector pairs(en, enUS, TextMode::Plain);
  reader.Open(&source.file);
  ASSERT_TRUE(reader.ReadNextUnit());
  EXPECT_FALSE(pairs.Select(reader));
}

TEST(PairSelectorTest, OneSegmentPerRangeWhitespaceMadePlainRepeatsDropped) {
  const std::string tmx = Tmx(
      // the exact code first, though a longer one comes earlier; empty segments passed over
      "<tu><tuv lang='en-GB'><seg>colour</seg></tuv><tuv lang='EN'><seg>\t</seg></tuv><tuv lang='en'><seg>color</seg></tuv>"
      "<tuv lang='de'><seg>\n Farbe \u0085\u2028\u2029&#13;</seg></tuv></tu>"
      // no exact code: the first the range matches
      "<tu><tuv lang='en_GB'><seg>a  \u00A0b</seg></tuv><tuv lang='de-AT'><seg>x<ph>\n</ph>\ny</seg></tuv></tu>"
      // no German: skipped
      "<tu><tuv lang='en'><seg>alone</seg></tuv><tuv lang='de'><seg><ph>code only</ph></seg></tuv></tu>"
      // the first pair again, once its whitespace is plain
      "<tu><tuv lang='en'><seg> color</seg></tuv><tuv lang='de'><seg>Farbe</seg></tuv></tu>"
      // a run of whitespace inside
      "<tu><tuv lang='en'><seg>Farbe\t\tund</seg></tuv><tuv lang='de'><seg>color</seg></tuv></tu>");
  const CString en(_T("en")), de(_T("de"));
  auto select = [&](TextMode mode, BOOL bDedupe) {
    MemoryTmx source(tmx);
    CTmxUnitReader reader(en, de, mode);
    CTmxPairSelector pairs(en, de, mode, bDedupe);
    reader.Open(&source.file);
    std::vector<std::string> selected;
    while (reader.ReadNextUnit())
      if (pairs.Select(reader)) selected.push_back(Utf8(pairs.GetFirst()) + "|" + Utf8(pairs.GetSecond()));
    selected.push_back(std::to_string(pairs.GetSelectedCount()) + " " + std::to_string(pairs.GetSkippedCount()) + " " +
                       std::to_string(pairs.GetDuplicateCount()));
    return selected;
  };
  EXPECT_EQ(select(TextMode::Plain, TRUE),
            (std::vector<std::string>{"color|Farbe", "a \u00A0b|x y", "Farbe und|color", "3 1 1"}));
  EXPECT_EQ(select(TextMode::Plain, FALSE).size(), 5u);
  // Engine text: the builders' texts of exact languages, each break a space as export always wrote it.
  EXPECT_EQ(select(TextMode::Engine, FALSE),
            (std::vector<std::string>{"color|Farbe", "color|Farbe", "Farbe  und|color", "3 1 0"}));
}

}  // namespace
