// The TMX source of a streaming command: a file, or "-" for standard input read as it comes
// (never spooled), counted as the parser reads it, for the progress line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <xercesc/sax/InputSource.hpp>

#include "cli/Input.h"

class StreamInput : public xercesc::InputSource {
 public:
  explicit StreamInput(const std::string& source);
  // Given once: the parser reads the input through to its end.
  xercesc::BinInputStream* makeStream() const override;

  uint64_t BytesRead() const { return m_nBytesRead; }
  std::optional<uint64_t> TotalBytes() const { return m_nTotalBytes; }  // known for regular files

 private:
  mutable InputFile m_input;
  std::optional<uint64_t> m_nTotalBytes;
  mutable uint64_t m_nBytesRead = 0;
};
