#include "cli/TmxInput.h"

#include <cstdio>

std::vector<BYTE> ReadStandardInput() {
  std::vector<BYTE> bytes;
  BYTE chunk[1 << 16];
  for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, stdin)) > 0;) bytes.insert(bytes.end(), chunk, chunk + n);
  return bytes;
}

TmxInput::TmxInput(const std::string& source, ParserSafety& safety) {
  if (source == "-") {
    m_bytes = ReadStandardInput();
    m_memFile.Attach(m_bytes.data(), static_cast<UINT>(m_bytes.size()));
    m_engine = std::make_unique<CTmxParseEngine>(CString(), &m_memFile, nullptr);
  } else {
    m_engine = std::make_unique<CTmxParseEngine>(CString(source.c_str()), nullptr, nullptr);
  }
  safety.Apply(&m_engine->m_parser);
}
