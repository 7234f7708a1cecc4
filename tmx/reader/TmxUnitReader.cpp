// CTmxUnitReader: the public face of CTmxUnitStream (tmx/reader/UnitStream.h).
#include "quillon/TmxUnitReader.h"

#include <xercesc/framework/LocalFileInputSource.hpp>

#include "tmx/parsing/FileInputSource.h"
#include "tmx/reader/UnitStream.h"

using namespace xercesc;

CTmxUnitReader::CTmxUnitReader(TextMode mode)
    : m_pStream(std::make_unique<CTmxUnitStream>(*this, nullptr, nullptr, mode)) {}

CTmxUnitReader::CTmxUnitReader(const CString& strFirstLanguage, const CString& strSecondLanguage, TextMode mode)
    : m_pStream(std::make_unique<CTmxUnitStream>(*this, &strFirstLanguage, &strSecondLanguage, mode)) {}

CTmxUnitReader::~CTmxUnitReader() = default;

SAX2XMLReader* CTmxUnitReader::GetParser() { return &m_pStream->Parser(); }
void CTmxUnitReader::SetJobs(int nJobs, size_t nPieceBytes) { m_pStream->SetJobs(nJobs, nPieceBytes); }
void CTmxUnitReader::SetInvalidBytes(InvalidBytes mode) { m_pStream->SetInvalidBytes(mode); }
ULONGLONG CTmxUnitReader::GetReplacedBytes() const { return m_pStream->ReplacedBytes(); }

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
BOOL CTmxUnitReader::ReadFormatted(CTmxUnitFormatter& formatter, CTmxOutputHandler& handler) {
  return m_pStream->ReadFormatted(formatter, handler);
}
int CTmxUnitReader::GetKey() const { return m_pStream->Shown().GetKey(); }
INT_PTR CTmxUnitReader::GetVariantCount() const { return m_pStream->Shown().GetVariantCount(); }
const CTmxTUV& CTmxUnitReader::GetVariant(INT_PTR nIndex) const { return m_pStream->Shown().GetVariant(nIndex); }
LPCTSTR CTmxUnitReader::GetUnitId() const { return m_pStream->Shown().GetUnitId(); }
BOOL CTmxUnitReader::GetResult() const { return m_pStream->Result(); }
BOOL CTmxUnitReader::ReadLanguages(CStringArray* pLanguages) { return m_pStream->ReadLanguages(pLanguages); }
