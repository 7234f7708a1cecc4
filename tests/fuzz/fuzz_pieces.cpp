// A read in pieces against one parser: three jobs, pieces as small as they can be, in plain text,
// read step by step or all at once. The units, the result and the error with its place must be
// the same; only where the input is not UTF-8 does the parser place its error where its decoding
// began, which depends on where its read began: then the message must be the same. Any
// difference aborts.
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

Reading Read(const xercesc::InputSource& source, int nJobs, ReadStyle style) {
  Reading reading;
  reading.error = FailureOf([&] {
    CTmxUnitReader reader(CTmxUnitReader::TextMode::Plain);
    Safety().Apply(reader.GetParser());
    reader.SetJobs(nJobs, 1);
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

// Whether the bytes are UTF-8: no stray or missing continuation, no overlong form, no surrogate.
bool IsUtf8(const uint8_t* p, size_t n) {
  for (size_t i = 0; i < n;) {
    const uint8_t c = p[i];
    const size_t nLength = c < 0x80 ? 1 : c >= 0xC2 && c < 0xE0 ? 2 : c >= 0xE0 && c < 0xF0 ? 3 : c >= 0xF0 && c < 0xF5 ? 4 : 0;
    if (nLength == 0 || i + nLength > n) return false;
    for (size_t k = 1; k < nLength; k++)
      if ((p[i + k] & 0xC0) != 0x80) return false;
    if ((c == 0xE0 && p[i + 1] < 0xA0) || (c == 0xED && p[i + 1] >= 0xA0) || (c == 0xF0 && p[i + 1] < 0x90) ||
        (c == 0xF4 && p[i + 1] >= 0x90))
      return false;
    i += nLength;
  }
  return true;
}

std::string Message(const std::string& error) { return error.substr(std::min(error.size(), error.find(' ', 4))); }

[[noreturn]] void Fail(const char* pszWhat, const Reading& one, const Reading& pieces) {
  std::fprintf(stderr, "%s\n  one parser: %zu units, %s\n  in pieces: %zu units, %s\n", pszWhat, one.units.size(),
               one.error.c_str(), pieces.units.size(), pieces.error.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const xercesc::MemBufInputSource input(data, size, "input");
  const ReadStyle style = kReadStyles[size % 3];
  const Reading one = Read(input, 1, style), pieces = Read(input, 3, style);
  if (!IsUtf8(data, size)) {
    if (Message(one.error) != Message(pieces.error)) Fail("the reads end with different errors", one, pieces);
    return 0;
  }
  if (one.error != pieces.error) Fail("the reads end differently", one, pieces);
  if (one.units != pieces.units) Fail("the units differ", one, pieces);
  if (one.bResult != pieces.bResult) Fail("the results differ", one, pieces);
  return 0;
}
