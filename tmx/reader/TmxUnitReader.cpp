// The streaming reader: the parser's events (StreamParser) turned into the nodes the DOM would
// hold (EventCursor) and driven through the same unit rules as the builders' DOM walk
// (StreamUnits), one unit at a time; or the units of pieces read side by side (PieceScheduler), then
// the rest of the document so.
#include "quillon/TmxUnitReader.h"

#include <xercesc/framework/LocalFileInputSource.hpp>

#include "tmx/parsing/FileInputSource.h"
#include "tmx/pieces/Cores.h"
#include "tmx/pieces/PieceScheduler.h"
#include "tmx/rules/LanguageSet.h"
#include "tmx/stream/UnitParser.h"

using namespace xercesc;

class CTmxUnitStream final : private UnitEnds {
 public:
  CTmxUnitStream(const CTmxUnitReader& owner, const CString* pFirstLanguage, const CString* pSecondLanguage,
                 CTmxUnitReader::TextMode mode)
      : m_owner(owner),
        m_reading{pFirstLanguage, pSecondLanguage, mode},
        m_unitParser(m_reading, *this) {}

  SAX2XMLReader& Parser() { return m_unitParser.Parser().Get(); }

  void SetJobs(int nJobs, size_t nPieceBytes) {
    m_nJobs = nJobs < 1 ? AvailableCores() : nJobs;
    m_nPieceBytes = nPieceBytes;
  }

  // The read in progress ends before the input it may hold goes.
  void Open(const InputSource& source, std::unique_ptr<InputSource> pOwned = nullptr) {
    Begin(source);
    m_pPieces.reset();
    m_pSource = std::move(pOwned);
    m_pInput = &source;
    m_bStarted = m_bInPieces = false;
    m_origin = PieceOrigin();
    m_nKeysBefore = 0;
    m_bUnitRead = false;
  }

  bool ReadNextUnit() {
    m_bUnitRead = false;
    Start();
    if (m_bInPieces && NextPieceUnit()) return true;
    Mapped([this] {
      while (!m_bUnitRead && m_unitParser.Parser().Step()) {
      }
    });
    return m_bUnitRead;
  }

  bool ReadUnits(CTmxUnitHandler& handler) {
    m_bUnitRead = false;
    m_pHandler = &handler;
    struct Done {
      CTmxUnitStream& stream;
      ~Done() {
        stream.m_pHandler = nullptr;
        stream.m_bUnitRead = false;
      }
    } done{*this};
    Start();
    while (m_bInPieces && NextPieceUnit()) {
    }
    Mapped([this] { m_unitParser.Parser().Finish(); });
    return Result();
  }

  // After a read in pieces has begun, the rest is read from the next piece on.
  bool ReadLanguages(CStringArray* pLanguages) {
    m_bUnitRead = false;
    m_bStarted = true;
    if (m_bInPieces) {
      m_pPieces->Stop();
      BeginRest();
    }
    m_languages = LanguageSet();
    m_unitParser.Cursor().CollectLanguages(m_languages);
    Mapped([this] { m_unitParser.Parser().Finish(); });
    if (pLanguages == nullptr) return true;
    m_languages.AppendTo(*pLanguages);
    return pLanguages->GetSize() > 0;
  }

  int Key() const { return m_nKey; }
  INT_PTR VariantCount() const { return m_bUnitRead ? static_cast<INT_PTR>(m_nVariants) : 0; }
  const CTmxTUV& Variant(INT_PTR nIndex) const {
    if (nIndex < 0 || nIndex >= VariantCount()) AfxThrowInvalidArgException();
    return *m_variants[static_cast<size_t>(nIndex)];
  }
  LPCTSTR UnitId() const { return m_bUnitRead ? m_pszUnitId : nullptr; }
  bool Result() const { return !m_unitParser.Units().Rules().IsBilingual() || m_unitParser.Cursor().BodyFound(); }

 private:
  // The first read chooses: pieces when there are jobs for them, the text is not the engine's
  // and the host's settings read pieces as they read the whole.
  void Start() {
    if (m_bStarted || m_pInput == nullptr) return;
    m_bStarted = true;
    StreamParser& parser = m_unitParser.Parser();
    if (m_nJobs < 2 || m_reading.mode == CTmxUnitReader::TextMode::Engine || !parser.ReadsPiecesAlike()) return;
    m_pPieces = std::make_unique<PieceScheduler>(m_reading, parser, *m_pInput, m_nJobs, m_nPieceBytes);
    m_bInPieces = true;
  }

  // The next unit of the pieces; once they are done, the rest of the document begins.
  bool NextPieceUnit() {
    if (m_pPieces->Next()) {
      Show(m_pPieces->Store(), m_pPieces->Unit(), m_pPieces->KeysBefore());
      return true;
    }
    BeginRest();
    return false;
  }

  void BeginRest() {
    m_bInPieces = false;
    Begin(m_pPieces->Rest());
    m_nKeysBefore = m_pPieces->KeysBefore();
    m_origin = m_pPieces->Origin();
  }

  // A document begins for the parser.
  void Begin(const InputSource& source) {
    m_unitParser.Parser().Begin(source);
    m_unitParser.Restart();
  }

  void UnitRead() override {
    const UnitStore& store = m_unitParser.Units().Store();
    Show(store, store.Get(store.GetCount() - 1), m_nKeysBefore);
  }

  // The unit's variants go to storage that units reuse, as the host reads them.
  void Show(const UnitStore& store, const UnitStore::Unit& unit, int nKeysBefore) {
    for (m_nVariants = 0; m_nVariants < unit.nVariants; m_nVariants++) {
      if (m_nVariants == m_variants.size()) m_variants.push_back(std::make_unique<CTmxTUV>(nullptr, nullptr, nullptr));
      const UnitStore::Variant& from = store.VariantOf(unit, m_nVariants);
      CTmxTUV& variant = *m_variants[m_nVariants];
      Assign(variant.m_strLanguage, store.Text(from.language));
      Assign(variant.m_strSegment, store.Text(from.segment));
      Assign(variant.m_strNote, store.Text(from.note));
    }
    m_pszUnitId = store.Id(unit);
    m_nKey = unit.nKey + nKeysBefore;
    m_bUnitRead = true;
    if (m_pHandler) m_pHandler->OnUnit(m_owner);
  }

  static void Assign(CString& str, TextView text) { str.SetString(text.data(), static_cast<int>(text.size())); }

  // A parse error of the rest after pieces is told where it lies in the document.
  template <class Read>
  void Mapped(Read read) {
    try {
      read();
    } catch (const SAXParseException& e) {
      if (e.getLineNumber() == 0) throw;
      const TextPosition at = m_origin.ToDocument({e.getLineNumber(), e.getColumnNumber()});
      throw SAXParseException(e.getMessage(), e.getPublicId(), e.getSystemId(), at.nLine, at.nColumn);
    }
  }

  const CTmxUnitReader& m_owner;
  const UnitReading m_reading;
  std::unique_ptr<InputSource> m_pSource;  // the input, when the reader made it: it outlives the parse
  const InputSource* m_pInput = nullptr;
  int m_nJobs = 1;
  size_t m_nPieceBytes = CTmxUnitReader::kDefaultPieceBytes;
  std::unique_ptr<PieceScheduler> m_pPieces;  // outlives the parse of its rest
  bool m_bStarted = false, m_bInPieces = false;
  PieceOrigin m_origin;  // of what the parser reads
  int m_nKeysBefore = 0;
  UnitParser m_unitParser;
  LanguageSet m_languages;
  // The unit shown: the one just read, until the next read.
  bool m_bUnitRead = false;
  std::vector<std::unique_ptr<CTmxTUV>> m_variants;
  size_t m_nVariants = 0;
  LPCTSTR m_pszUnitId = nullptr;  // in its store
  int m_nKey = -1;
  CTmxUnitHandler* m_pHandler = nullptr;
};

CTmxUnitReader::CTmxUnitReader(TextMode mode)
    : m_pStream(std::make_unique<CTmxUnitStream>(*this, nullptr, nullptr, mode)) {}

CTmxUnitReader::CTmxUnitReader(const CString& strFirstLanguage, const CString& strSecondLanguage, TextMode mode)
    : m_pStream(std::make_unique<CTmxUnitStream>(*this, &strFirstLanguage, &strSecondLanguage, mode)) {}

CTmxUnitReader::~CTmxUnitReader() = default;

SAX2XMLReader* CTmxUnitReader::GetParser() { return &m_pStream->Parser(); }
void CTmxUnitReader::SetJobs(int nJobs, size_t nPieceBytes) { m_pStream->SetJobs(nJobs, nPieceBytes); }

void CTmxUnitReader::Open(const CString& strPath) {
  auto pSource = std::make_unique<LocalFileInputSource>(strPath.GetString(), XMLPlatformUtils::fgMemoryManager);
  const InputSource& source = *pSource;
  m_pStream->Open(source, std::move(pSource));
}

void CTmxUnitReader::Open(CFile* pFile) {
  if (pFile == nullptr) AfxThrowInvalidArgException();
  auto pSource = std::make_unique<CFileInputSource>(*pFile);
  const InputSource& source = *pSource;
  m_pStream->Open(source, std::move(pSource));
}

void CTmxUnitReader::Open(const InputSource& source) { m_pStream->Open(source); }
BOOL CTmxUnitReader::ReadNextUnit() { return m_pStream->ReadNextUnit(); }
BOOL CTmxUnitReader::ReadUnits(CTmxUnitHandler& handler) { return m_pStream->ReadUnits(handler); }
int CTmxUnitReader::GetKey() const { return m_pStream->Key(); }
INT_PTR CTmxUnitReader::GetVariantCount() const { return m_pStream->VariantCount(); }
const CTmxTUV& CTmxUnitReader::GetVariant(INT_PTR nIndex) const { return m_pStream->Variant(nIndex); }
LPCTSTR CTmxUnitReader::GetUnitId() const { return m_pStream->UnitId(); }
BOOL CTmxUnitReader::GetResult() const { return m_pStream->Result(); }
BOOL CTmxUnitReader::ReadLanguages(CStringArray* pLanguages) { return m_pStream->ReadLanguages(pLanguages); }
