#include "cli/Platform.h"

#if defined(_WIN32)
#include <windows.h>  // before shellapi.h, which relies on it

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <shellapi.h>

#include <cstdio>

// The wide command line: the narrow argv holds only what the code page can say.
std::vector<std::string> Utf8Arguments(int, char**) {
  int argc = 0;
  wchar_t** argv = CommandLineToArgvW(GetCommandLineW(), &argc);
  std::vector<std::string> arguments;
  for (int i = 0; i < argc; i++) {
    const int nBytes = WideCharToMultiByte(CP_UTF8, 0, argv[i], -1, nullptr, 0, nullptr, nullptr);
    std::string argument(nBytes > 0 ? nBytes - 1 : 0, '\0');
    WideCharToMultiByte(CP_UTF8, 0, argv[i], -1, argument.data(), nBytes, nullptr, nullptr);
    arguments.push_back(argument);
  }
  LocalFree(argv);
  return arguments;
}

void UseBinaryStandardStreams() {
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
}

static std::wstring Wide(const std::string& text) {
  std::wstring result(MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, result.data(), static_cast<int>(result.size()));
  return result;
}

std::FILE* OpenFile(const std::string& path, const char* mode) { return _wfopen(Wide(path).c_str(), Wide(mode).c_str()); }

std::FILE* CreateNewFile(const std::string& path) {
  const int fd = _wopen(Wide(path).c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
  return fd < 0 ? nullptr : _fdopen(fd, "wb");
}

bool IsTerminal(std::FILE* file) { return _isatty(_fileno(file)) != 0; }
#else
#include <fcntl.h>
#include <unistd.h>

std::vector<std::string> Utf8Arguments(int argc, char** argv) { return {argv, argv + argc}; }

void UseBinaryStandardStreams() {}

std::FILE* OpenFile(const std::string& path, const char* mode) { return std::fopen(path.c_str(), mode); }

std::FILE* CreateNewFile(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
  return fd < 0 ? nullptr : fdopen(fd, "wb");
}

bool IsTerminal(std::FILE* file) { return isatty(fileno(file)) != 0; }
#endif
