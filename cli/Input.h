// What the tool's commands read: a path, or "-" for standard input, for every command. A TMX
// source read whole goes to the engine as a memory file; an XML file for the packer, which takes
// a path, is spooled from standard input into a private file that is removed afterwards.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/ParserSafety.h"
#include "quillon/TmxParseEngine.h"

// Raises, in plain words, when a path names nothing that can be read.
void RequireReadable(const std::string& input);

class TmxInput {
 public:
  TmxInput(const std::string& source, ParserSafety& safety);
  CTmxParseEngine& Engine() { return *m_engine; }
  // Parses and lists the languages; says on standard error when the document is not a TMX
  // document, whose root element is tmx.
  bool SearchLanguages(CStringArray* pLanguages);

 private:
  std::string m_source;
  std::vector<BYTE> m_bytes;
  CMemFile m_memFile;
  std::unique_ptr<CTmxParseEngine> m_engine;
};

class XmlPath {
 public:
  explicit XmlPath(const std::string& input);
  ~XmlPath();
  CString Path() const { return CString(m_path.c_str()); }

 private:
  std::string m_path;
  bool m_bSpooled = false;
};

// Hands standard input to take(bytes, count) a chunk at a time, while take returns true.
template <class Take>
bool ReadStandardInput(Take take) {
  BYTE chunk[1 << 16];
  for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, stdin)) > 0;)
    if (!take(chunk, n)) return false;
  return true;
}
// All of standard input.
std::vector<BYTE> ReadStandardInput();
// UTF-16 to UTF-8.
inline std::string Utf8(const CString& str) { return CW2A(str.GetString()).str(); }
