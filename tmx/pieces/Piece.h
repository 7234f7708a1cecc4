// A piece of a document, as the scheduler hands it to a worker and takes it back: its bytes, a
// run of whole children of body, and what the worker's parser found in them; and the frame that
// makes each piece a document of its own.
#pragma once

#include <string>

#include <xercesc/sax/InputSource.hpp>

#include "tmx/parsing/Bytes.h"
#include "tmx/stream/TextPosition.h"
#include "tmx/stream/UnitStore.h"

struct Piece {
  Bytes bytes;
  unsigned long long nStart = 0;  // where its bytes lie in the document
  bool bFirst = false;            // it holds the document's start, frame included
  int nKeysBefore = 0, nUnitsCut = 0;  // units before it and in it, as the cutter counted them
  // What its parser found.
  bool bRead = false;  // parsed to its end, which is where body's content went on
  UnitStore units;
  int nUnitsMet = 0;
  TextPosition start, end;          // of its bytes in its own parse
  unsigned long long nSpent = 0;    // on entity expansion, after the frame
};

// The frame of the pieces of one document: its bytes before body's content, as they are, and
// the end tags of body and the root, in its encoding.
struct PieceFrame {
  const xercesc::InputSource& document;  // names the pieces
  std::string prefix, suffix;
  unsigned long long nBodyEndTag = 0;  // code units of body's end tag, the suffix's first
};
