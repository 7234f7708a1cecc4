#include "cli/Output.h"

#include <stdexcept>

#include "cli/Platform.h"

namespace {

constexpr size_t kFlushAt = 1 << 20;

void AppendCodePoint(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += {static_cast<char>(0xC0 | (c >> 6)), static_cast<char>(0x80 | (c & 0x3F))};
  } else if (c < 0x10000) {
    out += {static_cast<char>(0xE0 | (c >> 12)), static_cast<char>(0x80 | ((c >> 6) & 0x3F)),
            static_cast<char>(0x80 | (c & 0x3F))};
  } else {
    out += {static_cast<char>(0xF0 | (c >> 18)), static_cast<char>(0x80 | ((c >> 12) & 0x3F)),
            static_cast<char>(0x80 | ((c >> 6) & 0x3F)), static_cast<char>(0x80 | (c & 0x3F))};
  }
}

}  // namespace

Output& Output::Raw(const char* p, size_t n) {
  if (n >= kFlushAt) {  // large blocks go out directly, not through the buffer
    Flush();
    std::fwrite(p, 1, n, m_file);
    return *this;
  }
  m_buffer.append(p, n);
  if (m_buffer.size() >= kFlushAt) Flush();
  return *this;
}

void Output::Flush() {
  if (m_buffer.empty()) return;
  std::fwrite(m_buffer.data(), 1, m_buffer.size(), m_file);
  m_buffer.clear();
}

// Converts to UTF-8 (a lone surrogate becomes U+FFFD); escape(c, out) may write an escaped form
// of an ASCII code unit and return true.
template <class Escape>
Output& Output::Utf8(LPCTSTR psz, size_t nLength, Escape escape) {
  for (size_t i = 0; i < nLength; i++) {
    char32_t c = psz[i];
    if (c < 0x80 && escape(c, m_buffer)) continue;
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < nLength && psz[i + 1] >= 0xDC00 && psz[i + 1] <= 0xDFFF)
      c = 0x10000 + ((c - 0xD800) << 10) + (psz[++i] - 0xDC00);
    else if (c >= 0xD800 && c <= 0xDFFF)
      c = 0xFFFD;
    AppendCodePoint(m_buffer, c);
  }
  if (m_buffer.size() >= kFlushAt) Flush();
  return *this;
}

Output& Output::Json(LPCTSTR psz, size_t nLength) {
  m_buffer += '"';
  Utf8(psz, nLength, [](char32_t c, std::string& out) {
    switch (c) {
      case '"': out += "\\\""; return true;
      case '\\': out += "\\\\"; return true;
      case '\n': out += "\\n"; return true;
      case '\r': out += "\\r"; return true;
      case '\t': out += "\\t"; return true;
      default:
        if (c >= 0x20) return false;
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
        out += escaped;
        return true;
    }
  });
  m_buffer += '"';
  return *this;
}

Output& Output::Field(const CString& str) {
  return Utf8(str.GetString(), static_cast<size_t>(str.GetLength()), [](char32_t c, std::string& out) {
    switch (c) {
      case '\\': out += "\\\\"; return true;
      case '\t': out += "\\t"; return true;
      case '\n': out += "\\n"; return true;
      default: return false;
    }
  });
}

Output& Output::Text(const CString& str) {
  return Utf8(str.GetString(), static_cast<size_t>(str.GetLength()), [](char32_t, std::string&) { return false; });
}

OutputFile::OutputFile(const std::string& path) : m_path(path), m_file(OpenFile(path, "wb")), m_out(m_file) {
  if (m_file == nullptr) throw std::runtime_error("cannot create " + path);
}

OutputFile::~OutputFile() {
  if (m_file == nullptr) return;
  m_out.Flush();  // what was written before a failure stays written
  std::fclose(m_file);
}

void OutputFile::Close() {
  m_out.Flush();
  const bool bWritten = std::ferror(m_file) == 0;
  const bool bClosed = std::fclose(m_file) == 0;
  m_file = nullptr;
  if (!bWritten || !bClosed) throw std::runtime_error("cannot write " + m_path);
}
