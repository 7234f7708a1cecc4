// What every fuzz target shares: the safe parser settings (nothing fetched, entity expansion
// capped), so that an input can neither reach the network nor read local files nor blow up by
// design; and a name for the way an input was refused.
#pragma once

#include <climits>
#include <string>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "quillon/Failure.h"
#include "quillon/SafeParsing.h"
#include "quillon/TmxUnitReader.h"
#include "quillon/afx.h"

// One for the process: the parsers keep pointing at its security manager.
inline CSafeParsing& Safety() {
  static CSafeParsing safety;
  return safety;
}

// Runs a parse; empty when it completes, else the parser library's exception that refused the
// input, with its position.
template <class Parse>
std::string FailureOf(Parse parse) {
  try {
    parse();
    return {};
  } catch (const xercesc::SAXParseException& e) {
    return "SAX " + std::to_string(e.getLineNumber()) + ":" + std::to_string(e.getColumnNumber()) + " " +
           CW2A(e.getMessage()).str();
  } catch (const xercesc::XMLException& e) {
    return "XML " + CW2A(e.getMessage()).str();
  } catch (const xercesc::DOMException& e) {  // e.g. a declaration's version the DOM refuses
    return "DOM " + std::to_string(e.code);
  } catch (const CInputError& e) {  // a compressed stream damaged or cut short
    return std::string("input ") + e.what();
  }
}

template <class Parse>
bool Parses(Parse parse) {
  return FailureOf(parse).empty();
}

// How a host reads a stream: unit by unit with ReadNextUnit, all at once with ReadUnits, or a few
// units one way and the rest the other. take(reader) sees each unit.
enum class ReadStyle { kStep, kPush, kStepThenPush };
constexpr ReadStyle kReadStyles[] = {ReadStyle::kStep, ReadStyle::kPush, ReadStyle::kStepThenPush};

template <class Take>
void ReadInStyle(CTmxUnitReader& reader, ReadStyle style, Take take) {
  struct Handler : CTmxUnitHandler {
    Take& take;
    explicit Handler(Take& t) : take(t) {}
    void OnUnit(const CTmxUnitReader& unit) override { take(unit); }
  } handler(take);
  const int nSteps = style == ReadStyle::kStep ? INT_MAX : style == ReadStyle::kPush ? 0 : 2;
  for (int i = 0; i < nSteps; i++)
    if (reader.ReadNextUnit())
      take(reader);
    else
      return;
  if (style != ReadStyle::kStep) reader.ReadUnits(handler);
}
