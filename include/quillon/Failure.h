// A failure that left the library, described for a host that shows it on one line: the parser's
// message and where it stopped, or what a class-library or standard exception says. The quillon
// tool and the Python module describe failures with it.
#pragma once

#include <new>
#include <stdexcept>
#include <string>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "quillon/afx.h"

// What a read throws, after the units before it, when its source's bytes cannot be read as what
// they are: a compressed stream that is damaged or cut short.
class AFX_EXT_CLASS CInputError : public std::runtime_error {
 public:
  explicit CInputError(const std::string& message);
  ~CInputError() override;
};

namespace quillon {

struct Failure {
  enum class Kind { kParse, kInput, kMemory, kOther };
  Kind kind = Kind::kOther;
  std::string message;            // UTF-8, on one line
  unsigned long long line = 0;    // where the parser stopped; 0 when it does not say
  unsigned long long column = 0;
};

// Describes the exception being handled; call it inside a catch block. A class-library
// exception is released (Delete) once described.
inline Failure DescribeCurrentException() {
  Failure failure;
  try {
    throw;
  } catch (const xercesc::SAXParseException& e) {
    failure = {Failure::Kind::kParse, CW2A(e.getMessage()).str(), e.getLineNumber(), e.getColumnNumber()};
    if (failure.line == 0) failure.column = 0;
  } catch (const xercesc::XMLException& e) {
    failure = {Failure::Kind::kParse, CW2A(e.getMessage()).str()};
  } catch (const xercesc::DOMException& e) {  // a declaration the DOM refuses to record
    failure = {Failure::Kind::kParse, CW2A(e.getMessage()).str()};
  } catch (const xercesc::OutOfMemoryException&) {
    failure = {Failure::Kind::kMemory, "out of memory"};
  } catch (CMemoryException* e) {
    e->Delete();
    failure = {Failure::Kind::kMemory, "out of memory"};
  } catch (CException* e) {
    TCHAR szMessage[256];
    e->GetErrorMessage(szMessage, 256);
    e->Delete();
    failure.message = CW2A(szMessage).str();
  } catch (const CInputError& e) {
    failure = {Failure::Kind::kInput, e.what()};
  } catch (const std::bad_alloc&) {
    failure = {Failure::Kind::kMemory, "out of memory"};
  } catch (const std::exception& e) {
    failure.message = e.what();
  } catch (...) {
    failure.message = "unexpected failure";
  }
  for (char& c : failure.message)
    if (c == '\n' || c == '\r') c = ' ';
  return failure;
}

}  // namespace quillon
