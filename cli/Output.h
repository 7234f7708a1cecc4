// The tool's output: UTF-16 text straight into UTF-8, escaped for JSON or for the tab-separated
// text format, written in large blocks, every write checked.
#pragma once

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "quillon/afx.h"

// A file or stream that could not be made or written: its name, and why.
class OutputError : public std::runtime_error {
 public:
  OutputError(std::string where, const std::string& what, int nError);
  const std::string& Where() const { return m_where; }

 private:
  std::string m_where;
};

// UTF-16 text into UTF-8 bytes, escaped for JSON or the text format, gathered in a buffer that
// goes out in large blocks (Emit, which a kind of output says where to).
class TextWriter {
 public:
  TextWriter() = default;
  virtual ~TextWriter() = default;
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  TextWriter& operator<<(const std::string& text) { return Raw(text.data(), text.size()); }
  TextWriter& operator<<(const char* text) { return Raw(text, std::char_traits<char>::length(text)); }
  TextWriter& operator<<(long long n) { return *this << std::to_string(n); }
  TextWriter& Raw(const char* p, size_t n);
  // A JSON string literal, quotes included.
  TextWriter& Json(LPCTSTR psz, size_t nLength);
  TextWriter& Json(const CString& str) { return Json(str.GetString(), static_cast<size_t>(str.GetLength())); }
  // A field of the text format: backslash, tab, line feed and carriage return as \\, \t, \n and \r.
  TextWriter& Field(const CString& str);
  // The text as it is.
  TextWriter& Text(const CString& str);
  // What is gathered goes out.
  void Flush();

 protected:
  virtual void Emit(const char* p, size_t n) = 0;

 private:
  static constexpr size_t kCapacity = 1 << 20;
  // Room for n more bytes, flushing first when the buffer lacks it (n is at most kCapacity).
  char* Reserve(size_t n);
  template <class Escape, class Plain>
  TextWriter& Utf8(LPCTSTR psz, size_t nLength, Escape escape, Plain plain);

  std::unique_ptr<char[]> m_buffer{new char[kCapacity]};
  size_t m_nUsed = 0;
};

// Into a file or stream, every write checked.
class Output : public TextWriter {
 public:
  // name is what an error line calls the output: <stdout>, or the file's path.
  Output(std::FILE* file, std::string name) : m_file(file), m_name(std::move(name)) {}
  // Writes out what is left, as far as it goes: after a failure, what came before it stays.
  ~Output() override;
  // Writes out everything and makes sure the system took it.
  void Finish();

 private:
  void Emit(const char* p, size_t n) override;

  std::FILE* m_file;
  std::string m_name;
};

// Appended to bytes in memory, as a unit's output is made on a thread that reads units.
class BytesOutput : public TextWriter {
 public:
  // The bytes gathered go to bytes once flushed.
  void Into(std::string& bytes) { m_pBytes = &bytes; }

 private:
  void Emit(const char* p, size_t n) override { m_pBytes->append(p, n); }

  std::string* m_pBytes = nullptr;
};

// A file that a command writes. A regular file is made beside its target under a temporary name:
// Commit gives it the target's name once all of it is written (through a link, the name of the
// file the link points to), and a file never committed is removed. A device or a pipe is
// written into directly, and what was written stays.
class OutputFile {
 public:
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  Output& Out() { return *m_pOut; }
  // Finishes and closes the file; Commit then renames it.
  void Close();
  void Commit();

 private:
  std::string m_path, m_target, m_temporary;  // as the user named it, what it names, what is written
  std::FILE* m_file;
  std::unique_ptr<Output> m_pOut;
  bool m_bCommitted = false;
};
