// The command line as UTF-8, whatever the platform hands the program.
#pragma once

#include <string>
#include <vector>

std::vector<std::string> Utf8Arguments(int argc, char** argv);

// The standard streams carry bytes as they are (no line-end translation).
void UseBinaryStandardStreams();
