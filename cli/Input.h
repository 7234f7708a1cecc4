// What the tool's commands read: a file, opened once by its name as the command line gives it,
// or "-" for standard input, for every command. A TMX source read whole goes to the engine by a
// path the parser can open, or from standard input as a memory file; an XML file for the packer,
// which takes a path, is spooled from standard input into a private file removed afterwards.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/ParserSafety.h"
#include "quillon/TmxParseEngine.h"

// An open input; a read that fails raises, in plain words, as opening does.
class InputFile {
 public:
  explicit InputFile(const std::string& path);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  bool IsStandardInput() const { return m_file == stdin; }
  std::FILE* Get() const { return m_file; }
  // A path by which the parser opens the same file.
  std::string ParserPath() const;
  // Up to nMax bytes into p; 0 at the end.
  size_t Read(void* p, size_t nMax);
  std::vector<BYTE> ReadAll();

 private:
  std::string m_path;
  std::FILE* m_file;
};

class TmxInput {
 public:
  TmxInput(const std::string& source, ParserSafety& safety);
  CTmxParseEngine& Engine() { return *m_engine; }
  // Parses and lists the languages; says on standard error when the document is not a TMX
  // document, whose root element is tmx.
  bool SearchLanguages(CStringArray* pLanguages);

 private:
  std::string m_source;
  InputFile m_input;
  std::vector<BYTE> m_bytes;
  CMemFile m_memFile;
  std::unique_ptr<CTmxParseEngine> m_engine;
};

// The path of an XML file for the packer.
class XmlPath {
 public:
  explicit XmlPath(const std::string& input);
  ~XmlPath();
  CString Path() const { return CString(m_path.c_str()); }

 private:
  InputFile m_input;
  std::string m_path;
  bool m_bSpooled = false;
};

// UTF-16 to UTF-8.
inline std::string Utf8(const CString& str) { return CW2A(str.GetString()).str(); }
