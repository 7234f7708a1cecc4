// The safe settings that the quillon tool gives its parsers by default, for a host that wants
// them too: no external DTD loaded, no external entity resolved, and entity expansion capped by
// the parser's security manager (a "billion laughs" document is an error, not an exhausted
// machine). The library's classes keep the parser library's defaults unless a host applies these.
#pragma once

#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/EntityResolver.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "quillon/afx.h"

// The parsers keep pointing at it: it must outlive them. It is their entity resolver, which
// refuses every external entity and remembers the last one it refused, so that a host can say
// why a document that refers to one failed.
class CSafeParsing : private xercesc::EntityResolver {
 public:
  // The engine's parser (m_parser) or the packer's (GetParser()); null is left alone.
  void Apply(xercesc::XercesDOMParser* pParser) {
    if (pParser == nullptr) return;
    pParser->setLoadExternalDTD(false);
    pParser->setDisableDefaultEntityResolution(true);
    pParser->setSecurityManager(&m_securityManager);
    pParser->setEntityResolver(this);
  }
  // The streaming reader's parser (GetParser()).
  void Apply(xercesc::SAX2XMLReader* pParser) {
    using xercesc::XMLUni;
    pParser->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
    pParser->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    pParser->setProperty(XMLUni::fgXercesSecurityManager, &m_securityManager);
    pParser->setEntityResolver(this);
  }
  // The system identifier of the last external entity refused, as the document gives it; empty
  // when none was.
  const CString& GetRefusedEntity() const { return m_strRefused; }

 private:
  xercesc::InputSource* resolveEntity(const XMLCh* const, const XMLCh* const pszSystemId) override {
    m_strRefused = pszSystemId;
    return nullptr;  // with default resolution off: not loaded
  }

  xercesc::SecurityManager m_securityManager;  // the parser library's default expansion limit
  CString m_strRefused;
};
