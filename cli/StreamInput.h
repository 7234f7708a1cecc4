// The TMX source of a streaming command: a path, or "-" for standard input read as it comes
// (never spooled), counted as the parser reads it, for the progress line.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <xercesc/sax/InputSource.hpp>

class StreamInput : public xercesc::InputSource {
 public:
  explicit StreamInput(const std::string& source);
  xercesc::BinInputStream* makeStream() const override;

  uint64_t BytesRead() const { return m_nBytesRead; }
  std::optional<uint64_t> TotalBytes() const { return m_nTotalBytes; }  // known for regular files

 private:
  std::unique_ptr<xercesc::InputSource> m_pSource;
  std::optional<uint64_t> m_nTotalBytes;
  mutable uint64_t m_nBytesRead = 0;
};
