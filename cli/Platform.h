// What the tool does differently on each platform: the command line as UTF-8, byte-exact
// standard streams, files named in UTF-8, terminals.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

std::vector<std::string> Utf8Arguments(int argc, char** argv);

// The standard streams carry bytes as they are (no line-end translation).
void UseBinaryStandardStreams();

// fopen for a path given in UTF-8.
std::FILE* OpenFile(const std::string& path, const char* mode);
// A new file for writing, readable by its owner only; null when the name is taken.
std::FILE* CreateNewFile(const std::string& path);

bool IsTerminal(std::FILE* file);
