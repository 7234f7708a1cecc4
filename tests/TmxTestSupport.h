// Helpers for the TMX suites: an engine over an inline document, and a map read back as text.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quillon/TmxParseEngine.h"
#include "quillon/TmxUnitReader.h"
#include "tests/fuzz/FuzzSupport.h"

inline std::string Utf8(const CString& s) { return CW2A(s.GetString()).str(); }

using Units = std::map<int, std::vector<std::string>>;

inline std::vector<std::string> Strings(const CStringArray& array) {
  std::vector<std::string> strings;
  for (INT_PTR i = 0; i < array.GetSize(); i++) strings.push_back(Utf8(array[i]));
  return strings;
}

// A unit's variants as "language|segment|note".
inline std::string Variant(const CTmxTUV& t) {
  return Utf8(t.m_strLanguage) + "|" + Utf8(t.m_strSegment) + "|" + Utf8(t.m_strNote);
}

// A document in a memory file, as a host hands one to the engine.
struct MemoryTmx {
  explicit MemoryTmx(std::string bytes)
      : text(std::move(bytes)), file(reinterpret_cast<BYTE*>(text.data()), static_cast<UINT>(text.size())) {}
  std::string text;
  CMemFile file;
};

// An engine that has parsed the given TMX text from a memory file.
struct ParsedTmx {
  explicit ParsedTmx(std::string text) : source(std::move(text)) { engine.SearchTmxForLanguages(nullptr); }
  MemoryTmx source;
  CTmxParseEngine engine{CString(), &source.file, nullptr};
};

// A map made and released through the engine, as a host does.
class UnitMap {
 public:
  explicit UnitMap(CTmxParseEngine& engine) : m_engine(engine) { engine.CreateMapObject(pMap); }
  ~UnitMap() {
    m_engine.DeleteMapObject(pMap);
    delete pMap;
  }
  TmxUnitMap& operator*() { return *pMap; }
  // Each unit's variants as "language|segment|note", by key.
  ::Units Units() const {
    ::Units units;
    for (POSITION pos = pMap->GetStartPosition(); pos;) {
      int key;
      CTmxElementAddressAndTUV* pUnit;
      pMap->GetNextAssoc(pos, key, pUnit);
      auto& variants = units[key];
      if (pUnit && pUnit->m_pTuvList)
        for (INT_PTR i = 0; i < pUnit->m_pTuvList->GetSize(); i++) variants.push_back(Variant(*(*pUnit->m_pTuvList)[i]));
    }
    return units;
  }
  TmxUnitMap* pMap = nullptr;

 private:
  CTmxParseEngine& m_engine;
};

// The units that reader delivers, read in style. Keys rise in document order.
inline Units CollectUnits(CTmxUnitReader& reader, ReadStyle style) {
  Units units;
  ReadInStyle(reader, style, [&units](const CTmxUnitReader& unit) {
    EXPECT_TRUE(units.empty() || unit.GetKey() > units.rbegin()->first) << "keys out of document order";
    auto& variants = units[unit.GetKey()];
    for (INT_PTR i = 0; i < unit.GetVariantCount(); i++) variants.push_back(Variant(unit.GetVariant(i)));
  });
  return units;
}

// The units that the streaming reader delivers, with the bilingual rules for a pair and the
// multilingual rules without one.
inline Units StreamedUnits(const std::string& text, LPCTSTR pszFirst = nullptr, LPCTSTR pszSecond = nullptr,
                           bool* pResult = nullptr, ReadStyle style = ReadStyle::kStep) {
  MemoryTmx source(text);
  auto reader = pszFirst ? std::make_unique<CTmxUnitReader>(CString(pszFirst), CString(pszSecond))
                         : std::make_unique<CTmxUnitReader>();
  reader->Open(&source.file);
  const Units units = CollectUnits(*reader, style);
  if (pResult) *pResult = reader->GetResult();
  return units;
}

// The units that a builder files into a fresh map, checked against the streaming reader's.
inline Units BuiltUnits(const std::string& text, LPCTSTR pszFirst = nullptr,
                        LPCTSTR pszSecond = nullptr, bool* pResult = nullptr) {
  ParsedTmx tmx(text);
  UnitMap map(tmx.engine);
  bool bResult;
  if (pszFirst) {
    tmx.engine.m_strFirstLanguage = pszFirst;
    tmx.engine.m_strSecondLanguage = pszSecond;
    bResult = tmx.engine.CreateDataStructures(*map);
  } else {
    bResult = tmx.engine.CreateMultilingualDataStructures(*map);
  }
  for (ReadStyle style : kReadStyles) {
    bool bStreamResult = !bResult;
    EXPECT_EQ(StreamedUnits(text, pszFirst, pszSecond, &bStreamResult, style), map.Units())
        << "the stream differs, read in style " << static_cast<int>(style);
    EXPECT_EQ(bStreamResult, bResult) << "the stream's result differs, read in style " << static_cast<int>(style);
  }
  if (pResult) *pResult = bResult;
  return map.Units();
}

// UTF-8 text in UTF-16 with a byte-order mark, little- or big-endian.
inline std::string Utf16(const std::string& text, bool bBigEndian = false) {
  std::string bytes = bBigEndian ? "\xFE\xFF" : "\xFF\xFE";
  for (TCHAR c : std::basic_string<TCHAR>(CA2W(text.c_str()).str())) {
    const char low = static_cast<char>(c & 0xFF), high = static_cast<char>(c >> 8);
    bytes += bBigEndian ? std::string{high, low} : std::string{low, high};
  }
  return bytes;
}

// A TMX document around the given body content.
inline std::string Tmx(const std::string& body) {
  return "<?xml version=\"1.0\"?><tmx version=\"1.4\"><header/><body>" + body + "</body></tmx>";
}
