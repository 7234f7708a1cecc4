#include "tmx/parsing/InputPreview.h"

#include <type_traits>

#include <xercesc/util/PlatformUtils.hpp>

#include "tmx/parsing/CodeUnits.h"
#include "tmx/parsing/DocumentEncoding.h"
#include "tmx/parsing/MarkupScanner.h"
#include "tmx/parsing/PartsInput.h"

using namespace xercesc;

CPreviewedInputSource::CPreviewedInputSource(const InputSource& source, size_t nBytes)
    : InputSource(source.getSystemId(), source.getPublicId(), XMLPlatformUtils::fgMemoryManager),
      m_pStream(source.makeStream()) {
  setEncoding(source.getEncoding());
  setIssueFatalErrorIfNotFound(source.getIssueFatalErrorIfNotFound());
  if (m_pStream == nullptr) return;
  m_bytes.resize(nBytes);
  size_t nFilled = 0;
  for (XMLSize_t nRead; nFilled < nBytes && (nRead = m_pStream->readBytes(reinterpret_cast<XMLByte*>(m_bytes.data() + nFilled), nBytes - nFilled)) > 0;)
    nFilled += nRead;
  m_bAll = nFilled < nBytes;
  m_bytes.resize(nFilled);
  m_parts.emplace_back(m_bytes.data(), m_bytes.size());
}

// Walks the prolog: the declaration and other processing instructions, comments and white space
// come before the document type declaration, and an element ends the prolog. A forced encoding
// is not looked into.
bool CPreviewedInputSource::HasNoDocumentType() const {
  const DocumentEncoding encoding = SenseEncoding(m_bytes.data(), m_bytes.size(), m_bAll);
  if (getEncoding() != nullptr) return false;
  return WithCodeUnits(encoding.layout, [&](auto units) {
    if constexpr (std::is_same_v<decltype(units), std::nullptr_t>) {
      return false;
    } else {
      MarkupScanner<decltype(units)> scanner(encoding.nMarkBytes);
      Markup markup;
      do markup = scanner.Next(m_bytes.data(), m_bytes.size(), true);
      while (markup == Markup::kComment || markup == Markup::kPI);
      return markup == Markup::kStartTag || markup == Markup::kEmptyTag;
    }
  });
}

BinInputStream* CPreviewedInputSource::makeStream() const {
  if (m_pStream == nullptr) return nullptr;
  return new PartsStream(m_parts, std::move(m_pStream));
}
