#include "cli/StreamInput.h"

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>

#include "cli/Platform.h"

using namespace xercesc;

namespace {

class CountingStream : public BinInputStream {
 public:
  CountingStream(InputFile& input, uint64_t& nBytesRead) : m_input(input), m_nBytesRead(nBytesRead) {}
  XMLFilePos curPos() const override { return m_nBytesRead; }
  XMLSize_t readBytes(XMLByte* const pToFill, const XMLSize_t nMaxToRead) override {
    const size_t n = m_input.Read(pToFill, nMaxToRead);
    m_nBytesRead += n;
    return n;
  }
  const XMLCh* getContentType() const override { return nullptr; }

 private:
  InputFile& m_input;
  uint64_t& m_nBytesRead;
};

}  // namespace

StreamInput::StreamInput(const std::string& source) : m_input(source), m_nTotalBytes(RegularFileSize(m_input.Get())) {
  // The base for the document's relative references: the file's full path, as the parser makes
  // it; standard input is named as the parser names it.
  if (m_input.IsStandardInput())
    setSystemId(_T("stdin"));
  else
    setSystemId(LocalFileInputSource(CString(source.c_str()).GetString()).getSystemId());
}

BinInputStream* StreamInput::makeStream() const { return new CountingStream(m_input, m_nBytesRead); }
