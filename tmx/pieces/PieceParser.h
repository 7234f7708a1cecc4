// The parser of one piece at a time, as a worker thread runs it: the piece parsed as a document
// of its own (its frame around its bytes), with the host's parser settings and the unit rules of
// the read, every unit of the piece kept for the host's thread.
#pragma once

#include "tmx/pieces/Piece.h"
#include "tmx/stream/ShownUnit.h"
#include "tmx/stream/UnitParser.h"

class PieceParser final : private UnitEnds {
 public:
  // With a formatter, the units of each piece read are made into output here too.
  PieceParser(const UnitReading& reading, const ParserSettings& settings, CTmxUnitFormatter* pFormatter);
  // Never throws: a piece that cannot be read is left unread.
  void Read(Piece& piece, const PieceFrame& frame) noexcept;

 private:
  void UnitRead() override {}
  void Format(Piece& piece);

  UnitParser m_parser;
  CTmxUnitFormatter* m_pFormatter;
  ShownUnit m_shown;
};
