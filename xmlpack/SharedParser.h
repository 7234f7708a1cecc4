// The parser of a CGenXMLInterface and of its copies. It counts the objects that refer to it
// and deletes itself with the last, so copies share one parser and one document; copies used on
// different threads may come and go at once.
//
// It also carries its error handler: without one, this parser version returns normally from a
// parse that hit a fatal error, where the object relies on the parse raising. Fatal errors are
// raised; errors below fatal and warnings are ignored, as they would be without a handler.
#pragma once

#include <atomic>

#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>

class CSharedDOMParser : public xercesc::XercesDOMParser {
 public:
  CSharedDOMParser() : XercesDOMParser(nullptr, xercesc::XMLPlatformUtils::fgMemoryManager, nullptr) {
    setErrorHandler(&m_fatalErrors);
  }
  void AddRef() { m_nRefs.fetch_add(1, std::memory_order_relaxed); }
  void Release() {
    if (m_nRefs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

 private:
  class FatalErrorRaiser : public xercesc::ErrorHandler {
    void warning(const xercesc::SAXParseException&) override {}
    void error(const xercesc::SAXParseException&) override {}
    void fatalError(const xercesc::SAXParseException& e) override { throw e; }
    void resetErrors() override {}
  };

  FatalErrorRaiser m_fatalErrors;
  std::atomic<int> m_nRefs{1};
};

inline CSharedDOMParser* Shared(xercesc::XercesDOMParser* pParser) {
  return static_cast<CSharedDOMParser*>(pParser);
}
