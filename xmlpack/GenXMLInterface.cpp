#include "quillon/GenXMLInterface.h"

#include <climits>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/util/XMLException.hpp>

#include "xmlpack/Settings.h"
#include "xml/ExpansionCheck.h"
#include "xmlpack/SharedParser.h"

using namespace xercesc;

std::atomic<AbstractDOMParser::ValSchemes> g_nValidationScheme{AbstractDOMParser::Val_Never};
const bool g_bDoNamespaces = false;

CGenXMLInterface::CGenXMLInterface(CString strXmlFile, int, CString)
    : m_strXmlFile(std::move(strXmlFile)),
      m_nBytesWritten(0),
      m_nNodeCount(0),
      m_nTextBytes(0),
      m_nRecordIndex(0),
      m_bPreserveSpace(false),
      m_pWritePos(nullptr),
      m_pParser(nullptr),
      m_pDocNode(nullptr),
      m_nStartDepth(0) {
  g_nValidationScheme.store(AbstractDOMParser::Val_Never, std::memory_order_relaxed);
  try {
    m_pParser = new CSharedDOMParser;  // through the parser library's allocator
  } catch (const XMLException&) {
    // The object stays without a parser: PreParseForSize then raises the memory exception.
    return;
  }
  m_pParser->setLoadExternalDTD(false);
}

CGenXMLInterface::CGenXMLInterface(const CGenXMLInterface& src)
    : m_strXmlFile(src.m_strXmlFile),
      m_nBytesWritten(src.m_nBytesWritten),
      m_nNodeCount(src.m_nNodeCount),
      m_nTextBytes(src.m_nTextBytes),
      m_nRecordIndex(src.m_nRecordIndex),
      m_bPreserveSpace(src.m_bPreserveSpace),
      m_pWritePos(src.m_pWritePos),
      m_pParser(src.m_pParser),
      m_pDocNode(src.m_pDocNode),
      m_nStartDepth(src.m_nStartDepth) {
  if (m_pParser) Shared(m_pParser)->AddRef();
}

CGenXMLInterface& CGenXMLInterface::operator=(const CGenXMLInterface& src) {
  if (src.m_pParser) Shared(src.m_pParser)->AddRef();  // first, in case both share it
  if (m_pParser) Shared(m_pParser)->Release();
  m_strXmlFile = src.m_strXmlFile;
  m_nBytesWritten = src.m_nBytesWritten;
  m_nNodeCount = src.m_nNodeCount;
  m_nTextBytes = src.m_nTextBytes;
  m_nRecordIndex = src.m_nRecordIndex;
  m_bPreserveSpace = src.m_bPreserveSpace;
  m_pWritePos = src.m_pWritePos;
  m_pParser = src.m_pParser;
  m_pDocNode = src.m_pDocNode;
  m_nStartDepth = src.m_nStartDepth;
  return *this;
}

CGenXMLInterface::~CGenXMLInterface() {
  if (m_pParser) Shared(m_pParser)->Release();
  m_pParser = nullptr;
}

// The document is taken only by a measurement that succeeds: after a failed one there is
// nothing to pack, so that a host keeping an older, smaller buffer never has it overrun.
int CGenXMLInterface::PreParseForSize(int& nSize) {
  m_pDocNode = nullptr;
  if (m_pParser == nullptr) AfxThrowMemoryException();
  m_pParser->setValidationScheme(g_nValidationScheme.load(std::memory_order_relaxed));
  m_pParser->setDoNamespaces(g_bDoNamespaces);
  LocalFileInputSource source(m_strXmlFile.GetString(), XMLPlatformUtils::fgMemoryManager);
  CheckEntityExpansion(*m_pParser, source);
  m_pParser->parse(source);
  DOMNode* pDocNode = m_pParser->getDocument();
  if (pDocNode) EvaluateTree(m_nNodeCount, pDocNode);
  // The walk keeps 18 x nodes + text below 2^31; the host may have added nodes since.
  const long long nTotal = 18LL * m_nNodeCount + m_nTextBytes;
  if (nTotal > INT_MAX) AfxThrowMemoryException();
  m_pDocNode = pDocNode;
  nSize = static_cast<int>(nTotal);
  return m_nNodeCount;
}

int CGenXMLInterface::GetNodeCount() { return m_nNodeCount; }

void CGenXMLInterface::AddOneToNodeCount() {
  if (m_nNodeCount == INT_MAX) AfxThrowMemoryException();
  m_nNodeCount++;
}

CString CGenXMLInterface::QueryValidator(DOMNode*) { return CString(_T("NULL")); }
