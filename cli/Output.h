// Streaming the tool's output: UTF-16 text straight into UTF-8, escaped for JSON or for the
// tab-separated text format, flushed in large blocks.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "quillon/afx.h"

class Output {
 public:
  explicit Output(std::FILE* file) : m_file(file) {}
  ~Output() { Flush(); }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  Output& operator<<(const std::string& text) { return Raw(text.data(), text.size()); }
  Output& operator<<(const char* text) { return Raw(text, std::char_traits<char>::length(text)); }
  Output& operator<<(long long n) { return *this << std::to_string(n); }
  Output& Raw(const char* p, size_t n);
  // A JSON string literal, quotes included.
  Output& Json(LPCTSTR psz, size_t nLength);
  Output& Json(const CString& str) { return Json(str.GetString(), static_cast<size_t>(str.GetLength())); }
  // A field of the text format: backslash, tab and line feed as \\, \t and \n.
  Output& Field(const CString& str);
  // The text as it is.
  Output& Text(const CString& str);
  void Flush();

 private:
  static constexpr size_t kCapacity = 1 << 20;
  // Room for n more bytes, flushing first when the buffer lacks it (n is at most kCapacity).
  char* Reserve(size_t n);
  template <class Escape, class Plain>
  Output& Utf8(LPCTSTR psz, size_t nLength, Escape escape, Plain plain);

  std::FILE* m_file;
  std::unique_ptr<char[]> m_buffer{new char[kCapacity]};
  size_t m_nUsed = 0;
};

// An output file that a command writes: created (or emptied) at once, checked when closed.
class OutputFile {
 public:
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  Output& Out() { return m_out; }
  // Flushes and closes; a failed write raises, naming the file.
  void Close();

 private:
  std::string m_path;
  std::FILE* m_file;
  Output m_out;
};
