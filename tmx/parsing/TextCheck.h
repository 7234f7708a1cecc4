// Reads a document's bytes as its parser will decode them, ahead of it, and finds the first
// byte the parser would refuse: in UTF-8 one that starts or continues no character, in US-ASCII
// one above 0x7F. The parser places such a byte where the block of text it was decoding began,
// which depends on where its read began; this check places it where it is, the same for one
// parser and for a read in pieces. Replacing, each such byte is read as U+FFFD instead.
//
// It also counts lines and columns as the parser does (a line ends at LF, CR or CR LF, and in
// XML 1.1 at NEL and LS too; a column is a UTF-16 code unit), so that the place where the bytes
// end is known in the parser's terms.
#pragma once

#include <string>

#include "tmx/parsing/Bytes.h"
#include "tmx/parsing/DocumentEncoding.h"
#include "tmx/stream/TextPosition.h"

class TextCheck {
 public:
  TextCheck(const DocumentEncoding& encoding, bool bReplace);

  // Checks the bytes from p on, which follow those taken before, and appends what the parser is
  // to read to out; without out (when not replacing) the parser reads them where they are.
  // Returns how many it took: all of them but a character they end in the middle of (to be
  // given again with the bytes that follow), unless they are the last (bLast); or those before
  // the first byte that is wrong, when not replacing (then Problem() says why).
  size_t Take(const char* p, size_t n, bool bLast, Bytes* pOut);

  // Where the next byte would be, and why the bytes end when one was wrong.
  TextPosition Position() const { return {m_nLine, m_nColumn}; }
  const std::string& Problem() const { return m_problem; }
  unsigned long long Replaced() const { return m_nReplaced; }

 private:
  size_t Checked(const unsigned char* p, size_t n) const;
  bool Wrong(unsigned char c, Bytes* pOut);
  void Count(const unsigned char* p, size_t n);
  void CountEach(const unsigned char* p, size_t n);
  unsigned long long Units(const unsigned char* p, size_t n) const;

  DocumentEncoding m_encoding;
  bool m_bReplace;
  unsigned long long m_nLine = 1, m_nColumn = 1;
  bool m_bAfterCR = false;  // the last byte counted was a CR, whose LF would not end another line
  std::string m_problem;
  unsigned long long m_nReplaced = 0;
};
