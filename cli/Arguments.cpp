#include "cli/Arguments.h"

#if defined(_WIN32)
#include <windows.h>  // before shellapi.h, which relies on it

#include <fcntl.h>
#include <io.h>
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
#else
std::vector<std::string> Utf8Arguments(int argc, char** argv) { return {argv, argv + argc}; }

void UseBinaryStandardStreams() {}
#endif
