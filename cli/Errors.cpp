#include "cli/Errors.h"

#include <cstdio>
#include <exception>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "quillon/afx.h"

using namespace xercesc;

namespace {

std::string OneLine(std::string text) {
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  return text;
}

void Print(const std::string& where, const std::string& message) {
  std::fprintf(stderr, "%s: error: %s\n", where.c_str(), OneLine(message).c_str());
}

}  // namespace

void ReportCurrentException(const std::string& file) {
  try {
    throw;
  } catch (const SAXParseException& e) {
    Print(file + ":" + std::to_string(e.getLineNumber()) + ":" + std::to_string(e.getColumnNumber()),
          CW2A(e.getMessage()).str());
  } catch (const XMLException& e) {
    Print(file, CW2A(e.getMessage()).str());
  } catch (const DOMException& e) {
    Print(file, CW2A(e.getMessage()).str());
  } catch (CException* e) {
    TCHAR message[256];
    e->GetErrorMessage(message, 256);
    e->Delete();
    Print(file, CW2A(message).str());
  } catch (const std::exception& e) {
    Print(file, e.what());
  } catch (...) {
    Print(file, "unexpected failure");
  }
}
