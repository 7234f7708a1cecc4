#include "cli/Output.h"

#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "cli/Platform.h"
#include "quillon/Utf8.h"

namespace {

constexpr size_t kMaxBytesPerUnit = 6;  // \u001f, the longest escape; a code point takes at most 3 a unit
constexpr size_t kSlice = 1 << 16;      // code units converted per reservation

// Four UTF-16 code units in one 64-bit word, lane by lane: most text is plain ASCII, which goes
// out four units at a time.
constexpr uint64_t kLanes = 0x0001000100010001ull;
constexpr uint64_t kLaneTops = 0x8000800080008000ull;
bool AllAscii(uint64_t v) { return (v & (0xFF80 * kLanes)) == 0; }
// For lanes below 0x8000: whether one is below n, or equals c.
bool AnyBelow(uint64_t v, uint64_t n) { return ((v - n * kLanes) & ~v & kLaneTops) != 0; }
bool AnyEqual(uint64_t v, uint64_t c) { return AnyBelow(v ^ (c * kLanes), 1); }

// Copies the plain ASCII units from psz on, four at a time while plain(word) holds for all four,
// as bytes to p; returns the units copied.
template <class Plain>
size_t CopyPlainAscii(LPCTSTR psz, size_t nLength, char*& p, Plain plain) {
  static_assert(std::endian::native == std::endian::little && sizeof(TCHAR) == 2, "lanes are code units in memory order");
  size_t i = 0;
  for (uint64_t v; i + 4 <= nLength; i += 4) {
    std::memcpy(&v, psz + i, sizeof v);
    if (!AllAscii(v) || !plain(v)) break;
    v = (v | (v >> 8)) & 0x0000FFFF0000FFFFull;
    v |= v >> 16;
    std::memcpy(p, &v, 4);
    p += 4;
  }
  return i;
}

}  // namespace

OutputError::OutputError(std::string where, const std::string& what, int nError)
    : std::runtime_error(what + " (" + std::strerror(nError) + ")"), m_where(std::move(where)) {}

Output::~Output() {
  try {
    Flush();
  } catch (const OutputError&) {
  }
}

char* TextWriter::Reserve(size_t n) {
  if (m_nUsed + n > kCapacity) Flush();
  return m_buffer.get() + m_nUsed;
}

TextWriter& TextWriter::Raw(const char* p, size_t n) {
  if (n > kCapacity / 2) {  // large blocks go out directly, not through the buffer
    Flush();
    Emit(p, n);
  } else {
    std::memcpy(Reserve(n), p, n);
    m_nUsed += n;
  }
  return *this;
}

void TextWriter::Flush() {
  const size_t n = m_nUsed;
  m_nUsed = 0;
  if (n) Emit(m_buffer.get(), n);
}

void Output::Emit(const char* p, size_t n) {
  if (n && std::fwrite(p, 1, n, m_file) != n) throw OutputError(m_name, "cannot write", errno);
}

void Output::Finish() {
  Flush();
  if (std::fflush(m_file) != 0 || std::ferror(m_file)) throw OutputError(m_name, "cannot write", errno);
}

// Converts to UTF-8 (a lone surrogate becomes U+FFFD), a slice at a time so that any text fits
// the buffer; escape(c, p) may write an escaped form of an ASCII code unit at p, advance p and
// return true; plain(word) tells that four ASCII units need no escape.
template <class Escape, class Plain>
TextWriter& TextWriter::Utf8(LPCTSTR psz, size_t nLength, Escape escape, Plain plain) {
  for (size_t i = 0; i < nLength;) {
    const size_t nEnd = i + std::min(kSlice, nLength - i);  // a pair across the end goes whole
    char* const pStart = Reserve(kMaxBytesPerUnit * (nEnd - i + 1));
    char* p = pStart;
    while (i < nEnd) {
      i += CopyPlainAscii(psz + i, nEnd - i, p, plain);
      if (i == nEnd) break;
      if (const char32_t c = psz[i]; c < 0x80) {
        if (!escape(c, p)) *p++ = static_cast<char>(c);
        i++;
      } else {
        p = quillon::AppendUtf8(p, quillon::NextCodePoint(psz, nLength, i));
      }
    }
    m_nUsed += static_cast<size_t>(p - pStart);
  }
  return *this;
}

namespace {

char* Put(char* p, const char* text) {
  while (*text) *p++ = *text++;
  return p;
}

}  // namespace

TextWriter& TextWriter::Json(LPCTSTR psz, size_t nLength) {
  Raw("\"", 1);
  Utf8(psz, nLength, [](char32_t c, char*& p) {
    if (c >= 0x20 && c != '"' && c != '\\') return false;  // the usual case, decided without a jump
    switch (c) {
      case '"': p = Put(p, "\\\""); return true;
      case '\\': p = Put(p, "\\\\"); return true;
      case '\n': p = Put(p, "\\n"); return true;
      case '\r': p = Put(p, "\\r"); return true;
      case '\t': p = Put(p, "\\t"); return true;
      default:
        if (c >= 0x20) return false;
        static const char kHex[] = "0123456789abcdef";
        p = Put(p, "\\u00");
        *p++ = kHex[c >> 4];
        *p++ = kHex[c & 0xF];
        return true;
    }
  }, [](uint64_t v) { return !AnyBelow(v, 0x20) && !AnyEqual(v, '"') && !AnyEqual(v, '\\'); });
  return Raw("\"", 1);
}

TextWriter& TextWriter::Field(const CString& str) {
  return Utf8(str.GetString(), static_cast<size_t>(str.GetLength()), [](char32_t c, char*& p) {
    switch (c) {
      case '\\': p = Put(p, "\\\\"); return true;
      case '\t': p = Put(p, "\\t"); return true;
      case '\n': p = Put(p, "\\n"); return true;
      case '\r': p = Put(p, "\\r"); return true;
      default: return false;
    }
  }, [](uint64_t v) { return !AnyBelow(v, '\r' + 1) && !AnyEqual(v, '\\'); });
}

TextWriter& TextWriter::Text(const CString& str) {
  return Utf8(str.GetString(), static_cast<size_t>(str.GetLength()), [](char32_t, char*&) { return false; },
              [](uint64_t) { return true; });
}

OutputFile::OutputFile(const std::string& path) : m_path(path) {
  const OutputTarget target = ResolveOutput(path);
  m_target = target.path;
  if (target.bReplace) {
    m_file = CreateUniqueFile(m_target + ".quillon-", ".tmp", false, m_temporary);
    if (m_file) CopyMode(m_file, m_target);
  } else {
    m_file = OpenFile(m_target, "wb");
    m_bCommitted = true;  // it is the target itself
  }
  if (m_file == nullptr) throw OutputError(path, "cannot create the file", errno);
  m_pOut = std::make_unique<Output>(m_file, path);
}

OutputFile::~OutputFile() {
  m_pOut.reset();
  if (m_file) std::fclose(m_file);
  if (!m_bCommitted) RemoveFile(m_temporary);
}

void OutputFile::Close() {
  m_pOut->Finish();
  const bool bClosed = std::fclose(m_file) == 0;
  m_file = nullptr;
  if (!bClosed) throw OutputError(m_path, "cannot write", errno);
}

void OutputFile::Commit() {
  if (m_temporary.empty()) return;
  if (!RenameFile(m_temporary, m_target)) throw OutputError(m_path, "cannot create the file", errno);
  m_bCommitted = true;
}
