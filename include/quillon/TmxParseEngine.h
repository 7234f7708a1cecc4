// CTmxParseEngine: parses a TMX document from a path or an in-memory file, lists its languages
// and fills unit maps from it.
#pragma once

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>

#include "quillon/TmxUnits.h"
#include "quillon/afx.h"

class AFX_EXT_CLASS CTmxParseEngine {
 public:
  // A non-null memory file wins over the path. The parser platform must be running.
  CTmxParseEngine(CString strPath, CMemFile* pMemFile, HWND hWnd);
  ~CTmxParseEngine();
  CTmxParseEngine(const CTmxParseEngine&) = delete;
  CTmxParseEngine& operator=(const CTmxParseEngine&) = delete;

  // Parses the input, keeps the document, and appends its distinct language codes in ordinal
  // order. True when pLanguages is null or not empty afterwards; false without parsing when
  // the input choice is invalid. Parse errors leave as the parser's SAXParseException.
  bool SearchTmxForLanguages(CStringArray* pLanguages);
  bool CleanLanguages(CStringArray* pLanguages);

  void CreateMapObject(TmxUnitMap*& pMap);
  // Destroys every unit of the map and empties it; the map object itself stays.
  void DeleteMapObject(TmxUnitMap*& pMap);
  // Files the variants of m_strFirstLanguage and m_strSecondLanguage; false without a body.
  bool CreateDataStructures(TmxUnitMap& map);
  // Files the variants of every language; false only when nothing has been parsed.
  bool CreateMultilingualDataStructures(TmxUnitMap& map);

  HWND m_hWnd;
  CMemFile* m_pMemFile;
  CString m_strAuxiliary1;
  CString m_strFirstLanguage;
  CString m_strAuxiliary2;
  CString m_strSecondLanguage;
  CString m_strFilePath;
  xercesc::DOMDocument* m_pDocument;
  xercesc::XercesDOMParser m_parser;
};
