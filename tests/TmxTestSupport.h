// Helpers for the TMX suites: an engine over an inline document, and a map read back as text.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quillon/TmxParseEngine.h"

inline std::string Utf8(const CString& s) { return CW2A(s.GetString()).str(); }

// An engine that has parsed the given TMX text from a memory file.
class ParsedTmx {
 public:
  explicit ParsedTmx(std::string text)
      : m_text(std::move(text)),
        m_file(reinterpret_cast<BYTE*>(m_text.data()), static_cast<UINT>(m_text.size())),
        engine(CString(), &m_file, nullptr) {
    engine.SearchTmxForLanguages(nullptr);
  }

 private:
  std::string m_text;
  CMemFile m_file;

 public:
  CTmxParseEngine engine;
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
  std::map<int, std::vector<std::string>> Units() const {
    std::map<int, std::vector<std::string>> units;
    for (POSITION pos = pMap->GetStartPosition(); pos;) {
      int key;
      CTmxElementAddressAndTUV* pUnit;
      pMap->GetNextAssoc(pos, key, pUnit);
      auto& variants = units[key];
      if (pUnit && pUnit->m_pTuvList)
        for (INT_PTR i = 0; i < pUnit->m_pTuvList->GetSize(); i++) {
          const CTmxTUV* t = (*pUnit->m_pTuvList)[i];
          variants.push_back(Utf8(t->m_strLanguage) + "|" + Utf8(t->m_strSegment) + "|" + Utf8(t->m_strNote));
        }
    }
    return units;
  }
  TmxUnitMap* pMap = nullptr;

 private:
  CTmxParseEngine& m_engine;
};

// A TMX document around the given body content.
inline std::string Tmx(const std::string& body) {
  return "<?xml version=\"1.0\"?><tmx version=\"1.4\"><header/><body>" + body + "</body></tmx>";
}
