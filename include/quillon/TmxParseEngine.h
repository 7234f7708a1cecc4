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
  // Releases the parser and with it every document it produced.
  ~CTmxParseEngine();
  CTmxParseEngine(const CTmxParseEngine&) = delete;
  CTmxParseEngine& operator=(const CTmxParseEngine&) = delete;

  // Parses the input, keeps the document, and appends its distinct language codes in ordinal
  // order. True when pLanguages is null or not empty afterwards; false without parsing when
  // the input choice is invalid. Parse errors leave as the parser's SAXParseException. Earlier
  // documents stay as they were, the parser's until it is destroyed.
  bool SearchTmxForLanguages(CStringArray* pLanguages);
  bool CleanLanguages(CStringArray* pLanguages);

  // A new, empty map; null when there is no memory for one.
  void CreateMapObject(TmxUnitMap*& pMap);
  // Destroys every unit of the map in the map's own order, setting each value to null once its
  // unit is gone, then empties the map; the map object itself stays. Allocates nothing.
  void DeleteMapObject(TmxUnitMap*& pMap);

  // Both builders tag each tu element they read with the user data "TUK" (no handler). Its
  // datum points to the build's key counter, which lives in the document's own memory for as
  // long as the document does; after the build it holds the last key the build counted (the
  // key of a tu is the counter's value while the build reads that tu). A variant filed under a
  // key whose unit has no list (the host called Delete on it) gets a new list; a key filed with
  // a null unit takes no variant. Without a parsed document both return false and change
  // nothing.
  //
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

 private:
  // The document that a build last tagged: the parser releases its current document walking
  // every node, recursively, when it carries user data, which the destructor spares it.
  xercesc::DOMDocument* m_pTaggedDocument;
};
