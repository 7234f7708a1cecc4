// A host program: lists the languages of a translation memory, reads its English-German pairs,
// and packs an XML document. Built and run as one of the tests.
#include <cstdio>
#include <vector>

#include <quillon/GenXMLInterface.h>
#include <quillon/PackedImage.h>
#include <quillon/TmxParseEngine.h>

int main() {
  CTmxParseEngine engine(CString(_T("examples/sample.tmx")), nullptr, nullptr);
  CStringArray languages;
  engine.SearchTmxForLanguages(&languages);  // parse errors arrive as SAXParseException
  for (INT_PTR i = 0; i < languages.GetSize(); i++) std::printf("%s\n", (LPCSTR)CW2A(languages[i]));

  TmxUnitMap* pMap = nullptr;
  engine.CreateMapObject(pMap);
  engine.m_strFirstLanguage = _T("en-US");
  engine.m_strSecondLanguage = _T("de-DE");
  engine.CreateDataStructures(*pMap);
  CTmxElementAddressAndTUV* pUnit = nullptr;
  if (pMap->Lookup(0, pUnit))  // the first unit of the body
    for (INT_PTR i = 0; i < pUnit->m_pTuvList->GetSize(); i++)
      std::printf("%s\n", (LPCSTR)CW2A((*pUnit->m_pTuvList)[i]->m_strSegment));
  engine.DeleteMapObject(pMap);
  delete pMap;

  CGenXMLInterface xml(CString(_T("examples/sample.xml")), 0, CString());
  int nSize = 0;
  const int nNodes = xml.PreParseForSize(nSize);
  std::vector<unsigned char> image(static_cast<size_t>(nSize));
  xml.ParseFileAndPackToMemory(image.data());
  const quillon::PackedImage read = quillon::ReadPackedImage(image.data(), image.size(), static_cast<size_t>(nNodes));
  std::printf("%d records, %zu bytes\n", nNodes, read.length);
  return 0;
}
