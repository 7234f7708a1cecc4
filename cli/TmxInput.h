// The TMX source of a command: a path, or "-" for standard input read whole into a memory file
// (the engine then gets the memory file, not a path).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/ParserSafety.h"
#include "quillon/TmxParseEngine.h"

class TmxInput {
 public:
  TmxInput(const std::string& source, ParserSafety& safety);
  CTmxParseEngine& Engine() { return *m_engine; }

 private:
  std::vector<BYTE> m_bytes;
  CMemFile m_memFile;
  std::unique_ptr<CTmxParseEngine> m_engine;
};

// Reads all of standard input.
std::vector<BYTE> ReadStandardInput();
// UTF-16 to UTF-8.
inline std::string Utf8(const CString& str) { return CW2A(str.GetString()).str(); }
