// What CTmxUnitReader is made of: one parser's units (UnitParser), or the units of pieces read
// side by side (PieceScheduler) and then the rest of the document by that parser, shown to the
// host one unit at a time. Every read takes the document through CDocumentInputSource, so that
// both ways read the same bytes and end, where the input fails, with the same failure.
#pragma once

#include <memory>
#include <vector>

#include "quillon/TmxUnitReader.h"
#include "tmx/parsing/DocumentInput.h"
#include "tmx/pieces/PieceScheduler.h"
#include "tmx/rules/LanguageSet.h"
#include "tmx/stream/ShownUnit.h"
#include "tmx/stream/UnitParser.h"

class CTmxUnitStream final : private UnitEnds {
 public:
  CTmxUnitStream(const CTmxUnitReader& owner, const CString* pFirstLanguage, const CString* pSecondLanguage,
                 CTmxUnitReader::TextMode mode);
  ~CTmxUnitStream();

  xercesc::SAX2XMLReader& Parser() { return m_unitParser.Parser().Get(); }
  void SetJobs(int nJobs, size_t nPieceBytes);
  void SetInvalidBytes(CTmxUnitReader::InvalidBytes mode) { m_invalidBytes = mode; }
  ULONGLONG ReplacedBytes() const { return m_pDocument ? m_pDocument->ReplacedBytes() : 0; }

  // The read in progress ends before the input it may hold goes.
  void Open(const xercesc::InputSource& source, std::unique_ptr<xercesc::InputSource> pOwned = nullptr);
  bool ReadNextUnit();
  bool ReadUnits(CTmxUnitHandler& handler);
  bool ReadFormatted(CTmxUnitFormatter& formatter, CTmxOutputHandler& handler);
  bool ReadLanguages(CStringArray* pLanguages);

  const CTmxUnitView& Shown() const { return m_shown; }
  bool Result() const;

 private:
  void Start(bool bPieces);
  bool NextPieceUnit();
  void BeginRest();
  void Begin(const xercesc::InputSource& source);
  void End();
  void UnitRead() override;
  void Show(const UnitStore& store, const UnitStore::Unit& unit, int nKeysBefore);
  bool ReadAll();
  template <class Read>
  void Mapped(Read read);
  void RaiseFailure(const TextPosition* pError);

  const CTmxUnitReader& m_owner;
  const UnitReading m_reading;
  int m_nJobs = 1;
  size_t m_nPieceBytes = CTmxUnitReader::kDefaultPieceBytes;
  CTmxUnitReader::InvalidBytes m_invalidBytes = CTmxUnitReader::InvalidBytes::Error;
  // The read, in the order its parts depend on each other.
  std::unique_ptr<xercesc::InputSource> m_pSource;  // the input, when the reader made it
  const xercesc::InputSource* m_pInput = nullptr;
  std::unique_ptr<CDocumentInputSource> m_pDocument;
  std::unique_ptr<PieceScheduler> m_pPieces;  // outlives the parse of its rest
  bool m_bStarted = false, m_bInPieces = false;
  PieceOrigin m_origin;  // of what the parser reads
  int m_nKeysBefore = 0;
  int m_nSkipThrough = -1;  // the rest comes again up to this key: its units are not shown again
  UnitParser m_unitParser;
  LanguageSet m_languages;
  // The unit shown: the one just read, until the next read; and where a unit read goes.
  ShownUnit m_shown;
  CTmxUnitHandler* m_pHandler = nullptr;
  CTmxUnitFormatter* m_pFormatter = nullptr;
  CTmxOutputHandler* m_pOutput = nullptr;
  std::string m_output;  // the caller's formatting
};
