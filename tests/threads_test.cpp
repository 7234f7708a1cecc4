// Packers on several threads at once, as a host runs them (and as Python does, whose pack lets go
// of the interpreter lock while it parses), and reads in pieces with their own threads. Built with
// ThreadSanitizer together with the library's sources, so that any data race fails the test.
#include <gtest/gtest.h>

#include <thread>

#include <xercesc/util/PlatformUtils.hpp>

#include "quillon/GenXMLInterface.h"
#include "quillon/TmxUnitReader.h"
#include "tests/Compression.h"
#include "tests/Files.h"

namespace {

TEST(ThreadsTest, PackersAndCopiesOnTwoThreadsShareNothingUnsafely) {
  xercesc::XMLPlatformUtils::Initialize();
  {
    const CString path(Temp().Write("doc.xml", "<a><b x='1'/>text</a>").c_str());
    CGenXMLInterface shared(path, 0, CString());
    auto work = [&] {
      for (int i = 0; i < 20; i++) {
        CGenXMLInterface xml(path, 0, CString());  // writes the module-wide setting, which...
        int nSize = 0;
        EXPECT_EQ(xml.PreParseForSize(nSize), 6);  // ...every parse reads
        CGenXMLInterface copy(shared);  // copies of one object come and go on both threads
      }
    };
    std::thread first(work), second(work);
    first.join();
    second.join();
  }
  xercesc::XMLPlatformUtils::Terminate();
}

// Each unit as its key, made on whichever thread reads it.
struct KeyFormatter : CTmxUnitFormatter {
  std::unique_ptr<CTmxUnitFormatter> Clone() const override { return std::make_unique<KeyFormatter>(); }
  void Format(const CTmxUnitView& unit, std::string& out) override { out += std::to_string(unit.GetKey()) + "\n"; }
};

struct Gathered : CTmxOutputHandler {
  std::string text;
  void OnOutput(const char* p, size_t n) override { text.append(p, n); }
};

// Two reads in pieces at once, each with its cutting thread, its workers and, compressed, its
// decompressing thread; one of them ended half-way.
TEST(ThreadsTest, ReadsInPiecesShareNothingUnsafely) {
  xercesc::XMLPlatformUtils::Initialize();
  {
    std::string document = "<tmx><body>", expected;
    for (int i = 0; i < 20000; i++) {  // a megabyte: the bytes are read ahead
      document += "<tu><tuv lang='en'><seg>a&amp;" + std::to_string(i) + "</seg></tuv></tu>\n";
      expected += std::to_string(i) + "\n";
    }
    document += "</body></tmx>";
    const CString plain(Temp().Write("doc.tmx", document).c_str()), packed(Temp().Write("doc.gz", Gzip(document)).c_str());
    auto work = [&](const CString& path) {
      for (int i = 0; i < 3; i++) {
        CTmxUnitReader reader(CTmxUnitReader::TextMode::Markup);
        reader.SetJobs(2, 4096);
        reader.Open(path);
        KeyFormatter formatter;
        Gathered output;
        EXPECT_TRUE(reader.ReadFormatted(formatter, output));
        EXPECT_EQ(output.text, expected);
        reader.Open(path);
        EXPECT_TRUE(reader.ReadNextUnit() && reader.ReadNextUnit());
      }
    };
    std::thread first(work, plain), second(work, packed);
    first.join();
    second.join();
  }
  xercesc::XMLPlatformUtils::Terminate();
}

}  // namespace
