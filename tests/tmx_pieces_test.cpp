// A read in pieces must be the read of one parser: the same units with the same keys, ids and
// texts, the same result, the same error at the same place after the same units. The pieces are
// made as small as they can be, so that every document is cut wherever it may be.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>

#include "tests/Compression.h"
#include "tests/Files.h"
#include "tests/TmxTestSupport.h"

namespace {

using TextMode = CTmxUnitReader::TextMode;

struct Reading {
  std::vector<std::string> units;  // "key tuid: language|segment|note ..."
  std::string failure;
  bool bResult = false;
  bool bOnThreads = false;  // the read had parsing threads of its own at its first unit
};

// The threads of this process that cut and parse pieces, where the system tells (-1 where not).
int PieceThreads() {
#ifdef __linux__
  int n = 0;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::string name;  // none for a thread that has just ended
    std::getline(std::ifstream(task.path() / "comm"), name);
    n += name == "quillon-cut" || name == "quillon-parse";
  }
  return n;
#else
  return -1;
#endif
}

std::string Described(const CTmxUnitReader& unit) {
  std::string text = std::to_string(unit.GetKey()) + " " + (unit.GetUnitId() ? Utf8(unit.GetUnitId()) : "-") + ":";
  for (INT_PTR i = 0; i < unit.GetVariantCount(); i++) text += " " + Variant(unit.GetVariant(i));
  return text;
}

Reading Read(const xercesc::InputSource& source, int nJobs, TextMode mode = TextMode::Plain,
             ReadStyle style = ReadStyle::kPush, size_t nPieceBytes = 1) {
  Reading reading;
  reading.failure = FailureOf([&] {
    CTmxUnitReader reader(CString(_T("en")), CString(_T("*")), mode);
    Safety().Apply(reader.GetParser());
    reader.SetJobs(nJobs, nPieceBytes);
    reader.Open(source);
    ReadInStyle(reader, style, [&](const CTmxUnitReader& unit) {
      if (reading.units.empty()) reading.bOnThreads = PieceThreads() > 0;
      reading.units.push_back(Described(unit));
    });
    reading.bResult = reader.GetResult();
  });
  return reading;
}

Reading Read(const std::string& bytes, int nJobs, TextMode mode = TextMode::Plain, ReadStyle style = ReadStyle::kPush,
             size_t nPieceBytes = 1) {
  const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(bytes.data()), bytes.size(), "doc.tmx");
  return Read(source, nJobs, mode, style, nPieceBytes);
}

// Pieces of every size, in both texts, read every way, against one parser.
void ExpectReadAsByOne(const std::string& bytes, bool bInPieces) {
  for (TextMode mode : {TextMode::Plain, TextMode::Markup}) {
    const Reading one = Read(bytes, 1, mode);
    for (ReadStyle style : kReadStyles)
      for (size_t nPieceBytes : {size_t(1), size_t(40), size_t(1000)}) {
        const Reading pieces = Read(bytes, 3, mode, style, nPieceBytes);
        const std::string how = "style " + std::to_string(static_cast<int>(style)) + ", pieces of " +
                                std::to_string(nPieceBytes) + ":\n" + bytes;
        EXPECT_EQ(pieces.units, one.units) << how;
        EXPECT_EQ(pieces.failure, one.failure) << how;
        EXPECT_EQ(pieces.bResult, one.bResult) << how;
        if (PieceThreads() >= 0 && nPieceBytes == 1 && pieces.units.size() > 1) {
          EXPECT_EQ(pieces.bOnThreads, bInPieces) << how;
        }
      }
  }
}

std::string Unit(const std::string& id, const std::string& text) {
  return "<tu tuid='" + id + "'><tuv xml:lang='en'><seg>" + text + "</seg></tuv><tuv lang='de'><seg>" + text +
         "</seg><note>n</note></tuv></tu>\n";
}

// Markup that holds what looks like the end of a unit or of body.
TEST(PiecesTest, TheCutterIsNotFooledByWhatLooksLikeAUnit) {
  const std::string units = Unit("1", "a") + Unit("2", "b <ph x='1'>&lt;/tu></ph>") + Unit("3", "c");
  for (const std::string inside : {
           "<!-- <tu></tu> </body> -->", "<![CDATA[</tu><tu>]]>", "<?pi </tu> <tu> ?>", "<prop type='</tu>>'>x</prop>",
           "<x a=\"</tu>\" b='>'/>", "<tu><tu>deeper</tu></tu>", "<tu/>", "<TU tuid='upper'><TUV LANG='en'><SEG>u</SEG></TUV></TU>",
       }) {
    ExpectReadAsByOne(Tmx("\n" + units + inside + units), true);
    ExpectReadAsByOne(Tmx(Unit("0", "<sub>" + std::string(inside) + "</sub>") + units), true);
  }
}

// The documents real tools write, read in pieces; and those read by one parser.
TEST(PiecesTest, DocumentsAsToolsWriteThem) {
  const std::string units = Unit("a", "Hello") + Unit("b", "Hallo &amp; <bpt i='1'>&lt;b></bpt>x<ept i='1'>&lt;/b></ept>");
  const struct {
    std::string bytes;
    bool bInPieces;
  } documents[] = {
      {ReadFile(QUILLON_EXAMPLES "/sample.tmx"), true},
      {"\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?>\n<!-- by a tool -->\n<tmx\n version='1.4'>\n<header>\n"
       "<prop type='x'>y</prop></header>\n<BODY lang='x'>" + units + "</BODY>\n</tmx>\n<!-- after -->", true},
      {"<?xml version='1.1' encoding='US-ASCII'?><tmx><body>" + units + "<tu><tuv lang='en'><seg>&#x85;\x01</seg></tuv></tu></body></tmx>", true},
      {"<tmx><body>" + units + "</body><body>" + units + "</body></tmx>", true},
      {"<tmx><header><body>" + units + "</body></header><body>" + units + "</body></tmx>", true},
      {"<tmx><body><tu>" + units + "</tu></body></tmx>", true},
      {ReadFile(QUILLON_EXAMPLES "/codes.tmx"), true},                                // a DOCTYPE
      {Utf16(Tmx(units)), true},                                                      // UTF-16
      {Utf16(Tmx(units), true), true},
      {"<?xml version='1.0' encoding='ISO-8859-1'?>" + Tmx(units).substr(21), true},  // a single-byte encoding
      {"<?xml version='1.0' encoding='Shift_JIS'?>" + Tmx(units).substr(21), false},  // a multi-byte one
      {"<tmx><header/>" + units + "</tmx>", false},                                   // no body
  };
  for (const auto& document : documents) ExpectReadAsByOne(document.bytes, document.bInPieces);
}

// Each error where one parser meets it: in a unit, between units, in the last piece, after body,
// at the end of the input.
TEST(PiecesTest, ErrorsComeWhereOneParserMeetsThem) {
  const std::string units = Unit("1", "a") + Unit("2", "b") + Unit("3", "c");
  for (const std::string broken : {
           "<tu><tuv lang='en'><seg>x</tuv></tu>", "</tu>", "<tu a='1' a='2'/>", "<tu>]]></tu>", "<tu>\x01</tu>",
           "<tu>&undefined;</tu>", "<tu><tuv lang='en'><seg>\n\n  x\n <", "<tu",
       }) {
    ExpectReadAsByOne(Tmx(units + broken + units), true);
    ExpectReadAsByOne(Tmx(units + units) + broken, true);
    ExpectReadAsByOne(Tmx(units + units).substr(0, 60 + broken.size() * 7), true);
  }
}

// A byte the encoding cannot hold is placed where it is, by one parser and in pieces alike: in a
// unit, between units, after body, in the declaration, cut short at the end; in UTF-8 (each way
// a sequence can be wrong) and in US-ASCII; with lines that end in CR LF, and in XML 1.1 in NEL.
TEST(PiecesTest, BytesTheEncodingCannotHoldArePlacedWhereTheyAre) {
  const std::string units = Unit("1", "a") + Unit("2", "\u00E9t\u00E9 \U0001F600");
  for (const std::string bad : {"\xFF", "\x80", "\xC3(", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82"}) {
    ExpectReadAsByOne(Tmx(units + Unit("3", "b" + bad + "c") + units), true);
    ExpectReadAsByOne(Tmx(units + units) + "<!--" + bad, true);
    ExpectReadAsByOne(Tmx(units + "\r\n" + units + bad), true);
  }
  ExpectReadAsByOne("<?xml version='1.0' encoding='US-ASCII'?>" + Tmx(units.substr(0, 60) + Unit("3", "\xE9")).substr(21), true);
  ExpectReadAsByOne("<?xml version='1.1'?><tmx><body>\xC2\x85" + Unit("1", "a\xC2\x85" "b\xE2\x80\xA8") + Unit("2", "\xFE") + "</body></tmx>", true);
  const Reading one = Read("<?xml v\xE2n>", 1);
  EXPECT_EQ(one.failure, "SAX 1:8 byte 0xE2 is not UTF-8");
  EXPECT_EQ(Read(Tmx(Unit("1", "\xC3(")), 1).failure, "SAX 1:93 byte 0xC3 is not UTF-8");
}

// Read as U+FFFD, such bytes are counted, and the units are the same either way.
TEST(PiecesTest, BytesTheEncodingCannotHoldMayBeReadAsReplacementCharacters) {
  const std::string document = Tmx(Unit("1", "a\xFF") + Unit("2", "\xC3(\xE2\x82") + Unit("3", "c"));
  std::vector<std::string> units[2];
  for (int nJobs : {1, 3}) {
    MemoryTmx source(document);
    CTmxUnitReader reader(TextMode::Plain);
    reader.SetInvalidBytes(CTmxUnitReader::InvalidBytes::Replace);
    reader.SetJobs(nJobs, 1);
    reader.Open(&source.file);
    while (reader.ReadNextUnit()) units[nJobs / 2].push_back(Described(reader));
    EXPECT_EQ(reader.GetReplacedBytes(), 8u);
  }
  EXPECT_EQ(units[1], units[0]);
  EXPECT_EQ(units[0][1], "1 2: en|\uFFFD(\uFFFD\uFFFD| de|\uFFFD(\uFFFD\uFFFD|");
}

// A document type's internal subset holds for every piece: entities, attribute defaults, and
// the measure of what entities expand to, refused where one parser refuses it, after the same
// units (here once the allowance one unit spent is used up by later units that each expand
// faster than the limit allows; and a quadratic blowup after a thousand units).
TEST(PiecesTest, AnInternalSubsetHoldsForEveryPiece) {
  const std::string subset = "<!DOCTYPE tmx [<!ENTITY p 'Lumen &amp; Co'><!ATTLIST tu tuid CDATA 'none'>"
                             "<!-- ]> --><?pi ]>?><!ENTITY big '" + std::string(2000, 'x') + "'>"
                             "<!ENTITY huge '&big;&big;&big;&big;&big;&big;&big;&big;&big;&big;'>]>\n";
  const auto repeated = [](const std::string& text, int n) {
    std::string all;
    for (int i = 0; i < n; i++) all += text;
    return all;
  };
  std::string named, spending = Unit("0", repeated("&huge;", 22));
  for (int i = 0; i < 1000; i++) named += "<tu><tuv lang='en'><seg>&p; " + std::to_string(i) + "</seg></tuv></tu>\n";
  for (int i = 0; i < 200; i++) spending += Unit(std::to_string(i), "&big;");
  const std::string blowup = named + Unit("q", repeated("&big;", 4000));
  for (const std::string& body : {named, spending, blowup}) ExpectReadAsByOne(subset + Tmx(body).substr(21), true);
}

// Languages read after some units are those of the units after them, in pieces as with one
// parser.
TEST(PiecesTest, LanguagesAfterUnitsAreThoseOfTheUnitsAfterThem) {
  std::string body;
  for (int i = 0; i < 40; i++) body += "<tu><tuv lang='l" + std::to_string(i) + "'><seg>x</seg></tuv></tu>\n";
  const std::string document = Tmx(body);
  for (int nBefore : {0, 1, 7, 39, 40}) {
    std::vector<std::string> languages[2];
    for (int nJobs : {1, 3}) {
      MemoryTmx source(document);
      CTmxUnitReader reader(TextMode::Plain);
      reader.SetJobs(nJobs, 1);
      reader.Open(&source.file);
      for (int i = 0; i < nBefore; i++) reader.ReadNextUnit();
      CStringArray found;
      reader.ReadLanguages(&found);
      languages[nJobs / 2] = Strings(found);
    }
    EXPECT_EQ(languages[1], languages[0]) << nBefore;
    EXPECT_EQ(languages[0].size(), static_cast<size_t>(40 - nBefore)) << nBefore;
  }
}

// What a handler throws ends the read, however many parsers read it; threads are made only as
// pieces need them, and never more than the cores help.
TEST(PiecesTest, AThrowingHandlerEndsTheReadAndThreadsAreMadeAsNeeded) {
  struct Throwing : CTmxUnitHandler {
    int nUnits = 0;
    void OnUnit(const CTmxUnitReader&) override {
      if (++nUnits == 3) throw std::runtime_error("enough");
    }
  };
  const std::string document = Tmx(Unit("1", "a") + Unit("2", "b") + Unit("3", "c") + Unit("4", "d"));
  for (int nJobs : {1, 3}) {
    MemoryTmx source(document);
    CTmxUnitReader reader(TextMode::Plain);
    reader.SetJobs(nJobs, 1);
    reader.Open(&source.file);
    Throwing handler;
    EXPECT_THROW(reader.ReadUnits(handler), std::runtime_error);
    EXPECT_FALSE(reader.ReadNextUnit()) << nJobs;
  }
  MemoryTmx source(document);
  CTmxUnitReader reader(TextMode::Plain);
  reader.SetJobs(200, 1 << 20);  // one piece
  reader.Open(&source.file);
  ASSERT_TRUE(reader.ReadNextUnit());
  if (PieceThreads() >= 0) {
    EXPECT_LE(PieceThreads(), 2);  // the thread that cuts, one worker
  }
}

// Sizes at which pieces are many, in flight together, and their storage goes round.
TEST(PiecesTest, LongDocumentsAndTheirInputs) {
  std::string body;
  for (int i = 0; i < 3000; i++) body += Unit(std::to_string(i), "text " + std::to_string(i * 7));
  const std::string document = Tmx(body);
  const TempFolder folder;
  const std::string path = folder.Write("long.tmx", document);
  const Reading one = Read(document, 1);
  for (size_t nPieceBytes : {size_t(1), size_t(4096), CTmxUnitReader::kDefaultPieceBytes}) {
    EXPECT_EQ(Read(document, 2, TextMode::Plain, ReadStyle::kStepThenPush, nPieceBytes).units, one.units);
    const xercesc::LocalFileInputSource file(CString(path.c_str()).GetString());
    EXPECT_EQ(Read(file, 3, TextMode::Markup, ReadStyle::kStep, nPieceBytes).units,
              Read(file, 1, TextMode::Markup).units);
  }
  MemoryTmx memory(document);
  CTmxUnitReader reader(TextMode::Plain);
  reader.SetJobs(0, 4096);
  reader.Open(&memory.file);
  reader.Open(&memory.file);  // a read in pieces, ended before it began
  EXPECT_TRUE(reader.ReadNextUnit() && reader.ReadNextUnit() && reader.GetKey() == 1);
  CStringArray languages;  // the rest, from the next piece on
  EXPECT_TRUE(reader.ReadLanguages(&languages));
  EXPECT_EQ(Strings(languages), (std::vector<std::string>{"de", "en"}));
}

// A compressed document is the document it holds, however its streams follow one another; one
// cut short ends the read after the units before the cut, with one parser and in pieces alike.
TEST(PiecesTest, CompressedDocumentsAreTheDocumentsTheyHold) {
  using Compress = std::string (*)(const std::string&);
  const std::pair<const char*, Compress> compressions[] = {
      {"gzip", Gzip},
#ifdef QUILLON_ALL_COMPRESSIONS
      {"zstd", Zstd}, {"xz", Xz}, {"bzip2", Bzip2},
#endif
  };
  std::string body;
  for (int i = 0; i < 6000; i++) body += Unit(std::to_string(i), "text " + std::to_string(i * 7));
  const std::string document = Tmx(body), head = document.substr(0, 300001), tail = document.substr(300001);
  const Reading plain = Read(document, 1);
  for (const auto& [name, compress] : compressions) {
    const std::string whole = compress(document), streams = compress(head) + compress(tail) + std::string(8, '\0');
    for (const std::string& bytes : {whole, streams}) {
      EXPECT_EQ(Read(bytes, 1).units, plain.units) << name;
      EXPECT_EQ(Read(bytes, 2, TextMode::Plain, ReadStyle::kStepThenPush, 4096).units, plain.units) << name;
    }
    const std::string cut = whole.substr(0, whole.size() / 2);
    const Reading one = Read(cut, 1), pieces = Read(cut, 2, TextMode::Plain, ReadStyle::kPush, 4096);
    EXPECT_EQ(one.failure, std::string("input the ") + name + " stream is cut short");
    EXPECT_GT(one.units.size(), 1000u) << name;
    EXPECT_EQ(pieces.units, one.units) << name;
    EXPECT_EQ(pieces.failure, one.failure) << name;
  }
  ExpectReadAsByOne(Gzip(Tmx(Unit("1", "a") + Unit("2", "b"))), true);
  EXPECT_EQ(Read(Gzip(document) + "<tmx/>", 2).failure, "input the gzip stream is damaged (incorrect header check)");
#ifndef QUILLON_ALL_COMPRESSIONS
  EXPECT_EQ(Read("\x28\xB5\x2F\xFD\0\0", 1).failure, "input a zstd stream, which this build reads only once decompressed");
#endif
}

// An input that fails part way: the units whose bytes came before the failure, then what the
// input threw, with one parser and in pieces alike; however the input hands its bytes out.
TEST(PiecesTest, AnInputThatFailsDoesSoWhereOneParserMeetsIt) {
  struct FailingSource : xercesc::InputSource {
    std::string bytes;
    size_t nChunk = 100;
    xercesc::BinInputStream* makeStream() const override {
      struct Stream : xercesc::BinInputStream {
        const FailingSource& source;
        size_t nAt = 0;
        explicit Stream(const FailingSource& s) : source(s) {}
        XMLFilePos curPos() const override { return nAt; }
        XMLSize_t readBytes(XMLByte* const p, const XMLSize_t nMax) override {
          if (nAt == source.bytes.size()) throw std::runtime_error("the disk went away");
          const size_t n = std::min<size_t>({nMax, source.bytes.size() - nAt, source.nChunk});
          std::copy_n(source.bytes.data() + nAt, n, p);
          nAt += n;
          return n;
        }
        const XMLCh* getContentType() const override { return nullptr; }
      };
      return new Stream(*this);
    }
  } source;
  source.setSystemId(_T("failing.tmx"));
  for (int nUnits : {20, 400}) {  // within the parser's first look at the input, and beyond it
    source.bytes = "<tmx><body>";
    for (int i = 0; i < nUnits; i++) source.bytes += Unit(std::to_string(i), "x");
    source.bytes += "<tu><tuv lang='en'><seg>cut sh";
    for (size_t nChunk : {size_t(100), size_t(1) << 20}) {
      source.nChunk = nChunk;
      for (int nJobs : {1, 3}) {
        std::vector<std::string> units;
        CTmxUnitReader reader(TextMode::Plain);
        reader.SetJobs(nJobs, 1);
        reader.Open(source);
        EXPECT_THROW(while (reader.ReadNextUnit()) units.push_back(Described(reader)), std::runtime_error);
        EXPECT_EQ(units.size(), static_cast<size_t>(nUnits)) << nJobs << " jobs, chunks of " << nChunk;
        EXPECT_FALSE(reader.ReadNextUnit());  // the read has ended
      }
    }
  }
}

}  // namespace
