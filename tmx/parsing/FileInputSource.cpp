#include "tmx/parsing/FileInputSource.h"

#include <algorithm>
#include <climits>

#include <xercesc/util/BinInputStream.hpp>
#include <xercesc/util/PlatformUtils.hpp>

using namespace xercesc;

namespace {

class CFileStream : public BinInputStream {
 public:
  explicit CFileStream(CFile& file) : m_file(file) { m_file.Seek(0, CFile::begin); }
  XMLFilePos curPos() const override { return m_nRead; }
  XMLSize_t readBytes(XMLByte* const pToFill, const XMLSize_t nMaxToRead) override {
    const UINT nRead = m_file.Read(pToFill, static_cast<UINT>(std::min<XMLSize_t>(nMaxToRead, UINT_MAX)));
    m_nRead += nRead;
    return nRead;
  }
  const XMLCh* getContentType() const override { return nullptr; }

 private:
  CFile& m_file;
  XMLFilePos m_nRead = 0;
};

}  // namespace

// Named as the engine names an in-memory document, so that messages about it read the same.
CFileInputSource::CFileInputSource(CFile& file) : InputSource("memTmxFile", XMLPlatformUtils::fgMemoryManager), m_file(file) {}

BinInputStream* CFileInputSource::makeStream() const { return new (getMemoryManager()) CFileStream(m_file); }
