// The streaming unit reader: for every document, the units, keys, variants and texts that the
// builders file, and the languages that the engine lists; then what only a stream does.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <stdexcept>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/BinInputStream.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "tests/Files.h"
#include "tests/fuzz/FuzzSupport.h"
#include "tests/TmxTestSupport.h"

namespace {

using Texts = std::vector<std::string>;

Texts EngineLanguages(const std::string& text) {
  MemoryTmx source(text);
  CTmxParseEngine engine(CString(), &source.file, nullptr);
  CStringArray languages;
  engine.SearchTmxForLanguages(&languages);
  return Strings(languages);
}

Texts StreamedLanguages(const std::string& text) {
  MemoryTmx source(text);
  CTmxUnitReader reader;
  reader.Open(&source.file);
  CStringArray languages;
  reader.ReadLanguages(&languages);
  return Strings(languages);
}

// Both rule sets (BuiltUnits compares the stream with the builders) and the language list.
void ExpectStreamAsDom(const std::string& text) {
  SCOPED_TRACE(text.size() > 300 ? text.substr(0, 300) + "..." : text);
  for (auto [first, second] : {std::pair{_T("en"), _T("de")}, std::pair{_T(""), _T("")}, std::pair{_T("DE"), _T("x")}})
    BuiltUnits(text, first, second);
  BuiltUnits(text);
  EXPECT_EQ(StreamedLanguages(text), EngineLanguages(text));
}

const std::string kBig(70000, 'w');  // longer than the scanner's buffer: delivered in pieces

// A body after a document type declaration.
std::string Typed(const std::string& doctype, const std::string& body) { return doctype + "<tmx><body>" + body + "</body></tmx>"; }

// What a stream does not see as the DOM does: merged text, entities, attribute order and
// defaults, CDATA, PIs named like TMX elements, the two ways to find body.
TEST(StreamAsDomTest, DocumentsThatAStreamSeesDifferently) {
  const std::string unit = "<tu><tuv lang='en'><seg>s</seg></tuv></tu>";
  const std::string entities =
      "<!DOCTYPE tmx [<!ENTITY u \"" + std::string("<tu><tuv lang='de'><seg>e</seg></tuv></tu>") +
      "\"><!ENTITY sp \" \n\"><!ENTITY mix \"a<!--c-->b\"><!ENTITY nothing \"\">"
      "<!ATTLIST tuv lang CDATA 'fr'><!ATTLIST seg xml:lang CDATA 'it'>]>";
  const std::string cases[] = {
      // text merged across pieces, character references and entities
      Tmx("\n" + unit + kBig + unit + "&#32;&amp;\n" + unit),
      Tmx("\n<tu><tuv lang='en'><seg>" + kBig + "&#x41;&lt;" + kBig + "</seg></tuv></tu>"),
      Typed(entities, "&sp;" + unit + "&sp;&u;\n&u;&mix;" + unit),
      Typed(entities, "&nothing;&u;" + unit),  // the body's first node is a unit then
      Typed(entities, "\n<tu><tuv><seg>&mix;</seg></tuv><tuv xml:lang='en'><seg>x&sp;y</seg></tuv></tu>"),
      // attribute order and defaults
      Tmx("\n<tu><tuv xml:lang='en' lang='de'><seg>1</seg></tuv><tuv lang='de' XML:LANG='en'><seg>2</seg></tuv>"
          "<tuv Lang='en' lang='de' xml:Lang='x'><seg>3</seg></tuv></tu>"),
      // CDATA sections as nodes of their own
      Tmx("<![CDATA[lead]]>" + unit + "<![CDATA[]]>" + unit),
      Tmx("\n<tu><tuv lang='en'><seg><![CDATA[a]]>b<![CDATA[]]></seg></tuv><tuv lang='de'><seg>x<![CDATA[" +
          kBig + "]]></seg></tuv></tu>"),
      // segment texts: first child, last value, content
      Tmx("\n<tu><tuv lang='en'><seg>a<b>x</b><!--c--></seg><seg>ax<?p x?></seg><seg><?p d?>t<i/></seg>"
          "<seg><b/>t</seg><seg><!--c--></seg></tuv></tu>"),
      // nodes named like TMX elements that are not elements
      Tmx("\n<tu><?note pi note?><tuv lang='en'><?note own?><?seg x?><seg>s</seg><?tuv?></tuv><?tuv?></tu>"
          "<?tu?>" + unit),
      // notes with markup, a second seg, notes after what they might reach
      Tmx("\n<tu><note>u<b>1</b><![CDATA[2]]><!--no--></note><tuv lang='en'><note>o<?p?></note><seg>a</seg>"
          "<seg>b</seg><note>late</note></tuv><note/><tuv lang='de'><seg>c</seg></tuv></tu>"),
      // where body is, and which bodies are read
      "<body>\n" + unit + "</body>",
      "<tmx><header><body>\n" + unit + "</body></header><BODY>\n" + unit + unit + "</BODY><body>" + unit + "</body></tmx>",
      "<tmx><a><body>" + unit + "</body></a></tmx>",
      "<tmx><body/></tmx>",
      "<?p?><!--c--><tmx><!--c--><body><!--c--><?p?>" + unit + "<?p?><tu/>\n<TU><Tuv LANG='EN'><SEG>t</SEG></Tuv></TU></body></tmx>",
      // units within units, text-only units, whitespace a DTD calls ignorable
      Tmx("\n<tu><tu><tuv lang='en'><seg>inner</seg></tuv></tu>text</tu>\n<tu>only text</tu>" + unit),
      Typed("<!DOCTYPE tmx [<!ELEMENT body (tu*)><!ELEMENT tu (tuv*)>]>", "\n  " + unit + "\n  " + unit + "\n"),
      // UTF-16 with a byte-order mark, as Trados writes it, without a DTD
      Utf16(Tmx("\n" + unit + "<tu><tuv xml:lang='de'><seg>\u00c4 \u65e5</seg></tuv></tu>")),
      // a DTD wherever the prolog has one (read with the scanner that honours it)
      "<?xml version='1.0'?><!-- <!DOCTYPE x> --><?p <!DOCTYPE?>\n" + Typed(entities, "&u;"),
      Utf16(Typed(entities, "&u;")),
      "<!--" + std::string(20000, '.') + "-->" + Typed(entities, "&u;"),
      // languages: variants anywhere, exact names only
      "<tmx><header><tuv lang='la'/><TUV lang='xx'/></header><body><x><tuv xml:lang='EN' lang='en'/></x></body></tmx>",
  };
  for (const std::string& text : cases) ExpectStreamAsDom(text);
  for (const char* path : {QUILLON_EXAMPLES "/sample.tmx", QUILLON_SOURCE "/tests/fuzz/seeds/units.tmx"})
    ExpectStreamAsDom(ReadFile(path));
}

TEST(StreamTest, UnitsBeforeAParseErrorAreDeliveredThenTheParsersException) {
  MemoryTmx source(Tmx("\n<tu><tuv lang='en'><seg>a</seg></tuv></tu>\n<tu><tuv lang='en'><seg>b</seg></tuv></tu>") +
                   "\n<tu></tuv>");
  CTmxUnitReader reader;
  reader.Open(&source.file);
  for (int nKey : {0, 1}) EXPECT_TRUE(reader.ReadNextUnit() && reader.GetKey() == nKey);
  try {
    reader.ReadNextUnit();
    ADD_FAILURE() << "no exception";
  } catch (const xercesc::SAXParseException& e) {
    EXPECT_EQ(e.getLineNumber(), 4u);
  }
  EXPECT_FALSE(reader.ReadNextUnit());  // the read has ended
}

// Found by fuzzing: errors before the first character, which a progressive parse raises its own
// way, what only the DOM refuses (a document type without a subset, which SAX2 does not report),
// and a parser that stops at the bytes before a bad one without asking for more.
TEST(StreamTest, ErrorsReadAsTheEnginesDo) {
  for (const char* text : {"<?xml v\xe2n>", "<?xml version=\"1.0-\"?><tmx/>", "<!DOCTYPE a: []><a:/>x", "<!DOCTYPE :>",
                           "<tmx>\n<body>\n<tu></tuv>", ""}) {
    const std::string engine = FailureOf([&] { EngineLanguages(text); });
    EXPECT_NE(engine, "") << text;
    EXPECT_EQ(FailureOf([&] { StreamedUnits(text); }), engine) << text;
  }
  const std::string stopsAtABadByte = ReadFile(QUILLON_SOURCE "/tests/fuzz/seeds/badbyte-in-declaration.tmx");
  EXPECT_EQ(FailureOf([&] { EngineLanguages(stopsAtABadByte); }), FailureOf([&] { StreamedUnits(stopsAtABadByte); }));
}

// A second Open starts over, also in the middle of a unit (showing no unit until it reads one),
// and ReadUnits then hands each unit its own variants only.
TEST(StreamTest, PathMemoryFileAndInputSourceGiveTheSameUnitsAndReopeningStartsOver) {
  std::string text = ReadFile(QUILLON_EXAMPLES "/sample.tmx");
  const std::string path = Temp().Write("sample.tmx", text);  // a path a Windows program can open
  CTmxUnitReader reader;
  reader.Open(CString(path.c_str()));
  const Units fromPath = CollectUnits(reader, ReadStyle::kStep);
  ASSERT_EQ(fromPath.size(), 12u);

  CMemFile file(reinterpret_cast<BYTE*>(text.data()), static_cast<UINT>(text.size()));
  file.Seek(0, CFile::end);  // read from its start all the same
  reader.Open(&file);
  ASSERT_TRUE(reader.ReadNextUnit());
  reader.Open(&file);
  EXPECT_EQ(reader.GetVariantCount(), 0);  // nothing shown before the first read
  EXPECT_EQ(reader.GetUnitId(), nullptr);
  EXPECT_EQ(CollectUnits(reader, ReadStyle::kPush), fromPath);

  xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()), text.size(), "sample");
  reader.Open(source);
  EXPECT_EQ(CollectUnits(reader, ReadStyle::kStep), fromPath);
}

// A source whose streams give nGood spaces, then fail; it counts its live streams.
class FailingSource : public xercesc::InputSource {
 public:
  static inline int nLiveStreams = 0;
  explicit FailingSource(size_t nGood) : m_nGood(nGood) {}
  xercesc::BinInputStream* makeStream() const override {
    struct Stream : xercesc::BinInputStream {
      size_t nLeft;
      explicit Stream(size_t n) : nLeft(n) { nLiveStreams++; }
      ~Stream() override { nLiveStreams--; }
      XMLFilePos curPos() const override { return 0; }
      XMLSize_t readBytes(XMLByte* const pToFill, const XMLSize_t nMax) override {
        if (nLeft == 0) throw std::runtime_error("the disk is gone");
        const size_t n = std::min(nMax, nLeft);
        std::fill_n(pToFill, n, ' ');
        nLeft -= n;
        return n;
      }
      const XMLCh* getContentType() const override { return nullptr; }
    };
    return new Stream(m_nGood);
  }

 private:
  size_t m_nGood;
};

TEST(StreamTest, ReadsWhoseInputFailsGiveBackTheirStreamAndFile) {
  for (size_t nGood : {size_t(0), size_t(100), size_t(30000)}) {  // within the first look at the input, and after
    for (ReadStyle style : {ReadStyle::kStep, ReadStyle::kPush}) {
      {
        FailingSource source(nGood);
        CTmxUnitReader reader;
        reader.Open(source);
        EXPECT_THROW(style == ReadStyle::kStep ? reader.ReadNextUnit() : reader.ReadLanguages(nullptr), std::runtime_error);
      }
      EXPECT_EQ(FailingSource::nLiveStreams, 0) << nGood << " good bytes";
    }
  }
#if !defined(_WIN32)  // here a folder opens as a file, which fails at its first read
  auto openDescriptors = [] {
    const auto entries = std::filesystem::directory_iterator("/proc/self/fd");
    return std::distance(entries, std::filesystem::directory_iterator());
  };
  const std::string folder = Temp().Path("folder");
  std::filesystem::create_directory(folder);
  const auto nBefore = openDescriptors();
  CTmxUnitReader reader;
  for (int i = 0; i < 20; i++) {
    reader.Open(CString(folder.c_str()));
    EXPECT_ANY_THROW(reader.ReadNextUnit());
  }
  EXPECT_EQ(openDescriptors(), nBefore);
#endif
}

// Whatever the document, the host's settings of GetParser() apply: here namespaces, which make an
// undeclared prefix an error, and the refusal of external entities, across documents of both kinds.
TEST(StreamTest, TheHostsParserSettingsApplyToEveryDocument) {
  using xercesc::XMLUni;
  const std::string secret = Temp().Write("secret.txt", "s3cret");
  const std::string prefixed = Tmx("\n<tu><tuv lang='en'><x:seg>a</x:seg></tuv></tu>");
  const std::string external = "<!DOCTYPE tmx [<!ENTITY x SYSTEM \"" + secret + "\">]>" + Tmx("\n<tu><tuv lang='en'><seg>&x;</seg></tuv></tu>");
  CTmxUnitReader reader;
  reader.GetParser()->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  reader.GetParser()->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
  for (const std::string* pText : {&prefixed, &external, &prefixed, &external}) {
    MemoryTmx source(*pText);
    reader.Open(&source.file);
    EXPECT_THROW(reader.ReadNextUnit(), xercesc::SAXParseException) << *pText;
  }
  EXPECT_TRUE(reader.GetParser()->getFeature(XMLUni::fgSAX2CoreNameSpaces));
  EXPECT_TRUE(reader.GetParser()->getFeature(XMLUni::fgXercesDisableDefaultEntityResolution));
}

}  // namespace
