// The TMX engine on an in-memory file, then both builders on what it parsed, with the pair of
// languages that the input itself lists first.
#include "quillon/TmxParseEngine.h"
#include "tests/fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CMemFile file(const_cast<BYTE*>(data), static_cast<UINT>(size));
  CTmxParseEngine engine(CString(), &file, nullptr);
  MakeParserSafe(engine.m_parser);
  CStringArray languages;
  if (!Parses([&] { engine.SearchTmxForLanguages(&languages); })) return 0;
  if (languages.GetSize() > 0) engine.m_strFirstLanguage = languages[0];
  if (languages.GetSize() > 1) engine.m_strSecondLanguage = languages[1];
  TmxUnitMap* pMap = nullptr;
  engine.CreateMapObject(pMap);
  engine.CreateDataStructures(*pMap);
  engine.DeleteMapObject(pMap);
  engine.CreateMultilingualDataStructures(*pMap);
  engine.CreateMultilingualDataStructures(*pMap);
  engine.DeleteMapObject(pMap);
  delete pMap;
  return 0;
}
