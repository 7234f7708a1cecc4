// Bad and hostile input through the library: every case ends in the parser's exception or in a
// result, in bounded time and memory; never in a crash, a hang or a leak (the sanitizer build
// checks the last).
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include "quillon/GenXMLInterface.h"
#include "quillon/PackedImage.h"
#include "tests/Compression.h"
#include "tests/Files.h"
#include "tests/TmxTestSupport.h"

namespace {

using xercesc::SAXParseException;

// Reads a TMX text the way a host does: languages, then both builders. Returns the languages.
std::vector<std::string> ReadTmx(const std::string& text, const std::function<void(CTmxParseEngine&)>& configure = {}) {
  MemoryTmx source(text);
  CTmxParseEngine engine(CString(), &source.file, nullptr);
  if (configure) configure(engine);
  CStringArray languages;
  engine.SearchTmxForLanguages(&languages);
  engine.m_strFirstLanguage = languages.GetSize() ? languages[0] : CString();
  UnitMap bilingual(engine), multilingual(engine);
  engine.CreateDataStructures(*bilingual);
  engine.CreateMultilingualDataStructures(*multilingual);
  return Strings(languages);
}

// Sizes and packs an XML text; the image never exceeds the size and holds every counted record.
int PackXml(const std::string& text, const std::function<void(CGenXMLInterface&)>& configure = {}) {
  CGenXMLInterface xml(CString(Temp().Write("input.xml", text).c_str()), 0, CString());
  if (configure) configure(xml);
  int nSize = 0;
  const int nNodes = xml.PreParseForSize(nSize);
  std::vector<unsigned char> buffer(static_cast<size_t>(nSize));
  EXPECT_TRUE(xml.ParseFileAndPackToMemory(buffer.data()));
  EXPECT_EQ(quillon::ReadPackedImage(buffer.data(), buffer.size(), static_cast<size_t>(nNodes)).records.size(),
            static_cast<size_t>(nNodes));
  return nNodes;
}

TEST(HostileInputTest, TruncatedDocumentsRaiseTheParsersException) {
  const std::string tmx = ReadFile(QUILLON_EXAMPLES "/sample.tmx");
  const std::string xml = ReadFile(QUILLON_EXAMPLES "/sample.xml");
  ASSERT_FALSE(tmx.empty());
  for (size_t cut = 0; cut < tmx.size() - 8; cut += 97) EXPECT_THROW(ReadTmx(tmx.substr(0, cut)), SAXParseException) << cut;
  for (size_t cut = 0; cut < xml.size() - 2; cut += 61) EXPECT_THROW(PackXml(xml.substr(0, cut)), SAXParseException) << cut;
  EXPECT_EQ(ReadTmx(tmx).size(), 4u);
}

TEST(HostileInputTest, MalformedBytesAndStructureRaise) {
  const char* const cases[] = {
      "<?xml version=\"1.0\" encoding=\"no-such\"?><tmx/>",
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?><tmx>\xff\xfe</tmx>",
      "<tmx>\x01</tmx>",
      "<tmx><a/><b/></tmx><tmx/>",
      "<tmx><body><tu></tmx>",
      "<tmx><body></tu></body></tmx>",
      "<!DOCTYPE a [<!ENTITY x \"&y;\"><!ENTITY y \"&x;\">]><a>&x;</a>",
      "",
  };
  for (const char* text : cases) {
    EXPECT_THROW(ReadTmx(text), SAXParseException) << text;
    EXPECT_THROW(PackXml(text), SAXParseException) << text;
  }
  EXPECT_THROW(ReadTmx(std::string("<tmx>a\0b</tmx>", 14)), SAXParseException);
}

// Found by fuzzing: the DOM refuses to record such a version, and its exception reaches the host.
TEST(HostileInputTest, VersionTheDomRefusesRaisesItsException) {
  const char text[] = "<?xml version=\"1.0-\"?><tmx/>";
  EXPECT_THROW(ReadTmx(text), xercesc::DOMException);
  EXPECT_THROW(PackXml(text), xercesc::DOMException);
}

TEST(HostileInputTest, TenMegabyteAttributeValueIsJustAValue) {
  const std::string value(10 << 20, 'x');
  EXPECT_EQ(ReadTmx("<tmx><body><tu><tuv lang=\"" + value + "\"><seg>s</seg></tuv></tu></body></tmx>"),
            std::vector<std::string>{value});
  EXPECT_EQ(PackXml("<a v=\"" + value + "\"/>"), 4);
}

std::string Nested(const std::string& open, const std::string& close, const std::string& inner, int depth = 200000) {
  std::string text;
  text.reserve((open.size() + close.size()) * depth + inner.size());
  for (int i = 0; i < depth; i++) text += open;
  text += inner;
  for (int i = 0; i < depth; i++) text += close;
  return text;
}

TEST(HostileInputTest, TwoHundredThousandNestedElementsAreReadWithoutExhaustingTheStack) {
  const std::string units = "<tmx><body>\n" + Nested("<tu>", "</tu>", "<tuv lang='en'><seg>s</seg></tuv>") + "</body></tmx>";
  EXPECT_EQ(ReadTmx(units), std::vector<std::string>{"en"});
  const std::string seg = "<tmx><body>\n<tu><note>" + Nested("<b>", "</b>", "n") + "</note><tuv lang='en'><seg>a" +
                          Nested("<b>", "</b>", "deep") + "</seg></tuv></tu></body></tmx>";
  ParsedTmx parsed(seg);
  parsed.engine.m_strFirstLanguage = _T("en");
  UnitMap map(parsed.engine);
  parsed.engine.CreateDataStructures(*map);
  EXPECT_EQ(map.Units()[0], std::vector<std::string>{"en|adeep|n"});
  EXPECT_EQ(PackXml(Nested("<e>", "</e>", "")), 200002);
}

TEST(HostileInputTest, ExpandingEntitiesAreStoppedByAHostsSecurityManager) {
  std::string doctype = "<!DOCTYPE tmx [<!ENTITY a0 \"lol\">";
  for (int i = 1; i < 10; i++) {
    doctype += "<!ENTITY a" + std::to_string(i) + " \"";
    for (int k = 0; k < 10; k++) doctype += "&a" + std::to_string(i - 1) + ";";
    doctype += "\">";
  }
  doctype += "]>";
  xercesc::SecurityManager securityManager;
  EXPECT_THROW(ReadTmx(doctype + "<tmx><body>&a9;</body></tmx>",
                       [&](CTmxParseEngine& e) { e.m_parser.setSecurityManager(&securityManager); }),
               SAXParseException);
  EXPECT_THROW(PackXml(doctype + "<tmx>&a9;</tmx>",
                       [&](CGenXMLInterface& x) { x.GetParser()->setSecurityManager(&securityManager); }),
               SAXParseException);
}

// What each way of reading makes of a document under the safe settings: the engine and its map,
// the packer, and the stream with one parser (unit by unit, all at once, both) and in pieces, and
// for its languages. Each gives the failure (empty when it read to the end) and the units read.
std::map<std::string, std::pair<std::string, size_t>> ReadEveryWay(const std::string& document) {
  const CString path(Temp().Write("every-way.tmx", document).c_str());
  std::map<std::string, std::pair<std::string, size_t>> outcomes;
  auto& engine = outcomes["engine"];
  engine.first = FailureOf([&] {
    CTmxParseEngine tmx(path, nullptr, nullptr);
    Safety().Apply(&tmx.m_parser);
    tmx.SearchTmxForLanguages(nullptr);
    UnitMap map(tmx);
    tmx.CreateMultilingualDataStructures(*map);
    engine.second = static_cast<size_t>(map.pMap->GetCount());
  });
  outcomes["packer"].first = FailureOf([&] {
    CGenXMLInterface xml(path, 0, CString());
    Safety().Apply(xml.GetParser());
    int nSize = 0;
    xml.PreParseForSize(nSize);
  });
  for (ReadStyle style : kReadStyles)
    for (int nJobs : {1, 2}) {
      if (nJobs == 2 && style != ReadStyle::kStepThenPush) continue;  // pieces are read in every style elsewhere
      auto& stream = outcomes["stream, jobs " + std::to_string(nJobs) + ", style " + std::to_string(int(style))];
      stream.first = FailureOf([&] {
        CTmxUnitReader reader(CTmxUnitReader::TextMode::Plain);
        Safety().Apply(reader.GetParser());
        reader.SetJobs(nJobs, 1 << 16);
        reader.Open(path);
        ReadInStyle(reader, style, [&](const CTmxUnitReader&) { stream.second++; });
      });
    }
  outcomes["languages"].first = FailureOf([&] {
    CTmxUnitReader reader;
    Safety().Apply(reader.GetParser());
    reader.Open(path);
    reader.ReadLanguages(nullptr);
  });
  return outcomes;
}

// A memory as translation tools write it, a unit in four with codes whose content is escaped,
// with its product named through an entity when the prolog declares one: hundreds of thousands
// of &lt; and a hundred thousand references, none of them an attack.
std::string LargeMemory(const std::string& prolog, const std::string& product) {
  std::string text = prolog + "<tmx version=\"1.4\"><header/><body>\n";
  for (int i = 0; i < 60000; i++) {
    const std::string code = i % 4 ? "" : "<bpt i=\"1\">&lt;b&gt;</bpt>" + product + "<ept i=\"1\">&lt;/b&gt;</ept> ";
    text += "<tu tuid=\"" + std::to_string(i) + "\"><tuv xml:lang=\"en-US\"><seg>" + code + "Save " + product +
            "</seg></tuv><tuv xml:lang=\"de-DE\"><seg>" + code + product + " speichern</seg></tuv></tu>\n";
  }
  return text + "</body></tmx>\n";
}

TEST(HostileInputTest, SafeSettingsReadLargeMemoriesWithCodesAndEntitiesToTheEnd) {
  for (const auto& [prolog, product] : {
           std::pair<std::string, std::string>{"", "Lumen"},
           {"<!DOCTYPE tmx SYSTEM \"tmx14.dtd\" [<!ENTITY product \"Lumen Photo\">]>\n", "&product;"},
       })
    for (const auto& [how, outcome] : ReadEveryWay(LargeMemory(prolog, product))) {
      EXPECT_EQ(outcome.first, "") << how << prolog;
      if (how.rfind("stream", 0) == 0 || how == "engine") {
        EXPECT_EQ(outcome.second, 60000u) << how << prolog;
      }
    }
}

// Documents whose entities expand far beyond their size, each refused at one place by every way
// of reading, at once and in little memory (a run of any of them without the limit takes
// minutes and gigabytes): in content, in an attribute, through a declared default, through
// parameter entities, nested out of order, or without end.
TEST(HostileInputTest, SafeSettingsRefuseExpansionBeyondTheLimitAlikeOnEveryPath) {
  const auto document = [](const std::string& declarations, const std::string& unit) {
    return "<!DOCTYPE tmx [" + declarations + "]>\n<tmx version=\"1.4\"><header/><body>\n" + unit + "</body></tmx>";
  };
  const auto repeated = [](const std::string& text, int n) {
    std::string all;
    for (int i = 0; i < n; i++) all += text;
    return all;
  };
  std::string laughs = "<!ENTITY a0 \"lol\">", emptyLaughs = "<!ENTITY a0 \"\">", parameterLaughs;
  for (int i = 1; i < 10; i++) {
    const std::string name = "a" + std::to_string(i), previous = "a" + std::to_string(i - 1);
    laughs += "<!ENTITY " + name + " \"" + repeated("&" + previous + ";", 10) + "\">";
    emptyLaughs += "<!ENTITY " + name + " \"" + repeated("&" + previous + ";", 10) + "\">";
    parameterLaughs = "<!ENTITY % p" + std::to_string(i) + " \"" + repeated("&#37;p" + std::to_string(i - 1) + ";", 10) +
                      "\">" + parameterLaughs;  // each declared before what it refers to
  }
  const std::string big = "<!ENTITY big \"" + std::string(50000, 'x') + "\">";
  const std::string unit = "<tu><tuv xml:lang=\"en\"><seg>s</seg></tuv></tu>\n";
  const std::string cases[] = {
      document(laughs, "<tu><tuv xml:lang=\"en\"><seg>&a9;</seg></tuv></tu>"),
      document(emptyLaughs, "<tu tuid=\"&a9;\"/>"),
      document(big, "<tu><tuv xml:lang=\"en\"><seg>" + repeated("&big;", 40000) + "</seg></tuv></tu>"),
      document(big, "<tu tuid=\"" + repeated("&big;", 40000) + "\"/>"),
      document(big, repeated("<tu tuid=\"&big;&big;\"/>\n", 2000)),
      document(big + "<!ATTLIST tu x CDATA \"&big;\">", repeated(unit, 2000)),
      document(parameterLaughs + "<!ENTITY % p0 \"<!-- lol -->\">%p9;", unit),
      document("<!ENTITY % p \"<!--" + std::string(100000, 'x') + "-->\">" + repeated("%p;", 3000), unit),
      document("<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">", unit),
  };
  for (const std::string& hostile : cases) {
    const auto outcomes = ReadEveryWay(hostile);
    const std::string& refusal = outcomes.begin()->second.first;
    EXPECT_NE(refusal.find("beyond the safe limit"), std::string::npos) << refusal;
    for (const auto& [how, outcome] : outcomes) EXPECT_EQ(outcome.first, refusal) << how;
  }
  // Compressed, the same refusals by every reader of memories (the packer reads XML as it is).
  for (const std::string& hostile : {cases[0], cases[2]}) {
    const std::string refusal = ReadEveryWay(hostile).begin()->second.first;
    for (const auto& [how, outcome] : ReadEveryWay(Gzip(hostile)))
      if (how != "packer") {
        EXPECT_EQ(outcome.first, refusal) << how << ", gzip";
      }
  }
}

TEST(HostileInputTest, ExternalEntitiesFollowTheParserSettings) {
  const std::string secret = Temp().Write("secret.txt", "s3cret");
  const std::string tmx = "<!DOCTYPE tmx [<!ENTITY x SYSTEM \"" + secret + "\">]>"
                          "<tmx><body>\n<tu><tuv lang='en'><seg>&x;</seg></tuv></tu></body></tmx>";
  ParsedTmx byDefault(tmx);  // the library keeps the parser library's defaults
  UnitMap map(byDefault.engine);
  byDefault.engine.CreateMultilingualDataStructures(*map);
  EXPECT_EQ(map.Units()[0], std::vector<std::string>{"en|s3cret|"});
  EXPECT_THROW(ReadTmx(tmx, [](CTmxParseEngine& e) { e.m_parser.setDisableDefaultEntityResolution(true); }),
               SAXParseException);
}

TEST(HostileInputTest, AbsentDtdStopsTheEngineButNotThePacker) {
  const std::string doctype = "<!DOCTYPE tmx SYSTEM \"" + Temp().Path("absent.dtd") + "\">";
  EXPECT_THROW(ReadTmx(doctype + "<tmx/>"), SAXParseException);
  EXPECT_EQ(ReadTmx(doctype + "<tmx/>", [](CTmxParseEngine& e) { e.m_parser.setLoadExternalDTD(false); }),
            std::vector<std::string>{});
  EXPECT_EQ(PackXml(doctype + "<tmx/>"), 4);
}

}  // namespace
