// What every fuzz target shares: parsers that fetch nothing and cap entity expansion, so that an
// input can neither reach the network nor read local files nor blow up by design.
#pragma once

#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/util/SecurityManager.hpp>

inline void MakeParserSafe(xercesc::XercesDOMParser& parser) {
  static xercesc::SecurityManager securityManager;
  parser.setLoadExternalDTD(false);
  parser.setDisableDefaultEntityResolution(true);
  parser.setSecurityManager(&securityManager);
}
