// The code units of the encodings whose markup characters are ASCII, as the readers that look at
// bytes find them: one byte each, or two in either order. WithCodeUnits calls its function with
// the right kind for a layout.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "tmx/parsing/DocumentEncoding.h"

struct NarrowUnits {
  static constexpr size_t kWidth = 1;
  static unsigned At(const char* p, size_t i) { return static_cast<unsigned char>(p[i]); }
  // The first unit c at or after i, or n.
  static size_t Find(const char* p, size_t i, size_t n, char c) {
    const void* pFound = i < n ? std::memchr(p + i, c, n - i) : nullptr;
    return pFound ? static_cast<size_t>(static_cast<const char*>(pFound) - p) : n;
  }
  // The first of the units that stop a tag's reading ('<', '>', quotes) at or after i, eight
  // bytes at a time; n when there is none.
  static size_t FindTagStop(const char* p, size_t i, size_t n) {
    constexpr uint64_t kOnes = 0x0101010101010101, kHighs = 0x8080808080808080;
    auto bytesEqual = [](uint64_t word, char c) {  // exact up to the first match
      const uint64_t x = word ^ (kOnes * static_cast<unsigned char>(c));
      return (x - kOnes) & ~x & kHighs;
    };
    for (; i + 8 <= n; i += 8) {
      uint64_t word;
      std::memcpy(&word, p + i, 8);
      if (const uint64_t found = bytesEqual(word, '>') | bytesEqual(word, '"') | bytesEqual(word, '\'') | bytesEqual(word, '<'))
        return i + static_cast<size_t>(__builtin_ctzll(found)) / 8;
    }
    while (i < n && p[i] != '>' && p[i] != '"' && p[i] != '\'' && p[i] != '<') i++;
    return i;
  }
  static void Append(std::string& text, char c) { text += c; }
};

template <bool bBigEndian>
struct WideUnits {
  static constexpr size_t kWidth = 2;
  static unsigned At(const char* p, size_t i) {
    const unsigned char first = static_cast<unsigned char>(p[i]), second = static_cast<unsigned char>(p[i + 1]);
    return bBigEndian ? (first << 8 | second) : (second << 8 | first);
  }
  // memchr finds the unit's ASCII byte; it is the unit when it lies where that byte goes and the
  // other byte is zero.
  static size_t Find(const char* p, size_t i, size_t n, char c) {
    const size_t nLow = bBigEndian ? 1 : 0;
    for (size_t j = i + nLow; j < n;) {
      const void* pFound = std::memchr(p + j, c, n - j);
      if (pFound == nullptr) break;
      const size_t k = static_cast<size_t>(static_cast<const char*>(pFound) - p);
      if ((k - nLow) % 2 == 0 && k - nLow + 1 < n && p[k - nLow + (bBigEndian ? 0 : 1)] == 0) return k - nLow;
      j = k + 1;
    }
    return n;
  }
  static size_t FindTagStop(const char* p, size_t i, size_t n) {
    for (; i + 1 < n; i += 2) {
      const unsigned c = At(p, i);
      if (c == '>' || c == '"' || c == '\'' || c == '<') return i;
    }
    return n;
  }
  static void Append(std::string& text, char c) {
    if (bBigEndian) text += '\0';
    text += c;
    if (!bBigEndian) text += '\0';
  }
};

// Calls f with a value of the units of the layout, or with nothing (std::nullptr_t) for one
// whose markup is not ASCII.
template <class F>
auto WithCodeUnits(ByteLayout layout, F f) {
  switch (layout) {
    case ByteLayout::kNarrow: return f(NarrowUnits());
    case ByteLayout::kUtf16LE: return f(WideUnits<false>());
    case ByteLayout::kUtf16BE: return f(WideUnits<true>());
    default: return f(nullptr);
  }
}
