#include "tmx/reader/UnitStream.h"

#include <algorithm>

#include <xercesc/sax/SAXParseException.hpp>

#include "tmx/pieces/Cores.h"

using namespace xercesc;

CTmxUnitStream::CTmxUnitStream(const CTmxUnitReader& owner, const CString* pFirstLanguage,
                               const CString* pSecondLanguage, CTmxUnitReader::TextMode mode)
    : m_owner(owner), m_reading{pFirstLanguage, pSecondLanguage, mode}, m_unitParser(m_reading, *this) {}

CTmxUnitStream::~CTmxUnitStream() { End(); }

// More parsers than cores only share them; two are kept for a machine of one, where a host may
// still ask for pieces.
void CTmxUnitStream::SetJobs(int nJobs, size_t nPieceBytes) {
  const int nMost = std::min(std::max(AvailableCores(), 2), CTmxUnitReader::kMostJobs);
  m_nJobs = std::clamp(nJobs < 1 ? AvailableCores() : nJobs, 1, nMost);
  m_nPieceBytes = nPieceBytes;
}

void CTmxUnitStream::Open(const InputSource& source, std::unique_ptr<InputSource> pOwned) {
  End();
  m_pPieces.reset();
  m_pDocument.reset();
  m_pSource = std::move(pOwned);
  m_pInput = &source;
  m_bStarted = m_bInPieces = false;
  m_origin = PieceOrigin();
  m_nKeysBefore = 0;
  m_nSkipThrough = -1;
  m_shown.Hide();
}

bool CTmxUnitStream::ReadNextUnit() {
  m_shown.Hide();
  Start(true);
  if (m_bInPieces && NextPieceUnit()) return true;
  Mapped([this] {
    while (!m_shown.IsShown() && m_unitParser.Parser().Step()) {
    }
  });
  return m_shown.IsShown();
}

bool CTmxUnitStream::ReadUnits(CTmxUnitHandler& handler) {
  m_pHandler = &handler;
  return ReadAll();
}

bool CTmxUnitStream::ReadFormatted(CTmxUnitFormatter& formatter, CTmxOutputHandler& handler) {
  m_pFormatter = &formatter;
  m_pOutput = &handler;
  return ReadAll();
}

// The units that remain, each where the read's handler or formatter sends it. What they throw
// ends the read, with one parser or with pieces.
bool CTmxUnitStream::ReadAll() {
  m_shown.Hide();
  struct Done {
    CTmxUnitStream& stream;
    ~Done() {
      stream.m_pHandler = nullptr;
      stream.m_pFormatter = nullptr;
      stream.m_pOutput = nullptr;
      stream.m_shown.Hide();
    }
  } done{*this};
  Start(true);
  try {
    while (m_bInPieces && NextPieceUnit()) {
    }
  } catch (...) {
    End();
    throw;
  }
  Mapped([this] { m_unitParser.Parser().Finish(); });
  return Result();
}

// After a read in pieces has begun, the rest is read from the piece of the unit shown last,
// whose units up to that one are not shown again: languages are gathered after it.
bool CTmxUnitStream::ReadLanguages(CStringArray* pLanguages) {
  m_shown.Hide();
  Start(false);
  if (m_bInPieces) {
    m_nSkipThrough = m_shown.GetKey();
    m_pPieces->Stop();
    BeginRest();
  }
  m_languages = LanguageSet();
  if (m_nSkipThrough < 0) m_unitParser.Cursor().CollectLanguages(m_languages);
  Mapped([this] { m_unitParser.Parser().Finish(); });
  if (pLanguages == nullptr) return true;
  m_languages.AppendTo(*pLanguages);
  return pLanguages->GetSize() > 0;
}

bool CTmxUnitStream::Result() const {
  return !m_unitParser.Units().Rules().IsBilingual() || m_unitParser.Cursor().BodyFound();
}

// The first read chooses: pieces when there are jobs for them, the text is not the engine's and
// the host's settings read pieces as they read the whole.
void CTmxUnitStream::Start(bool bPieces) {
  if (m_bStarted || m_pInput == nullptr) return;
  m_bStarted = true;
  m_pDocument = std::make_unique<CDocumentInputSource>(*m_pInput, m_invalidBytes == CTmxUnitReader::InvalidBytes::Replace);
  StreamParser& parser = m_unitParser.Parser();
  if (!bPieces || m_nJobs < 2 || m_reading.mode == CTmxUnitReader::TextMode::Engine || !parser.ReadsPiecesAlike())
    return Begin(*m_pDocument);
  m_pPieces = std::make_unique<PieceScheduler>(m_reading, parser, *m_pDocument, m_nJobs, m_nPieceBytes, m_pFormatter);
  m_bInPieces = true;
}

// The next unit of the pieces; once they are done, the rest of the document begins. Output a
// worker made goes on as it is.
bool CTmxUnitStream::NextPieceUnit() {
  if (m_pPieces->Next()) {
    if (m_pOutput && m_pPieces->Formatted()) {
      const std::string_view output = m_pPieces->Store().Output(m_pPieces->Unit());
      m_pOutput->OnOutput(output.data(), output.size());
    } else {
      Show(m_pPieces->Store(), m_pPieces->Unit(), m_pPieces->KeysBefore());
    }
    return true;
  }
  BeginRest();
  return false;
}

void CTmxUnitStream::BeginRest() {
  m_bInPieces = false;
  Begin(m_pPieces->Rest());
  m_unitParser.Parser().SetFrame(m_pPieces->RestFrame());
  m_nKeysBefore = m_pPieces->KeysBefore();
  m_origin = m_pPieces->Origin();
}

// A document begins for the parser.
void CTmxUnitStream::Begin(const InputSource& source) {
  m_unitParser.Parser().Begin(source);
  m_unitParser.Parser().SetFrame({});
  m_unitParser.Restart();
}

// No more units: the parser lets its input go, and threads stop.
void CTmxUnitStream::End() {
  m_unitParser.Parser().End();
  m_pPieces.reset();
  m_bInPieces = false;
}

// A unit that the pieces showed already, read again by the rest, is passed over; after the last
// of them, the rest is read for its languages.
void CTmxUnitStream::UnitRead() {
  const UnitStore& store = m_unitParser.Units().Store();
  const UnitStore::Unit& unit = store.Get(store.GetCount() - 1);
  if (m_nSkipThrough >= 0) {
    if (unit.nKey + m_nKeysBefore == m_nSkipThrough) {
      m_nSkipThrough = -1;
      m_unitParser.Cursor().CollectLanguages(m_languages);
    }
    return;
  }
  Show(store, unit, m_nKeysBefore);
}

// The unit goes to the host as the read has it: shown, and handed to a handler, or formatted
// and its output handed on.
void CTmxUnitStream::Show(const UnitStore& store, const UnitStore::Unit& unit, int nKeysBefore) {
  m_shown.Show(store, unit, nKeysBefore);
  if (m_pHandler) m_pHandler->OnUnit(m_owner);
  if (m_pOutput) {
    m_output.clear();
    m_pFormatter->Format(m_shown, m_output);
    m_pOutput->OnOutput(m_output.data(), m_output.size());
  }
}

// A parse error of the rest after pieces is told where it lies in the document. Where the input
// failed, the read ends with that failure: once the parser has read all there was, and when the
// parser's error lies there or after it (the document ended there, cut short).
template <class Read>
void CTmxUnitStream::Mapped(Read read) {
  try {
    read();
  } catch (const SAXParseException& e) {
    End();
    if (e.getLineNumber() == 0) {
      RaiseFailure(nullptr);
      throw;
    }
    const TextPosition at = m_origin.ToDocument({e.getLineNumber(), e.getColumnNumber()});
    RaiseFailure(&at);
    throw SAXParseException(e.getMessage(), e.getPublicId(), e.getSystemId(), at.nLine, at.nColumn);
  } catch (...) {
    End();
    throw;
  }
  if (m_unitParser.Parser().Ended()) RaiseFailure(nullptr);
}

void CTmxUnitStream::RaiseFailure(const TextPosition* pError) {
  if (m_pDocument) m_pDocument->RaiseFailure(pError);
}
