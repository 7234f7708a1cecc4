// What every fuzz target shares: parsers that fetch nothing and cap entity expansion, so that an
// input can neither reach the network nor read local files nor blow up by design.
#pragma once

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLException.hpp>

inline void MakeParserSafe(xercesc::XercesDOMParser& parser) {
  static xercesc::SecurityManager securityManager;
  parser.setLoadExternalDTD(false);
  parser.setDisableDefaultEntityResolution(true);
  parser.setSecurityManager(&securityManager);
}

// Runs a parse; false when the input is refused with one of the parser library's exceptions.
template <class Parse>
bool Parses(Parse parse) {
  try {
    parse();
    return true;
  } catch (const xercesc::SAXParseException&) {
  } catch (const xercesc::XMLException&) {
  } catch (const xercesc::DOMException&) {  // e.g. a declaration's version the DOM refuses
  }
  return false;
}
