#include "tmx/parsing/PartsInput.h"

#include <algorithm>
#include <cstring>

#include <xercesc/util/PlatformUtils.hpp>

using namespace xercesc;

XMLSize_t PartsStream::readBytes(XMLByte* const pToFill, const XMLSize_t nMaxToRead) {
  XMLSize_t nRead = 0;
  while (nRead < nMaxToRead && m_nPart < m_parts.size()) {
    const std::string_view part = m_parts[m_nPart];
    const size_t nTaken = std::min(nMaxToRead - nRead, part.size() - m_nOffset);
    if (nTaken != 0) std::memcpy(pToFill + nRead, part.data() + m_nOffset, nTaken);
    nRead += nTaken;
    m_nOffset += nTaken;
    if (m_nOffset == part.size()) m_nPart++, m_nOffset = 0;
  }
  if (nRead == 0 && m_pRest) nRead = m_pRest->readBytes(pToFill, nMaxToRead);
  m_nPos += nRead;
  return nRead;
}

CPartsInputSource::CPartsInputSource(const InputSource& document)
    : InputSource(document.getSystemId(), document.getPublicId(), XMLPlatformUtils::fgMemoryManager) {}

void CPartsInputSource::Add(Bytes&& bytes) {
  m_held.push_back(std::move(bytes));
  Add(std::string_view(m_held.back().data(), m_held.back().size()));
}

BinInputStream* CPartsInputSource::makeStream() const { return new PartsStream(m_parts, std::move(m_pRest)); }
