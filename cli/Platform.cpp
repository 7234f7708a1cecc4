#include "cli/Platform.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>

// The class library's headers declare the Windows types differently from the platform's own,
// which this file uses there.
#if defined(_WIN32)
#include <windows.h>  // before shellapi.h, which relies on it

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <sys/stat.h>

#include <cwchar>

#include "quillon/Utf8.h"

// The wide command line: the narrow argv holds only what the code page can say.
std::vector<std::string> Utf8Arguments(int, char**) {
  int argc = 0;
  wchar_t** argv = CommandLineToArgvW(GetCommandLineW(), &argc);
  std::vector<std::string> arguments(static_cast<size_t>(argc));
  for (int i = 0; i < argc; i++)
    for (size_t k = 0, n = std::wcslen(argv[i]); k < n;) {
      char bytes[4];
      arguments[i].append(bytes, quillon::AppendUtf8(bytes, quillon::NextCodePoint(argv[i], n, k)));
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

std::FILE* CreateNewFile(const std::string& path, bool) {
  const int fd = _wopen(Wide(path).c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
  return fd < 0 ? nullptr : _fdopen(fd, "wb");
}

bool RenameFile(const std::string& from, const std::string& to) {
  return MoveFileExW(Wide(from).c_str(), Wide(to).c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
}

void RemoveFile(const std::string& path) { _wremove(Wide(path).c_str()); }

// Links are rare on Windows and the system follows them when it opens a file: only devices
// (NUL, CON) are told apart.
OutputTarget ResolveOutput(const std::string& path) {
  struct _stat64 st;
  const bool bOther = _wstat64(Wide(path).c_str(), &st) == 0 && (st.st_mode & _S_IFMT) != _S_IFREG;
  return {path, !bOther};
}

// Windows keeps access rights in lists, which a new file takes from its folder.
void CopyMode(std::FILE*, const std::string&) {}

std::optional<uint64_t> RegularFileSize(std::FILE* file) {
  struct _stat64 st;
  if (_fstat64(_fileno(file), &st) != 0 || (st.st_mode & _S_IFMT) != _S_IFREG) return std::nullopt;
  return static_cast<uint64_t>(st.st_size);
}

bool IsDirectory(std::FILE* file) {
  struct _stat64 st;
  return _fstat64(_fileno(file), &st) == 0 && (st.st_mode & _S_IFMT) == _S_IFDIR;
}

bool IsTerminal(std::FILE* file) { return _isatty(_fileno(file)) != 0; }

std::string ParserPath(const std::string& path, std::FILE*) { return path; }

CpuTimes ProcessorTimes() {
  FILETIME created, exited, kernel, user;
  auto seconds = [](const FILETIME& kernel, const FILETIME& user) {
    auto ticks = [](const FILETIME& t) { return (static_cast<uint64_t>(t.dwHighDateTime) << 32) | t.dwLowDateTime; };
    return static_cast<double>(ticks(kernel) + ticks(user)) / 1e7;  // 100 ns ticks
  };
  CpuTimes times;
  if (GetThreadTimes(GetCurrentThread(), &created, &exited, &kernel, &user)) times.thread = seconds(kernel, user);
  if (GetProcessTimes(GetCurrentProcess(), &created, &exited, &kernel, &user)) times.process = seconds(kernel, user);
  return times;
}
#else
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "quillon/afx.h"

std::vector<std::string> Utf8Arguments(int argc, char** argv) { return {argv, argv + argc}; }

void UseBinaryStandardStreams() {}

std::FILE* OpenFile(const std::string& path, const char* mode) { return std::fopen(path.c_str(), mode); }

std::FILE* CreateNewFile(const std::string& path, bool bPrivate) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, bPrivate ? 0600 : 0666);
  return fd < 0 ? nullptr : fdopen(fd, "wb");
}

bool RenameFile(const std::string& from, const std::string& to) { return std::rename(from.c_str(), to.c_str()) == 0; }

void RemoveFile(const std::string& path) { std::remove(path.c_str()); }

OutputTarget ResolveOutput(const std::string& path) {
  std::string target = path;
  for (int nLinks = 0; nLinks < 40; nLinks++) {  // as many as the system follows
    struct stat st;
    if (lstat(target.c_str(), &st) != 0 || S_ISREG(st.st_mode)) return {target, true};
    if (!S_ISLNK(st.st_mode)) return {target, false};
    std::string link(static_cast<size_t>(st.st_size > 0 ? st.st_size : PATH_MAX), '\0');
    const ssize_t nLength = readlink(target.c_str(), link.data(), link.size());
    if (nLength < 0) break;
    link.resize(static_cast<size_t>(nLength));
    const size_t nSlash = target.rfind('/');
    target = link.front() == '/' || nSlash == std::string::npos ? link : target.substr(0, nSlash + 1) + link;
  }
  return {path, false};  // a loop of links: the system says what is wrong when it opens it
}

void CopyMode(std::FILE* file, const std::string& from) {
  struct stat st;
  if (stat(from.c_str(), &st) == 0) fchmod(fileno(file), st.st_mode & 07777);
}

std::optional<uint64_t> RegularFileSize(std::FILE* file) {
  struct stat st;
  if (fstat(fileno(file), &st) != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
  return static_cast<uint64_t>(st.st_size);
}

bool IsDirectory(std::FILE* file) {
  struct stat st;
  return fstat(fileno(file), &st) == 0 && S_ISDIR(st.st_mode);
}

bool IsTerminal(std::FILE* file) { return isatty(fileno(file)) != 0; }

CpuTimes ProcessorTimes() {
  auto seconds = [](int who) {
    struct rusage usage {};
    getrusage(who, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  };
  return {seconds(RUSAGE_THREAD), seconds(RUSAGE_SELF)};
}

// The parser takes paths as UTF-16 text: a name that is not UTF-8 would not survive the trip.
std::string ParserPath(const std::string& path, std::FILE* file) {
  if (CW2A(CA2W(path.c_str()).str().c_str()).str() == path) return path;
  return "/proc/self/fd/" + std::to_string(fileno(file));
}
#endif

std::string TemporaryFolder() {
  const auto folder = std::filesystem::temp_directory_path().u8string();
  return std::string(folder.begin(), folder.end());
}

// Named after the moment and a count, tried until a name is free.
std::FILE* CreateUniqueFile(const std::string& stem, const std::string& suffix, bool bPrivate, std::string& path) {
  static std::atomic<unsigned> nCount{0};
  for (int nTries = 0; nTries < 100; nTries++) {
    const auto tick = std::chrono::steady_clock::now().time_since_epoch().count();
    path = stem + std::to_string(tick) + "-" + std::to_string(nCount++) + suffix;
    if (std::FILE* file = CreateNewFile(path, bPrivate)) return file;
    if (errno != EEXIST) break;
  }
  return nullptr;
}
