// A look at the first bytes of a document before it is parsed: whether its prolog holds a
// document type declaration. The bytes looked at reach the parser all the same, replayed before
// the rest, so that any input (standard input too) is read once.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>

#include "tmx/parsing/Bytes.h"

// How much of a document the streaming reader looks at before choosing a scanner.
constexpr size_t kPreviewBytes = 16384;

class CPreviewedInputSource : public xercesc::InputSource {
 public:
  // Opens the source's stream and reads its first nBytes (fewer when it is shorter).
  CPreviewedInputSource(const xercesc::InputSource& source, size_t nBytes);
  // False when the source could not be opened: the parser should then be given the source
  // itself, which reports why.
  bool Opened() const { return m_pStream != nullptr; }
  // True only when the bytes show a prolog without a document type declaration; false when it
  // has one, and when they do not tell (an encoding the look does not know, a longer prolog).
  bool HasNoDocumentType() const;
  // The stream: the bytes looked at, then the rest. Given once.
  xercesc::BinInputStream* makeStream() const override;

 private:
  mutable std::unique_ptr<xercesc::BinInputStream> m_pStream;
  Bytes m_bytes;
  bool m_bAll = false;  // the bytes are the whole document
  std::vector<std::string_view> m_parts;
};
