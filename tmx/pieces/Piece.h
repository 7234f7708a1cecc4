// A piece of a document, as the scheduler hands it to a worker and takes it back: its bytes, a
// run of whole children of body, and what the worker's parser found in them; and the frame that
// makes each piece a document of its own.
#pragma once

#include <string>

#include <xercesc/sax/InputSource.hpp>

#include "tmx/parsing/PartsInput.h"
#include "tmx/stream/TextPosition.h"
#include "tmx/stream/UnitStore.h"

struct Piece {
  Bytes bytes;
  bool bFirst = false;  // it holds the document's start, which frames it
  // What its parser found.
  bool bRead = false;  // parsed to its end, which is where body's content went on
  UnitStore units;
  int nUnitsMet = 0;
  TextPosition start, end;  // of its bytes in its own parse
};

// The frame of the pieces of one document: what goes before each (the document's declaration
// and the start tags of its root and body) and after it (their end tags).
struct PieceFrame {
  const xercesc::InputSource& document;  // names the pieces
  std::string prefix, suffix;
};
