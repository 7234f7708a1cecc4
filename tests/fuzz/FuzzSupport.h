// What every fuzz target shares: the safe parser settings (nothing fetched, entity expansion
// capped), so that an input can neither reach the network nor read local files nor blow up by
// design; and a name for the way an input was refused.
#pragma once

#include <string>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "quillon/SafeParsing.h"
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
  }
}

template <class Parse>
bool Parses(Parse parse) {
  return FailureOf(parse).empty();
}
