// A read in pieces must be the read of one parser: the same units with the same keys, ids and
// texts, the same result, the same error at the same place after the same units. The pieces are
// made as small as they can be, so that every document is cut wherever it may be.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>

#include "tests/Files.h"
#include "tests/TmxTestSupport.h"

namespace {

using TextMode = CTmxUnitReader::TextMode;

struct Reading {
  std::vector<std::string> units;  // "key tuid: language|segment|note ..."
  std::string failure;
  bool bResult = false;
  bool bOnThreads = false;  // the read had threads of its own at its first unit
};

// The threads of this process, where the system tells.
size_t ThreadCount() {
#ifdef __linux__
  const auto tasks = std::filesystem::directory_iterator("/proc/self/task");
  return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
#else
  return 0;
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
  const size_t nThreadsBefore = ThreadCount();
  reading.failure = FailureOf([&] {
    CTmxUnitReader reader(CString(_T("en")), CString(_T("*")), mode);
    Safety().Apply(reader.GetParser());
    reader.SetJobs(nJobs, nPieceBytes);
    reader.Open(source);
    ReadInStyle(reader, style, [&](const CTmxUnitReader& unit) {
      if (reading.units.empty()) reading.bOnThreads = ThreadCount() > nThreadsBefore;
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
        if (ThreadCount() != 0 && nPieceBytes == 1 && pieces.units.size() > 1) {
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
      {ReadFile(QUILLON_EXAMPLES "/codes.tmx"), false},                               // a DOCTYPE
      {Utf16(Tmx(units)), false},                                                     // UTF-16
      {"<?xml version='1.0' encoding='ISO-8859-1'?>" + Tmx(units).substr(21), false},  // another encoding
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

// The parser reports a byte that is not UTF-8 where the block of text it was decoding begins, so
// at a place that depends on where its read began: a read in pieces gives the same message.
TEST(PiecesTest, BytesThatAreNotUtf8GiveTheSameMessage) {
  const std::string document = Tmx(Unit("1", "a") + Unit("2", "b\xFF") + Unit("3", "c"));
  const auto message = [](const std::string& failure) { return failure.substr(failure.find(' ', 4)); };
  EXPECT_EQ(message(Read(document, 3).failure), message(Read(document, 1).failure));
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

// An input that fails part way: the units before the failure, then its error.
TEST(PiecesTest, AnInputThatFailsDoesSoWhereOneParserMeetsIt) {
  struct FailingSource : xercesc::InputSource {
    std::string bytes;
    xercesc::BinInputStream* makeStream() const override {
      struct Stream : xercesc::BinInputStream {
        const std::string& bytes;
        size_t nAt = 0;
        explicit Stream(const std::string& b) : bytes(b) {}
        XMLFilePos curPos() const override { return nAt; }
        XMLSize_t readBytes(XMLByte* const p, const XMLSize_t nMax) override {
          if (nAt == bytes.size()) throw std::runtime_error("the disk went away");
          const size_t n = std::min<size_t>({nMax, bytes.size() - nAt, 100});
          std::copy_n(bytes.data() + nAt, n, p);
          nAt += n;
          return n;
        }
        const XMLCh* getContentType() const override { return nullptr; }
      };
      return new Stream(bytes);
    }
  } source;
  source.setSystemId(_T("failing.tmx"));
  for (int nUnits : {20, 400}) {  // within the parser's first look at the input, and beyond it
    source.bytes = "<tmx><body>";
    for (int i = 0; i < nUnits; i++) source.bytes += Unit(std::to_string(i), "x");
    std::vector<std::string> units[2];
    for (int nJobs : {1, 3}) {
      CTmxUnitReader reader(TextMode::Plain);
      reader.SetJobs(nJobs, 1);
      reader.Open(source);
      EXPECT_THROW(while (reader.ReadNextUnit()) units[nJobs / 2].push_back(Described(reader)), std::runtime_error);
    }
    EXPECT_EQ(units[1], units[0]);
    EXPECT_EQ(units[0].size(), nUnits == 20 ? 0u : 400u);
  }
}

}  // namespace
