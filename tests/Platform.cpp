#include "tests/Platform.h"

#include <cstdio>

#if defined(_WIN32)
#include <windows.h>

void* OpenSharedLibrary(const char* path) { return LoadLibraryA(path); }
bool CloseSharedLibrary(void* handle) { return FreeLibrary(static_cast<HMODULE>(handle)) != 0; }

static std::FILE* OpenForWriting(const std::string& path) {
  std::wstring wide(MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, nullptr, 0), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, wide.data(), static_cast<int>(wide.size()));
  return _wfopen(wide.c_str(), L"wb");
}
#else
#include <dlfcn.h>

void* OpenSharedLibrary(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
bool CloseSharedLibrary(void* handle) { return dlclose(handle) == 0; }

static std::FILE* OpenForWriting(const std::string& path) { return std::fopen(path.c_str(), "wb"); }
#endif

bool WriteNamedFile(const std::string& path, const std::string& bytes) {
  std::FILE* file = OpenForWriting(path);
  if (file == nullptr) return false;
  const bool bWritten = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return std::fclose(file) == 0 && bWritten;
}
