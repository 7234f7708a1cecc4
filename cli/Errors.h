// Turns whatever a run threw into the tool's one error line on stderr.
#pragma once

#include <string>

// Call from inside a catch block; prints FILE:LINE:COL: error: MESSAGE or FILE: error: MESSAGE.
void ReportCurrentException(const std::string& file);
