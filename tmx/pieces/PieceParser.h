// The reader of one piece at a time, as a worker thread runs it: the piece parsed as a document
// of its own (the original's declaration and the start tags of its root and body, the piece's
// bytes, their end tags), with the host's parser settings and the unit rules of the read, every
// unit of the piece kept for the host's thread.
#pragma once

#include <string>
#include <vector>

#include <xercesc/util/XMLUniDefs.hpp>

#include "quillon/TmxUnitReader.h"
#include "tmx/parsing/PartsInput.h"
#include "tmx/parsing/StreamParser.h"
#include "tmx/stream/StreamUnits.h"

class PieceCursor;

// A place in a document as its parser counts it.
struct TextPosition {
  XMLFileLoc nLine = 1, nColumn = 1;
};

// Where a piece's bytes lie in the document and in the piece's own parse, which counts from
// its frame: a position in the one gives the position in the other.
struct PieceOrigin {
  TextPosition inDocument, inPiece;
  TextPosition ToDocument(TextPosition at) const {
    if (at.nLine != inPiece.nLine) return {inDocument.nLine + at.nLine - inPiece.nLine, at.nColumn};
    return {inDocument.nLine, inDocument.nColumn + at.nColumn - inPiece.nColumn};
  }
};

struct Piece {
  Bytes bytes;
  bool bFirst = false;  // it holds the document's start, which frames it
  // What its reader found.
  bool bRead = false;  // parsed to its end, which is where body's content went on
  UnitStore units;
  int nUnitsMet = 0;
  TextPosition start, end;  // of its bytes in its own parse
};

// The frame of the pieces of one document.
struct PieceFrame {
  const xercesc::InputSource& document;  // names the pieces
  std::string prefix, suffix;
};

// What a reader reads: its languages, if it has a pair, and its text.
struct UnitReading {
  UnitReading(const CString* pFirst, const CString* pSecond, CTmxUnitReader::TextMode textMode)
      : bPair(pFirst != nullptr), first(pFirst ? *pFirst : CString()), second(pSecond ? *pSecond : CString()),
        mode(textMode) {}
  const CString* First() const { return bPair ? &first : nullptr; }
  const CString* Second() const { return bPair ? &second : nullptr; }

  bool bPair;
  CString first, second;
  CTmxUnitReader::TextMode mode;
};

class PieceReader : private UnitEnds {
 public:
  PieceReader(const UnitReading& reading, StreamParser& host);
  ~PieceReader();
  // Never throws: a piece that cannot be read is left unread.
  void Read(Piece& piece, const PieceFrame& frame) noexcept;

 private:
  void UnitRead() override {}

  StreamUnits m_units;
  std::unique_ptr<PieceCursor> m_pCursor;
  StreamParser m_parser;
};
