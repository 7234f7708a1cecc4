#include "tests/Platform.h"

#include <cstdio>

#if defined(_WIN32)
#include <windows.h>

void* OpenSharedLibrary(const char* path) { return LoadLibraryA(path); }
bool CloseSharedLibrary(void* handle) { return FreeLibrary(static_cast<HMODULE>(handle)) != 0; }

static std::FILE* OpenForWriting(const std::u16string& path) {
  return _wfopen(reinterpret_cast<const wchar_t*>(path.c_str()), L"wb");
}
#else
#include <dlfcn.h>

#include "quillon/afx/Convert.h"

void* OpenSharedLibrary(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
bool CloseSharedLibrary(void* handle) { return dlclose(handle) == 0; }

static std::FILE* OpenForWriting(const std::u16string& path) { return std::fopen(CW2A(path.c_str()), "wb"); }
#endif

bool WriteNamedFile(const std::u16string& path, const std::string& bytes) {
  std::FILE* file = OpenForWriting(path);
  if (file == nullptr) return false;
  const bool bWritten = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return std::fclose(file) == 0 && bWritten;
}
