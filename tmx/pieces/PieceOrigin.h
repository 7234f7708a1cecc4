// Where a piece's bytes lie in the document and in the piece's own parse, which counts from its
// frame: a position in the one gives the position in the other.
#pragma once

#include "tmx/stream/TextPosition.h"

struct PieceOrigin {
  TextPosition inDocument, inPiece;
  TextPosition ToDocument(TextPosition at) const {
    if (at.nLine != inPiece.nLine) return {inDocument.nLine + at.nLine - inPiece.nLine, at.nColumn};
    return {inDocument.nLine, inDocument.nColumn + at.nColumn - inPiece.nColumn};
  }
};
