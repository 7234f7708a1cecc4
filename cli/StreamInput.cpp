#include "cli/StreamInput.h"

#include <sys/stat.h>

#include <cstdio>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/StdInInputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>

#include "quillon/afx.h"

using namespace xercesc;

namespace {

class CountingStream : public BinInputStream {
 public:
  CountingStream(BinInputStream* pStream, uint64_t& nBytesRead) : m_pStream(pStream), m_nBytesRead(nBytesRead) {}
  ~CountingStream() override { delete m_pStream; }
  XMLFilePos curPos() const override { return m_pStream->curPos(); }
  XMLSize_t readBytes(XMLByte* const pToFill, const XMLSize_t nMaxToRead) override {
    const XMLSize_t nRead = m_pStream->readBytes(pToFill, nMaxToRead);
    m_nBytesRead += nRead;
    return nRead;
  }
  const XMLCh* getContentType() const override { return m_pStream->getContentType(); }

 private:
  BinInputStream* m_pStream;
  uint64_t& m_nBytesRead;
};

// The size of what stat or fstat described, when it succeeded on a regular file.
std::optional<uint64_t> RegularFileSize(int nStatResult, const struct stat& st) {
  if (nStatResult != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
  return static_cast<uint64_t>(st.st_size);
}

}  // namespace

StreamInput::StreamInput(const std::string& source) {
  struct stat st;
  if (source == "-") {
    m_pSource = std::make_unique<StdInInputSource>();
    m_nTotalBytes = RegularFileSize(fstat(fileno(stdin), &st), st);
  } else {
    m_pSource = std::make_unique<LocalFileInputSource>(CString(source.c_str()).GetString());
    m_nTotalBytes = RegularFileSize(stat(source.c_str(), &st), st);
  }
  setSystemId(m_pSource->getSystemId());  // the base for the document's relative references
}

BinInputStream* StreamInput::makeStream() const {
  BinInputStream* pStream = m_pSource->makeStream();
  return pStream ? new CountingStream(pStream, m_nBytesRead) : nullptr;
}
