// The TMX engine and both builders on an in-memory file, and the streaming reader beside them:
// for every input the engine reads, the stream must give the same units, keys, variants, texts,
// results and languages; where the engine raises, the stream must raise the same. Any
// difference aborts. The language pair is the one the input itself lists first.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quillon/TmxParseEngine.h"
#include "quillon/TmxUnitReader.h"
#include "tests/fuzz/FuzzSupport.h"

namespace {

using Units = std::map<int, std::vector<std::basic_string<TCHAR>>>;

std::basic_string<TCHAR> Text(const CTmxTUV& t) {
  return std::basic_string<TCHAR>(t.m_strLanguage) + _T('|') + t.m_strSegment.GetString() + _T('|') + t.m_strNote.GetString();
}

struct Reading {
  std::string error;  // the exception that ended the read, if any
  Units bilingual, multilingual;
  bool bBilingualResult = false, bMultilingualResult = false;
  std::vector<std::basic_string<TCHAR>> languages;
};

Units MapUnits(TmxUnitMap& map) {
  Units units;
  for (POSITION pos = map.GetStartPosition(); pos;) {
    int key;
    CTmxElementAddressAndTUV* pUnit;
    map.GetNextAssoc(pos, key, pUnit);
    for (INT_PTR i = 0; i < pUnit->m_pTuvList->GetSize(); i++) units[key].push_back(Text(*(*pUnit->m_pTuvList)[i]));
  }
  return units;
}

void Build(CTmxParseEngine& engine, bool bBilingual, Units& units, bool& bResult) {
  TmxUnitMap* pMap = nullptr;
  engine.CreateMapObject(pMap);
  bResult = bBilingual ? engine.CreateDataStructures(*pMap) : engine.CreateMultilingualDataStructures(*pMap);
  units = MapUnits(*pMap);
  if (!bBilingual) engine.CreateMultilingualDataStructures(*pMap);  // a second build into the same map
  engine.DeleteMapObject(pMap);
  delete pMap;
}

// The bilingual rules for a pair, the multilingual rules for none.
void Stream(CMemFile& file, const CStringArray* pPair, Units& units, bool& bResult) {
  auto pReader = pPair ? std::make_unique<CTmxUnitReader>((*pPair)[0], (*pPair)[1]) : std::make_unique<CTmxUnitReader>();
  CTmxUnitReader& reader = *pReader;
  Safety().Apply(reader.GetParser());
  reader.Open(&file);
  while (reader.ReadNextUnit())
    for (INT_PTR i = 0; i < reader.GetVariantCount(); i++) units[reader.GetKey()].push_back(Text(reader.GetVariant(i)));
  bResult = reader.GetResult();
}

[[noreturn]] void Differ(const char* what, const std::string& dom, const std::string& stream) {
  std::fprintf(stderr, "the stream differs from the engine in %s\n  engine: %s\n  stream: %s\n", what, dom.c_str(),
               stream.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CMemFile file(const_cast<BYTE*>(data), static_cast<UINT>(size));
  Reading dom, stream;
  CStringArray languages, pair;
  pair.Add(CString());
  pair.Add(CString());
  dom.error = FailureOf([&] {
    CTmxParseEngine engine(CString(), &file, nullptr);
    Safety().Apply(&engine.m_parser);
    engine.SearchTmxForLanguages(&languages);
    for (INT_PTR i = 0; i < languages.GetSize() && i < 2; i++) pair[i] = languages[i];
    engine.m_strFirstLanguage = pair[0];
    engine.m_strSecondLanguage = pair[1];
    Build(engine, true, dom.bilingual, dom.bBilingualResult);
    Build(engine, false, dom.multilingual, dom.bMultilingualResult);
  });
  for (INT_PTR i = 0; i < languages.GetSize(); i++) dom.languages.push_back(languages[i].GetString());

  stream.error = FailureOf([&] {
    Stream(file, &pair, stream.bilingual, stream.bBilingualResult);
    Stream(file, nullptr, stream.multilingual, stream.bMultilingualResult);
    CTmxUnitReader reader;
    Safety().Apply(reader.GetParser());
    reader.Open(&file);
    CStringArray streamed;
    reader.ReadLanguages(&streamed);
    for (INT_PTR i = 0; i < streamed.GetSize(); i++) stream.languages.push_back(streamed[i].GetString());
  });
  if (stream.error != dom.error) Differ("how the read ended", dom.error, stream.error);
  if (!dom.error.empty()) return 0;
  if (stream.bilingual != dom.bilingual || stream.multilingual != dom.multilingual ||
      stream.bBilingualResult != dom.bBilingualResult || stream.bMultilingualResult != dom.bMultilingualResult ||
      stream.languages != dom.languages)
    Differ("what was read", "", "");
  return 0;
}
