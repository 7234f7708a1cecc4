// A document put together from parts: bytes in memory, then what remains of a stream. The
// parser of a piece reads the frame around the piece's bytes so; a read that goes on after the
// pieces reads the bytes already taken from the input before the rest of it; a parser that
// looked at a document's first bytes reads them again so.
#pragma once

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>

#include "tmx/parsing/Bytes.h"

// The parts one after the other, then the rest; the parts must outlive the stream.
class PartsStream : public xercesc::BinInputStream {
 public:
  PartsStream(const std::vector<std::string_view>& parts, std::unique_ptr<xercesc::BinInputStream> pRest)
      : m_parts(parts), m_pRest(std::move(pRest)) {}
  XMLFilePos curPos() const override { return m_nPos; }
  XMLSize_t readBytes(XMLByte* const pToFill, const XMLSize_t nMaxToRead) override;
  const XMLCh* getContentType() const override { return nullptr; }

 private:
  const std::vector<std::string_view>& m_parts;
  std::unique_ptr<xercesc::BinInputStream> m_pRest;
  size_t m_nPart = 0, m_nOffset = 0;
  XMLFilePos m_nPos = 0;
};

class CPartsInputSource : public xercesc::InputSource {
 public:
  // Named as the document is, so that errors name it.
  explicit CPartsInputSource(const xercesc::InputSource& document);
  // Bytes that outlive the read.
  void Add(std::string_view bytes) { m_parts.push_back(bytes); }
  // Bytes the source holds.
  void Add(Bytes&& bytes);
  // The stream that follows every part: given up with the stream made.
  void Finally(std::unique_ptr<xercesc::BinInputStream> pRest) { m_pRest = std::move(pRest); }
  // Given once.
  xercesc::BinInputStream* makeStream() const override;

 private:
  std::vector<std::string_view> m_parts;
  std::vector<Bytes> m_held;
  mutable std::unique_ptr<xercesc::BinInputStream> m_pRest;
};
