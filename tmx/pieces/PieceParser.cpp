#include "tmx/pieces/PieceParser.h"

#include <xercesc/sax/Locator.hpp>

#include "tmx/parsing/PartsInput.h"

using namespace xercesc;

// The cursor of a piece's parse, which also notes where body's content begins and ends, and
// whether body ended last but for the root: then the piece's bytes left body's content where
// they found it, as the frame's end tags say.
class PieceCursor : public EventCursor {
 public:
  using EventCursor::EventCursor;
  void Restart() {
    EventCursor::Restart();
    m_nEndsAfterBody = -1;
  }
  bool BodyEndedLast() const { return m_nEndsAfterBody == 1; }
  TextPosition BodyStart() const { return m_start; }
  TextPosition BodyEnd() const { return m_end; }

  void setDocumentLocator(const Locator* const pLocator) override { m_pLocator = pLocator; }
  void startElement(const XMLCh* const pszUri, const XMLCh* const pszLocal, const XMLCh* const pszName,
                    const Attributes& attributes) override {
    const bool bFound = BodyFound();
    EventCursor::startElement(pszUri, pszLocal, pszName, attributes);
    if (!bFound && BodyFound()) m_start = Here();
  }
  void endElement(const XMLCh* const pszUri, const XMLCh* const pszLocal, const XMLCh* const pszName) override {
    const bool bInBody = InBody();
    EventCursor::endElement(pszUri, pszLocal, pszName);
    if (bInBody && !InBody()) {
      m_end = Here();
      m_nEndsAfterBody = 0;
    } else if (m_nEndsAfterBody >= 0) {
      m_nEndsAfterBody++;
    }
  }

 private:
  TextPosition Here() const { return {m_pLocator->getLineNumber(), m_pLocator->getColumnNumber()}; }

  const Locator* m_pLocator = nullptr;
  TextPosition m_start, m_end;
  int m_nEndsAfterBody = -1;
};

PieceReader::PieceReader(const UnitReading& reading, StreamParser& host)
    : m_units(reading.First(), reading.Second(), reading.mode, *this, true),
      m_pCursor(std::make_unique<PieceCursor>(m_units.Rules(), m_units)),
      m_parser(*m_pCursor) {
  m_parser.TakeSettings(host);
}

PieceReader::~PieceReader() = default;

void PieceReader::Read(Piece& piece, const PieceFrame& frame) noexcept {
  piece.bRead = false;
  try {
    CPartsInputSource source(frame.document);
    if (!piece.bFirst) source.Add(frame.prefix);
    source.Add(std::string_view(piece.bytes.data(), piece.bytes.size()));
    source.Add(frame.suffix);
    m_pCursor->Restart();
    m_units.Restart();
    m_parser.Begin(source);
    m_parser.Finish();
    piece.bRead = m_pCursor->BodyEndedLast();
  } catch (CException* e) {
    e->Delete();
  } catch (...) {  // read again by the host's parser, which reports it
  }
  piece.nUnitsMet = m_units.UnitsMet();
  std::swap(piece.units, m_units.Store());
  piece.start = m_pCursor->BodyStart();
  const XMLFileLoc nBodyEndTag = frame.suffix.find('>') + 1;
  piece.end = {m_pCursor->BodyEnd().nLine, m_pCursor->BodyEnd().nColumn - nBodyEndTag};
}
