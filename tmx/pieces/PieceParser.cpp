#include "tmx/pieces/PieceParser.h"

PieceParser::PieceParser(const UnitReading& reading, StreamParser& host) : m_parser(reading, *this, true) {
  m_parser.Parser().TakeSettings(host);
}

void PieceParser::Read(Piece& piece, const PieceFrame& frame) noexcept {
  piece.bRead = false;
  try {
    CPartsInputSource source(frame.document);
    if (!piece.bFirst) source.Add(frame.prefix);
    source.Add(std::string_view(piece.bytes.data(), piece.bytes.size()));
    source.Add(frame.suffix);
    m_parser.Restart();
    m_parser.Parser().Begin(source);
    m_parser.Parser().Finish();
    piece.bRead = m_parser.Cursor().BodyEndedLast();
  } catch (CException* e) {
    e->Delete();
  } catch (...) {  // read again by the host's parser, which reports it
  }
  piece.nUnitsMet = m_parser.Units().UnitsMet();
  std::swap(piece.units, m_parser.Units().Store());
  piece.start = m_parser.Cursor().BodyStart();
  const XMLFileLoc nBodyEndTag = frame.suffix.find('>') + 1;
  const TextPosition bodyEnd = m_parser.Cursor().BodyEnd();
  piece.end = {bodyEnd.nLine, bodyEnd.nColumn - nBodyEndTag};
}
