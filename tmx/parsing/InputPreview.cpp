#include "tmx/parsing/InputPreview.h"

#include <cstring>
#include <string_view>

#include <xercesc/util/PlatformUtils.hpp>

using namespace xercesc;
using namespace std::string_view_literals;

namespace {

class ReplayStream : public BinInputStream {
 public:
  ReplayStream(std::unique_ptr<BinInputStream> pStream, std::unique_ptr<XMLByte[]> bytes, size_t nBytes)
      : m_pStream(std::move(pStream)), m_bytes(std::move(bytes)), m_nBytes(nBytes) {}
  XMLFilePos curPos() const override { return m_nPos; }
  XMLSize_t readBytes(XMLByte* const pToFill, const XMLSize_t nMaxToRead) override {
    XMLSize_t nRead;
    if (m_nReplayed < m_nBytes) {
      nRead = std::min(nMaxToRead, m_nBytes - m_nReplayed);
      std::memcpy(pToFill, m_bytes.get() + m_nReplayed, nRead);
      m_nReplayed += nRead;
    } else {
      nRead = m_pStream->readBytes(pToFill, nMaxToRead);
    }
    m_nPos += nRead;
    return nRead;
  }
  const XMLCh* getContentType() const override { return m_pStream->getContentType(); }

 private:
  std::unique_ptr<BinInputStream> m_pStream;
  std::unique_ptr<XMLByte[]> m_bytes;
  size_t m_nBytes, m_nReplayed = 0;
  XMLFilePos m_nPos = 0;
};

// The prolog as code units, in the encodings whose markup characters a byte-wise look can find:
// ASCII-compatible ones (UTF-8, the ISO-8859 family, ...) and UTF-16 of either byte order.
class Units {
 public:
  Units(const XMLByte* p, size_t n) : m_p(p), m_n(n) {
    auto starts = [&](std::string_view bytes) { return n >= bytes.size() && std::memcmp(p, bytes.data(), bytes.size()) == 0; };
    if (starts("\x00\x00"sv) || starts("\x4C\x6F\xA7\x94"sv) || starts("\x3C\x00\x00\x00"sv) || starts("\xFF\xFE\x00\x00"sv))
      m_nWidth = 0;  // UCS-4, EBCDIC: not looked into
    else if (starts("\xEF\xBB\xBF"))
      m_nStart = 3;
    else if (starts("\xFF\xFE") || starts("\xFE\xFF"))
      m_nWidth = 2, m_nStart = 2, m_bBigEndian = p[0] == 0xFE;
    else if (starts("<\0?\0"sv) || starts("\0<\0?"sv))
      m_nWidth = 2, m_bBigEndian = p[0] == 0;
  }
  bool Known() const { return m_nWidth != 0; }
  size_t Size() const { return Known() ? (m_n - m_nStart) / m_nWidth : 0; }
  char16_t operator[](size_t i) const {
    const XMLByte* p = m_p + m_nStart + i * m_nWidth;
    if (m_nWidth == 1) return p[0];
    return m_bBigEndian ? static_cast<char16_t>(p[0] << 8 | p[1]) : static_cast<char16_t>(p[1] << 8 | p[0]);
  }
  bool At(size_t i, std::string_view text) const {
    if (i + text.size() > Size()) return false;
    for (size_t k = 0; k < text.size(); k++)
      if ((*this)[i + k] != static_cast<unsigned char>(text[k])) return false;
    return true;
  }
  // The position just after text, looked for from i on; npos when it is not in the bytes.
  size_t After(size_t i, std::string_view text) const {
    for (; i + text.size() <= Size(); i++)
      if (At(i, text)) return i + text.size();
    return std::string_view::npos;
  }

 private:
  const XMLByte* m_p;
  size_t m_n;
  size_t m_nWidth = 1, m_nStart = 0;
  bool m_bBigEndian = false;
};

}  // namespace

CPreviewedInputSource::CPreviewedInputSource(const InputSource& source, size_t nBytes)
    : InputSource(source.getSystemId(), source.getPublicId(), XMLPlatformUtils::fgMemoryManager),
      m_pStream(source.makeStream()) {
  setEncoding(source.getEncoding());
  setIssueFatalErrorIfNotFound(source.getIssueFatalErrorIfNotFound());
  if (m_pStream == nullptr) return;
  m_bytes.reset(new XMLByte[nBytes]);
  for (XMLSize_t nRead; m_nBytes < nBytes && (nRead = m_pStream->readBytes(m_bytes.get() + m_nBytes, nBytes - m_nBytes)) > 0;)
    m_nBytes += nRead;
}

// Walks the prolog: the declaration and other processing instructions, comments and white space
// come before the document type declaration, and an element ends the prolog.
bool CPreviewedInputSource::HasNoDocumentType() const {
  const Units units(m_bytes.get(), m_nBytes);
  if (getEncoding() != nullptr || !units.Known()) return false;  // a forced encoding is not looked into either
  for (size_t i = 0; i < units.Size();) {
    const char16_t c = units[i];
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      i++;
    } else if (units.At(i, "<?")) {
      i = units.After(i + 2, "?>");
    } else if (units.At(i, "<!--")) {
      i = units.After(i + 4, "-->");
    } else {
      // An element, unless it is a declaration or anything else that only the parser judges.
      return c == '<' && i + 1 < units.Size() && units[i + 1] != '!' && units[i + 1] != '?';
    }
  }
  return false;
}

BinInputStream* CPreviewedInputSource::makeStream() const {
  if (m_pStream == nullptr) return nullptr;
  return new ReplayStream(std::move(m_pStream), std::move(m_bytes), m_nBytes);
}
