// Where a document may be cut into pieces that parsers can read each on its own: between two
// children of body, so that each piece is a run of whole children. It reads the bytes as they
// come, in UTF-8 or US-ASCII, whose markup is ASCII whatever the text holds, and keeps to what it
// is sure of: a document type declaration, another encoding, a prolog longer than it looks at,
// or markup it does not expect make the document one piece. Where its view of the markup is
// wrong, the parser of a piece finds out (the piece does not end where the cutter said).
#pragma once

#include <cstddef>
#include <string>

class BodyCutter {
 public:
  // The root element must begin within the first nPrologLimit bytes: the parser's own look at
  // the prolog sees no further.
  explicit BodyCutter(size_t nPrologLimit) : m_nPrologLimit(nPrologLimit) {}

  // Reads on through pBytes[0, nSize): the bytes since the last cut, the earlier ones as the last
  // call saw them. Returns the first cut at or after nMinimum, or 0 when there is none yet.
  size_t Scan(const char* pBytes, size_t nSize, size_t nMinimum);
  // The bytes before nOffset, a cut that Scan returned, are gone.
  void Cut(size_t nOffset) { m_nPos -= nOffset; }

  // No more cuts: body has ended, or the cutter gave up (the document may be one piece).
  bool Ended() const { return m_phase == Phase::kEnded; }
  // The XML declaration, the root's start tag and body's, as the document has them; and the end
  // tags of body and the root. Known once a cut has been found.
  const std::string& Prefix() const { return m_prefix; }
  const std::string& Suffix() const { return m_suffix; }

 private:
  enum class Phase { kProlog, kHead, kBody, kEnded };
  enum class Kind { kOther, kStartTag, kEmptyTag, kEndTag };

  size_t ScanBody(const char* p, size_t n, size_t nMinimum);
  size_t ConstructEnd(const char* p, size_t n, size_t nStart, Kind& kind);
  void InProlog(const char* p, size_t nStart, size_t nEnd, Kind kind);
  void InHead(const char* p, size_t nStart, size_t nEnd, Kind kind);
  void Declaration(const char* p, size_t nStart, size_t nEnd);
  void GiveUp() { m_phase = Phase::kEnded; }

  size_t m_nPrologLimit;
  Phase m_phase = Phase::kProlog;
  size_t m_nPos = 0;  // where the scan goes on: outside markup
  int m_nDepth = 0;   // open elements below the root before body, below body in it
  std::string m_prefix, m_suffix, m_root;
};
