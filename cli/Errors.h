// Turns whatever a run threw into the tool's one error line on stderr.
#pragma once

#include <string>

#include "cli/ParserSafety.h"

// Call from inside a catch block; prints FILE:LINE:COL: error: MESSAGE, or FILE: error: MESSAGE
// where the parser gives no position, FILE being the input, or the output that could not be
// written.
void ReportCurrentException(const std::string& file, const ParserSafety& safety);
