// The TMX engine and both builders on an in-memory file, and the streaming reader beside them,
// read unit by unit, all at once, and a few units one way then the rest the other: for every
// input the engine reads, the stream must give the same units, keys, variants, texts, results and
// languages; where the engine raises, the stream must raise the same. Any difference aborts. The
// language pair is the one the input itself lists first.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "quillon/TmxParseEngine.h"
#include "quillon/TmxUnitReader.h"
#include "tests/fuzz/FuzzSupport.h"

namespace {

typedef std::basic_string<TCHAR> Text;
typedef std::map<int, Text> Units;  // a unit's variants, each "language|segment|note|"

void Add(Units& units, int nKey, const CTmxTUV& t) {
  for (const CString* pField : {&t.m_strLanguage, &t.m_strSegment, &t.m_strNote}) (units[nKey] += *pField) += _T('|');
}

// What a read gives: the exception that ended it, else each rule set's units and result, and the
// languages.
struct Reading {
  std::string error;
  Units units[2];  // bilingual, multilingual
  bool bResults[2] = {};
  Text languages;
  bool operator==(const Reading&) const = default;
};

void Build(CTmxParseEngine& engine, Reading& dom, int nRules) {
  TmxUnitMap* pMap = nullptr;
  engine.CreateMapObject(pMap);
  dom.bResults[nRules] = nRules == 0 ? engine.CreateDataStructures(*pMap) : engine.CreateMultilingualDataStructures(*pMap);
  for (POSITION pos = pMap->GetStartPosition(); pos;) {
    int nKey;
    CTmxElementAddressAndTUV* pUnit;
    pMap->GetNextAssoc(pos, nKey, pUnit);
    for (INT_PTR i = 0; i < pUnit->m_pTuvList->GetSize(); i++) Add(dom.units[nRules], nKey, *(*pUnit->m_pTuvList)[i]);
  }
  if (nRules == 1) engine.CreateMultilingualDataStructures(*pMap);  // a second build into the same map
  engine.DeleteMapObject(pMap);
  delete pMap;
}

void Stream(CMemFile& file, const CStringArray& pair, Reading& stream, int nRules, ReadStyle style) {
  auto pReader = nRules == 0 ? std::make_unique<CTmxUnitReader>(pair[0], pair[1]) : std::make_unique<CTmxUnitReader>();
  Safety().Apply(pReader->GetParser());
  pReader->Open(&file);
  ReadInStyle(*pReader, style, [&](const CTmxUnitReader& unit) {
    for (INT_PTR i = 0; i < unit.GetVariantCount(); i++) Add(stream.units[nRules], unit.GetKey(), unit.GetVariant(i));
  });
  stream.bResults[nRules] = pReader->GetResult();
}

Text Joined(const CStringArray& languages) {
  Text text;
  for (INT_PTR i = 0; i < languages.GetSize(); i++) (text += languages[i]) += _T('|');
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CMemFile file(const_cast<BYTE*>(data), static_cast<UINT>(size));
  Reading dom;
  CStringArray languages, pair;
  pair.SetSize(2);
  dom.error = FailureOf([&] {
    CTmxParseEngine engine(CString(), &file, nullptr);
    Safety().Apply(&engine.m_parser);
    engine.SearchTmxForLanguages(&languages);
    for (INT_PTR i = 0; i < languages.GetSize() && i < 2; i++) pair[i] = languages[i];
    engine.m_strFirstLanguage = pair[0];
    engine.m_strSecondLanguage = pair[1];
    Build(engine, dom, 0);
    Build(engine, dom, 1);
  });
  dom.languages = Joined(languages);
  for (ReadStyle style : kReadStyles) {
    Reading stream;
    stream.error = FailureOf([&] {
      Stream(file, pair, stream, 0, style);
      Stream(file, pair, stream, 1, style);
      CTmxUnitReader reader;
      Safety().Apply(reader.GetParser());
      reader.Open(&file);
      CStringArray streamed;
      reader.ReadLanguages(&streamed);
      stream.languages = Joined(streamed);
    });
    if (stream.error != dom.error || (dom.error.empty() && !(stream == dom))) {
      std::fprintf(stderr, "the stream (read in style %d) differs from the engine\n  engine: %s\n  stream: %s\n",
                   static_cast<int>(style), dom.error.c_str(), stream.error.c_str());
      std::abort();
    }
  }
  return 0;
}
