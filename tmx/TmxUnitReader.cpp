// The streaming reader: the parser's events (StreamParser) turned into the nodes the DOM would
// hold (EventCursor) and driven through the same unit rules as the builders' DOM walk
// (StreamUnits), one unit at a time.
#include "quillon/TmxUnitReader.h"

#include <xercesc/framework/LocalFileInputSource.hpp>

#include "tmx/EventCursor.h"
#include "tmx/FileInputSource.h"
#include "tmx/LanguageSet.h"
#include "tmx/StreamParser.h"
#include "tmx/StreamUnits.h"

using namespace xercesc;

class CTmxUnitStream final : private UnitEnds {
 public:
  CTmxUnitStream(const CTmxUnitReader& owner, const CString* pFirstLanguage, const CString* pSecondLanguage,
                 CTmxUnitReader::TextMode mode)
      : m_owner(owner),
        m_units(pFirstLanguage, pSecondLanguage, mode, *this),
        m_cursor(m_units.Rules(), m_units),
        m_parser(m_cursor) {}

  SAX2XMLReader& Parser() { return m_parser.Get(); }

  // The read in progress ends before the input it may hold goes.
  void Open(const InputSource& source, std::unique_ptr<InputSource> pOwned = nullptr) {
    m_parser.Begin(source);
    m_pSource = std::move(pOwned);
    m_cursor.Restart();
    m_units.Restart();
    m_bUnitRead = false;
  }

  bool ReadNextUnit() {
    m_bUnitRead = false;
    while (!m_bUnitRead && m_parser.Step()) {
    }
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
    m_parser.Finish();
    return Result();
  }

  bool ReadLanguages(CStringArray* pLanguages) {
    m_bUnitRead = false;
    m_languages = LanguageSet();
    m_cursor.CollectLanguages(m_languages);
    m_parser.Finish();
    if (pLanguages == nullptr) return true;
    m_languages.AppendTo(*pLanguages);
    return pLanguages->GetSize() > 0;
  }

  int Key() const { return m_units.Key(); }
  INT_PTR VariantCount() const { return m_bUnitRead ? m_units.VariantCount() : 0; }
  const CTmxTUV& Variant(INT_PTR nIndex) const {
    if (!m_bUnitRead) AfxThrowInvalidArgException();
    return m_units.Variant(nIndex);
  }
  LPCTSTR UnitId() const { return m_bUnitRead ? m_units.UnitId() : nullptr; }
  bool Result() const { return !m_units.Rules().IsBilingual() || m_cursor.BodyFound(); }

 private:
  void UnitRead() override {
    m_bUnitRead = true;
    if (m_pHandler) m_pHandler->OnUnit(m_owner);
  }

  const CTmxUnitReader& m_owner;
  std::unique_ptr<InputSource> m_pSource;  // the input, when the reader made it: it outlives the parse
  StreamUnits m_units;
  EventCursor m_cursor;
  LanguageSet m_languages;
  StreamParser m_parser;
  bool m_bUnitRead = false;                // by the read in progress: the unit that GetVariant shows
  CTmxUnitHandler* m_pHandler = nullptr;
};

CTmxUnitReader::CTmxUnitReader(TextMode mode)
    : m_pStream(std::make_unique<CTmxUnitStream>(*this, nullptr, nullptr, mode)) {}

CTmxUnitReader::CTmxUnitReader(const CString& strFirstLanguage, const CString& strSecondLanguage, TextMode mode)
    : m_pStream(std::make_unique<CTmxUnitStream>(*this, &strFirstLanguage, &strSecondLanguage, mode)) {}

CTmxUnitReader::~CTmxUnitReader() = default;

SAX2XMLReader* CTmxUnitReader::GetParser() { return &m_pStream->Parser(); }

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
