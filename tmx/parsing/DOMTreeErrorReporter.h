// Ends a parse at its first error or fatal error by throwing the parser's exception, so that
// parse errors reach the host; warnings are ignored.
#pragma once

#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>

class DOMTreeErrorReporter : public xercesc::ErrorHandler {
 public:
  ~DOMTreeErrorReporter() override = default;
  void warning(const xercesc::SAXParseException&) override {}
  void error(const xercesc::SAXParseException& e) override;
  void fatalError(const xercesc::SAXParseException& e) override;
  void resetErrors() override {}
};
