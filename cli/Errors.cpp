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
    // A refused entity reads as a missing file: say who refused it.
    if (failure.kind == quillon::Failure::Kind::kParse && !safety.RefusedEntity().IsEmpty())
      failure.message = "external entity '" + Utf8(safety.RefusedEntity()) +
                        "' not loaded: the safe defaults load nothing external (--allow-external loads it)";
    Print(failure.line ? file + ":" + std::to_string(failure.line) + ":" + std::to_string(failure.column) : file,
          failure.message);
  }
}
