// What the tool does differently on each platform: the command line as UTF-8, byte-exact
// standard streams, files named in UTF-8 (on Linux, in whatever bytes the system takes),
// terminals.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

std::vector<std::string> Utf8Arguments(int argc, char** argv);

// The standard streams carry bytes as they are (no line-end translation).
void UseBinaryStandardStreams();

// fopen for a path given as the command line gave it.
std::FILE* OpenFile(const std::string& path, const char* mode);
// A new file for writing, only if no file has that name; readable by its owner only when bPrivate.
std::FILE* CreateNewFile(const std::string& path, bool bPrivate);
// A new file named stem + something unique + suffix, whose path goes to path; null (and errno)
// when none can be made.
std::FILE* CreateUniqueFile(const std::string& stem, const std::string& suffix, bool bPrivate, std::string& path);
// Where a command's output named path goes: a regular file, or a name for a new one, links
// followed to it, is replaced whole (bReplace); anything else (a device, a pipe) is written into
// as it is, as the shell's > would.
struct OutputTarget {
  std::string path;
  bool bReplace = true;
};
OutputTarget ResolveOutput(const std::string& path);
// Gives the file the access rights of the file named from, when there is one: a file that
// replaces another keeps what its owner allowed.
void CopyMode(std::FILE* file, const std::string& from);
// Gives from the name to, replacing any file there; false when it cannot.
bool RenameFile(const std::string& from, const std::string& to);
void RemoveFile(const std::string& path);
// The folder for temporary files, in UTF-8.
std::string TemporaryFolder();

// The size of an open regular file; none for anything else (a pipe, a terminal).
std::optional<uint64_t> RegularFileSize(std::FILE* file);
bool IsDirectory(std::FILE* file);
bool IsTerminal(std::FILE* file);

// The processor time the calling thread and the whole process have taken so far, in seconds.
struct CpuTimes {
  double thread = 0, process = 0;
};
CpuTimes ProcessorTimes();

// A path by which the parser opens the open file named path: the name itself when the parser
// can take it (UTF-8, as every Windows name is), else, on Linux, the file's descriptor.
std::string ParserPath(const std::string& path, std::FILE* file);
