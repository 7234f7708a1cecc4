// A read in pieces against one parser: three jobs, pieces as small as they can be or a little
// larger, in plain text, read step by step or all at once. The units, the result and the error
// with its place must be the same, whatever the input holds (bytes that are not UTF-8, a
// document type with its subset, UTF-16). Any difference aborts.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <xercesc/framework/MemBufInputSource.hpp>

#include "tests/fuzz/FuzzSupport.h"

namespace {

struct Reading {
  std::vector<std::string> units;
  std::string error;
  bool bResult = false;
};

std::string Utf8(const CString& text) { return CW2A(text.GetString()).str(); }

Reading Read(const xercesc::InputSource& source, int nJobs, ReadStyle style, size_t nPieceBytes) {
  Reading reading;
  reading.error = FailureOf([&] {
    CTmxUnitReader reader(CTmxUnitReader::TextMode::Plain);
    Safety().Apply(reader.GetParser());
    reader.SetJobs(nJobs, nPieceBytes);
    reader.Open(source);
    ReadInStyle(reader, style, [&](const CTmxUnitReader& unit) {
      std::string text = std::to_string(unit.GetKey()) + (unit.GetUnitId() ? Utf8(unit.GetUnitId()) : "-");
      for (INT_PTR i = 0; i < unit.GetVariantCount(); i++) {
        const CTmxTUV& variant = unit.GetVariant(i);
        text += "|" + Utf8(variant.m_strLanguage) + "|" + Utf8(variant.m_strSegment) + "|" + Utf8(variant.m_strNote);
      }
      reading.units.push_back(text);
    });
    reading.bResult = reader.GetResult();
  });
  return reading;
}

[[noreturn]] void Fail(const char* pszWhat, const Reading& one, const Reading& pieces) {
  std::fprintf(stderr, "%s\n  one parser: %zu units, %s\n  in pieces: %zu units, %s\n", pszWhat, one.units.size(),
               one.error.c_str(), pieces.units.size(), pieces.error.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const xercesc::MemBufInputSource input(data, size, "input");
  const ReadStyle style = kReadStyles[size % 3];
  const size_t nPieceBytes = size % 2 ? 1 : 64;
  const Reading one = Read(input, 1, style, nPieceBytes), pieces = Read(input, 3, style, nPieceBytes);
  if (one.error != pieces.error) Fail("the reads end differently", one, pieces);
  if (one.units != pieces.units) Fail("the units differ", one, pieces);
  if (one.bResult != pieces.bResult) Fail("the results differ", one, pieces);
  return 0;
}
