#include "cli/Errors.h"

#include <cstdio>

#include "cli/Input.h"
#include "cli/Output.h"
#include "quillon/Failure.h"

namespace {

void Print(const std::string& where, const std::string& message) {
  std::fprintf(stderr, "%s: error: %s\n", where.c_str(), message.c_str());
}

}  // namespace

void ReportCurrentException(const std::string& file, const ParserSafety& safety) {
  try {
    throw;
  } catch (const OutputError& e) {
    Print(e.Where(), e.what());
  } catch (...) {
    quillon::Failure failure = quillon::DescribeCurrentException();
    safety.Explain(failure);  // a refused entity reads as a missing file: say who refused it
    Print(failure.line ? file + ":" + std::to_string(failure.line) + ":" + std::to_string(failure.column) : file,
          failure.message);
  }
}
