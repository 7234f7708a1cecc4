#include "quillon/TmxParseEngine.h"

#include <memory>

#include <xercesc/dom/DOMAttr.hpp>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>

#include "tmx/dom/DomWalk.h"
#include "tmx/dom/UnitTags.h"
#include "tmx/parsing/DOMTreeErrorReporter.h"
#include "tmx/parsing/DocumentInput.h"
#include "tmx/rules/LanguageSet.h"
#include "xml/ExpansionCheck.h"

using namespace xercesc;

CTmxParseEngine::CTmxParseEngine(CString strPath, CMemFile* pMemFile, HWND hWnd)
    : m_pDocument(nullptr), m_parser(nullptr, XMLPlatformUtils::fgMemoryManager, nullptr), m_pTaggedDocument(nullptr) {
  if (pMemFile != nullptr) {
    m_pMemFile = pMemFile;
    m_strFilePath.Empty();
  } else {
    m_pMemFile = nullptr;
    m_strFilePath = strPath;
  }
  m_hWnd = hWnd;
  m_strAuxiliary2.Empty();
  m_strAuxiliary1.Empty();
}

// The parser releases its current document notifying user-data handlers node by node (earlier
// documents are freed without); a tagged one is cut from its tree first. Nothing can tell: every
// document dies with the parser.
CTmxParseEngine::~CTmxParseEngine() {
  if (m_pTaggedDocument && m_pTaggedDocument == m_parser.getDocument()) CutBeforeRelease(m_pTaggedDocument);
}

namespace {

// The reporter serves one parse only: the parser must not keep pointing at it afterwards.
struct InstalledErrorHandler {
  XercesDOMParser& parser;
  InstalledErrorHandler(XercesDOMParser& p, ErrorHandler* handler) : parser(p) { parser.setErrorHandler(handler); }
  ~InstalledErrorHandler() { parser.setErrorHandler(nullptr); }
};

// The document is read as every reader of the library reads its bytes (decompressed, the check
// of what its entities expand to included): a byte that cannot be read ends it there, with the
// error placed at that byte.
void Parse(XercesDOMParser& parser, const InputSource& source) {
  CheckEntityExpansion(parser, CDocumentInputSource(source, false));
  CDocumentInputSource document(source, false);
  try {
    parser.parse(document);
  } catch (const SAXParseException& e) {
    const TextPosition at{e.getLineNumber(), e.getColumnNumber()};
    document.RaiseFailure(at.nLine != 0 ? &at : nullptr);
    throw;
  }
  document.RaiseFailure(nullptr);
}

// The memory file is copied whole, in one read from its start, into a buffer the parse uses.
void ParseMemFile(XercesDOMParser& parser, CMemFile& file) {
  const auto nLength = static_cast<UINT>(file.GetLength());
  std::unique_ptr<BYTE[]> buffer(new BYTE[nLength ? nLength : 1]);
  file.Seek(0, CFile::begin);
  const UINT nRead = file.Read(buffer.get(), nLength);
  std::unique_ptr<InputSource> source(new (XMLPlatformUtils::fgMemoryManager) MemBufInputSource(
      buffer.get(), nRead, "memTmxFile", false, XMLPlatformUtils::fgMemoryManager));
  Parse(parser, *source);
}

}  // namespace

bool CTmxParseEngine::SearchTmxForLanguages(CStringArray* pLanguages) {
  DOMTreeErrorReporter errorReporter;
  InstalledErrorHandler installed(m_parser, &errorReporter);
  m_parser.setCreateEntityReferenceNodes(false);

  const bool bHasPath = !m_strFilePath.IsEmpty();
  if (bHasPath == (m_pMemFile != nullptr)) return false;
  if (bHasPath) {
    Parse(m_parser, LocalFileInputSource(m_strFilePath.GetString(), XMLPlatformUtils::fgMemoryManager));
  } else {
    ParseMemFile(m_parser, *m_pMemFile);
  }
  m_pDocument = m_parser.getDocument();

  LanguageSet languages;
  if (m_pDocument)
    WalkDepthFirst(m_pDocument->getFirstChild(), 1, [&languages](DOMNode* pNode, int) {
      if (pNode->getNodeType() == DOMNode::ELEMENT_NODE && LanguageSet::IsVariantTag(pNode->getNodeName()))
        for (LPCTSTR pszName : LanguageSet::kAttributes)
          if (const DOMNode* pAttribute = static_cast<DOMElement*>(pNode)->getAttributeNode(pszName))
            languages.Add(AttributeValue(pAttribute));
      return WalkStep::kDescend;
    });

  if (pLanguages == nullptr) return true;
  languages.AppendTo(*pLanguages);
  return pLanguages->GetSize() > 0;
}

bool CTmxParseEngine::CleanLanguages(CStringArray* pLanguages) {
  if (pLanguages != nullptr) pLanguages->SetSize(0, -1);
  return true;
}
