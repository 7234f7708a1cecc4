// Reads back a packed document image, as CGenXMLInterface::ParseFileAndPackToMemory writes it:
// the encoding, then records of name, value, index, depth and eight flag bytes. Header-only, for
// hosts and tools alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "quillon/afx/afxdef.h"

namespace quillon {

// The image's texts are UTF-16 code units, read into the host's own 16-bit characters.
static_assert(sizeof(TCHAR) == 2, "TCHAR holds one UTF-16 code unit");
typedef std::basic_string<TCHAR> PackedText;

struct PackedRecord {
  enum Flag { IsWhitespaceText, HasChildren, IsProcessingInstruction, IsCDataSection, EntityTextValue,
              EntityNodeValue, IsEntitiesAttribute, PreservedText };
  static constexpr const char* kFlagNames[8] = {"IsWhitespaceText", "HasChildren", "IsProcessingInstruction",
                                                "IsCDataSection", "EntityTextValue", "EntityNodeValue",
                                                "IsEntitiesAttribute", "PreservedText"};
  PackedText name;
  PackedText value;
  uint32_t index = 0;
  int32_t depth = 0;
  uint8_t flags[8] = {};
};

struct PackedImage {
  PackedText encoding;
  std::vector<PackedRecord> records;
  size_t length = 0;  // bytes the encoding and the records take
};

// A truncated or malformed image: which record (counted from 0) and at which byte offset.
class PackedImageError : public std::runtime_error {
 public:
  PackedImageError(const std::string& what, size_t nRecord, size_t nOffset)
      : std::runtime_error(what + " in record " + std::to_string(nRecord) + " at offset " + std::to_string(nOffset)),
        record(nRecord), offset(nOffset) {}
  size_t record;
  size_t offset;
};

namespace detail {

class ImageCursor {
 public:
  ImageCursor(const unsigned char* pData, size_t nSize) : m_pData(pData), m_nSize(nSize) {}
  size_t Offset() const { return m_nOffset; }
  bool AtEnd() const { return m_nOffset == m_nSize; }
  PackedText Text(size_t nRecord) {
    const size_t nStart = m_nOffset;
    SkipText(nRecord);
    PackedText text((m_nOffset - nStart) / 2 - 1, TCHAR());
    for (size_t i = 0; i < text.size(); i++)
      text[i] = static_cast<TCHAR>(m_pData[nStart + 2 * i] | m_pData[nStart + 2 * i + 1] << 8);
    return text;
  }
  void SkipText(size_t nRecord) {
    for (;; m_nOffset += 2) {
      if (m_nSize - m_nOffset < 2) throw PackedImageError("text without terminator", nRecord, m_nOffset);
      if ((m_pData[m_nOffset] | m_pData[m_nOffset + 1]) == 0) break;
    }
    m_nOffset += 2;
  }
  uint32_t UInt32(size_t nRecord) {
    Need(4, nRecord);
    uint32_t n = 0;
    for (int i = 0; i < 4; i++) n |= static_cast<uint32_t>(m_pData[m_nOffset + i]) << (8 * i);
    m_nOffset += 4;
    return n;
  }
  void Flags(uint8_t (&flags)[8], size_t nRecord) {
    Need(8, nRecord);
    for (int i = 0; i < 8; i++) {
      if (m_pData[m_nOffset + i] > 1) throw PackedImageError("flag byte not 0 or 1", nRecord, m_nOffset + i);
      flags[i] = m_pData[m_nOffset + i];
    }
    m_nOffset += 8;
  }

 private:
  void Need(size_t n, size_t nRecord) {
    if (m_nSize - m_nOffset < n) throw PackedImageError("record cut short", nRecord, m_nOffset);
  }
  const unsigned char* m_pData;
  size_t m_nSize;
  size_t m_nOffset = 0;
};

}  // namespace detail

// The bytes that the encoding and the first nRecords records take, without reading them into
// strings: an image carries no length of its own.
inline size_t PackedImageLength(const unsigned char* pData, size_t nSize, size_t nRecords) {
  detail::ImageCursor cursor(pData, nSize);
  cursor.SkipText(0);
  for (size_t nRecord = 0; nRecord < nRecords; nRecord++) {
    cursor.SkipText(nRecord);
    cursor.SkipText(nRecord);
    cursor.UInt32(nRecord);
    cursor.UInt32(nRecord);
    uint8_t flags[8];
    cursor.Flags(flags, nRecord);
  }
  return cursor.Offset();
}

// Reads the encoding and then records until the data ends, or until nMaxRecords are read (an
// image has no end mark: a reader that knows the node count stops there).
inline PackedImage ReadPackedImage(const unsigned char* pData, size_t nSize, size_t nMaxRecords = SIZE_MAX) {
  detail::ImageCursor cursor(pData, nSize);
  PackedImage image;
  image.encoding = cursor.Text(0);
  while (image.records.size() < nMaxRecords && !cursor.AtEnd()) {
    const size_t nRecord = image.records.size();
    PackedRecord record;
    record.name = cursor.Text(nRecord);
    record.value = cursor.Text(nRecord);
    record.index = cursor.UInt32(nRecord);
    record.depth = static_cast<int32_t>(cursor.UInt32(nRecord));
    cursor.Flags(record.flags, nRecord);
    image.records.push_back(std::move(record));
  }
  image.length = cursor.Offset();
  return image;
}

}  // namespace quillon
