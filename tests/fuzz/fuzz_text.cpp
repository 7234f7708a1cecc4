// The plain and markup texts of every segment: both reads of an input must end alike (the same
// units, or the same error after them), and the markup of each segment, put back into a seg,
// must parse to a seg whose plain text is the plain text and whose markup is the markup. Any
// difference aborts.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <xercesc/framework/MemBufInputSource.hpp>

#include "quillon/TmxUnitReader.h"
#include "tests/fuzz/FuzzSupport.h"

namespace {

using TextMode = CTmxUnitReader::TextMode;

struct Reading {
  std::string error;
  std::vector<CString> segments;  // of every variant, in document order
};

Reading Read(const xercesc::InputSource& source, TextMode mode) {
  Reading reading;
  reading.error = FailureOf([&] {
    CTmxUnitReader reader(mode);
    Safety().Apply(reader.GetParser());
    reader.Open(source);
    while (reader.ReadNextUnit())
      for (INT_PTR i = 0; i < reader.GetVariantCount(); i++) reading.segments.push_back(reader.GetVariant(i).m_strSegment);
  });
  return reading;
}

// Every markup text in a seg of its own, as XML 1.1, which takes every character reference that
// markup may hold.
std::string Reassembled(const std::vector<CString>& markups) {
  std::string document = "<?xml version='1.1'?><tmx><body><tu>";
  for (const CString& markup : markups) document += "<tuv><seg>" + CW2A(markup).str() + "</seg></tuv>";
  return document + "</tu></body></tmx>";
}

[[noreturn]] void Fail(const char* pszWhat, const std::string& detail) {
  std::fprintf(stderr, "%s\n  %s\n", pszWhat, detail.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const xercesc::MemBufInputSource input(data, size, "input");
  const Reading plain = Read(input, TextMode::Plain), markup = Read(input, TextMode::Markup);
  if (plain.error != markup.error || plain.segments.size() != markup.segments.size())
    Fail("plain and markup reads end differently", plain.error + " / " + markup.error);
  const std::string document = Reassembled(markup.segments);
  const xercesc::MemBufInputSource again(reinterpret_cast<const XMLByte*>(document.data()), document.size(), "markup");
  const Reading plainAgain = Read(again, TextMode::Plain), markupAgain = Read(again, TextMode::Markup);
  if (!plainAgain.error.empty() || !markupAgain.error.empty())
    Fail("the markup does not parse", plainAgain.error + markupAgain.error + "\n  " + document);
  if (plainAgain.segments != plain.segments) Fail("the markup's plain text differs", document);
  if (markupAgain.segments != markup.segments) Fail("the markup's markup differs", document);
  return 0;
}
