// The tool's parsers, by default, fetch nothing: no external DTD, no external entity, and entity
// expansion capped by the parser's security manager. --allow-external gives back the parser
// library's defaults. The library itself keeps its own fixed settings; the tool reaches the
// parsers through what the library offers a host.
#pragma once

#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLUni.hpp>

class ParserSafety {
 public:
  bool bAllowExternal = false;

  void Apply(xercesc::XercesDOMParser* pParser) {
    if (bAllowExternal || pParser == nullptr) return;
    pParser->setLoadExternalDTD(false);
    pParser->setDisableDefaultEntityResolution(true);
    pParser->setSecurityManager(&m_securityManager);
  }
  void Apply(xercesc::SAX2XMLReader* pParser) {
    using xercesc::XMLUni;
    if (bAllowExternal) return;
    pParser->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
    pParser->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    pParser->setProperty(XMLUni::fgXercesSecurityManager, &m_securityManager);
  }

 private:
  xercesc::SecurityManager m_securityManager;  // the parser library's default expansion limit
};
