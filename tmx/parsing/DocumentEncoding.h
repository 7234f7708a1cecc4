// The encoding of a document as the readers that look at its bytes need it, sensed from its first
// bytes as the parser senses it: a byte-order mark, else the pattern of "<?xml", else UTF-8; then
// the declaration's encoding, for the encodings whose markup the bytes show. It says how markup
// characters sit among the bytes (one byte each, or two in either order), whether the bytes must
// be checked (UTF-8, US-ASCII), and which characters end a line (XML 1.1 adds NEL and LS).
#pragma once

#include <cstddef>

enum class ByteLayout {
  kOther,   // not looked into: UCS-4, EBCDIC, a stateful or multi-byte encoding, a forced one
  kNarrow,  // each markup character a byte: UTF-8, US-ASCII, ISO-8859-x, windows-125x
  kUtf16LE,
  kUtf16BE,
};

struct DocumentEncoding {
  enum class Check { kNone, kUtf8, kAscii };

  ByteLayout layout = ByteLayout::kOther;
  Check check = Check::kNone;
  bool bXml11 = false;
  size_t nMarkBytes = 0;  // of the byte-order mark

  size_t UnitBytes() const { return layout == ByteLayout::kNarrow ? 1 : 2; }
};

// Senses the encoding from the first nSize bytes of a document, all of it when bAll. Bytes that
// end inside the declaration, or hold a declaration longer than the parser reads, tell nothing.
DocumentEncoding SenseEncoding(const char* pBytes, size_t nSize, bool bAll);
