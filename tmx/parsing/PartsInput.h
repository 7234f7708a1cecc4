// A document put together from parts: bytes in memory, then what remains of a stream. The
// parser of a piece reads the frame around the piece's bytes so; a read that goes on after the
// pieces reads the bytes already taken from the input before the rest of it.
#pragma once

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>

#include "tmx/parsing/Bytes.h"

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
