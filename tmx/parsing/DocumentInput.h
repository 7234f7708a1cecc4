// The document of a read, as every parser of the read takes it: the bytes of its source, checked
// as the encoding the parser reads them in (tmx/parsing/TextCheck.h), and ended where the source
// fails (a read error, a damaged compressed stream, a file object that raises) or a byte cannot
// be read. One parser and a read in pieces then both read exactly the bytes before that place,
// and the read ends with the failure there, after the same units.
#pragma once

#include <exception>
#include <memory>
#include <string>

#include <xercesc/sax/InputSource.hpp>

#include "tmx/parsing/DocumentEncoding.h"
#include "tmx/stream/TextPosition.h"

// Why a document's bytes ended before their source did, and where.
struct InputFailure {
  std::exception_ptr sourceError;  // what the source threw; null for a byte that cannot be read
  std::string problem;             // what is wrong with that byte
  TextPosition at;                 // as the parser counts; line 0 where the encoding is not looked into
};

class CDocumentInputSource : public xercesc::InputSource {
 public:
  // Named as the source is. With bReplace, a byte that cannot be read is read as U+FFFD.
  CDocumentInputSource(const xercesc::InputSource& source, bool bReplace);
  ~CDocumentInputSource() override;
  // Given once; null when the source cannot be opened (the parser, given the source, says why).
  xercesc::BinInputStream* makeStream() const override;

  // The encoding the bytes are read in, once the stream has given its first.
  const DocumentEncoding& Encoding() const;
  // Once the stream has ended: why, when it ended early; null when the source ended it.
  const InputFailure* Failure() const;
  // Raises the failure, once, when there is one and a parse ended by it: one that reached the
  // end of the bytes (pErrorAt null), or whose error lies where they ended or after (a parser's
  // error before that place is the document's own, and stands).
  void RaiseFailure(const TextPosition* pErrorAt);
  unsigned long long ReplacedBytes() const;

  struct State;

 private:
  const xercesc::InputSource& m_source;
  std::shared_ptr<State> m_pState;  // shared with the stream, which may outlive this
};
