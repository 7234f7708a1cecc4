#include "tmx/pieces/PieceParser.h"

#include "tmx/parsing/PartsInput.h"

PieceParser::PieceParser(const UnitReading& reading, const ParserSettings& settings, CTmxUnitFormatter* pFormatter)
    : m_parser(reading, *this, true), m_pFormatter(pFormatter) {
  m_parser.Parser().Apply(settings);
}

// The first piece holds its frame; every other follows a frame of the document's bytes, and
// measures its entities' expansion as a part that does not know what came before it.
void PieceParser::Read(Piece& piece, const PieceFrame& frame) noexcept {
  piece.bRead = false;
  try {
    CPartsInputSource source(frame.document);
    if (!piece.bFirst) source.Add(frame.prefix);
    source.Add(std::string_view(piece.bytes.data(), piece.bytes.size()));
    source.Add(frame.suffix);
    m_parser.Restart();
    const unsigned long long nFrame = frame.prefix.size();
    m_parser.Parser().SetFrame({nFrame, piece.bFirst ? nFrame : piece.nStart, 0, !piece.bFirst});
    m_parser.Parser().Begin(source);
    m_parser.Parser().Finish();
    piece.bRead = m_parser.Cursor().BodyEndedLast() && m_parser.Units().UnitsMet() == piece.nUnitsCut;
    if (piece.bRead && m_pFormatter) Format(piece);
  } catch (CException* e) {
    e->Delete();
  } catch (...) {  // read again by the host's parser, which reports it
  }
  piece.nUnitsMet = m_parser.Units().UnitsMet();
  if (!piece.bRead) m_parser.Units().Store().Clear();
  piece.nSpent = m_parser.Parser().SpentAfterFrame();
  std::swap(piece.units, m_parser.Units().Store());
  piece.start = m_parser.Cursor().BodyStart();
  const TextPosition bodyEnd = m_parser.Cursor().BodyEnd();
  piece.end = {bodyEnd.nLine, bodyEnd.nColumn - frame.nBodyEndTag};
}

// Each unit with its key in the document: the cutter counted the units before the piece, and
// the parse agreed with its count of the piece's own.
void PieceParser::Format(Piece& piece) {
  UnitStore& store = m_parser.Units().Store();
  for (size_t i = 0; i < store.GetCount(); i++) {
    m_shown.Show(store, store.Get(i), piece.nKeysBefore);
    store.MakeOutput(i, [this](std::string& output) { m_pFormatter->Format(m_shown, output); });
  }
}
