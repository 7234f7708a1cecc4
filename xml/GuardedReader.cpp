#include "xml/GuardedReader.h"

#include <limits>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMImplementation.hpp>
#include <xercesc/framework/XMLValidator.hpp>
#include <xercesc/internal/ReaderMgr.hpp>
#include <xercesc/internal/XMLScanner.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/DTD/DTDAttDef.hpp>
#include <xercesc/validators/DTD/DTDElementDecl.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

using namespace xercesc;

namespace {

// A reader keeps its scanner to itself; the scanner's validator names it to its own kind.
struct ValidatorAccess : XMLValidator {
  static XMLScanner* ScannerOf(XMLValidator* pValidator) {
    XMLScanner* (XMLValidator::*getScanner)() = &ValidatorAccess::getScanner;
    return pValidator ? (pValidator->*getScanner)() : nullptr;
  }
};

constexpr XMLSize_t kNoCount = std::numeric_limits<XMLSize_t>::max();
const XMLCh kEmpty[] = {0};
// A declaration is reported by its name: its markup counts as a reference would.
constexpr size_t kDeclarationCost = CEntityExpansionLimit::kReferenceCost;

}  // namespace

GuardedReader::GuardedReader() : SAX2XMLReaderImpl(XMLPlatformUtils::fgMemoryManager) {
  m_openings.setEntityExpansionLimit(kNoCount);
}

GuardedReader::~GuardedReader() { ReleaseDocument(); }

void GuardedReader::setProperty(const XMLCh* const pszName, void* pValue) {
  if (XMLString::compareIStringASCII(pszName, XMLUni::fgXercesSecurityManager) == 0) {
    m_pHostManager = static_cast<SecurityManager*>(pValue);
    m_pLimit = dynamic_cast<const CEntityExpansionLimit*>(m_pHostManager);
  } else {
    SAX2XMLReaderImpl::setProperty(pszName, pValue);
  }
  UseSecurityManager();  // a new scanner takes over its predecessor's
}

void GuardedReader::setFeature(const XMLCh* const pszName, const bool bValue) {
  if (XMLString::compareIStringASCII(pszName, XMLUni::fgXercesCalculateSrcOfs) != 0)
    return SAX2XMLReaderImpl::setFeature(pszName, bValue);
  m_bHostCountsOffsets = bValue;
  UseSecurityManager();
}

bool GuardedReader::getFeature(const XMLCh* const pszName) const {
  if (XMLString::compareIStringASCII(pszName, XMLUni::fgXercesCalculateSrcOfs) == 0) return m_bHostCountsOffsets;
  return SAX2XMLReaderImpl::getFeature(pszName);
}

void* GuardedReader::getProperty(const XMLCh* const pszName) const {
  if (XMLString::compareIStringASCII(pszName, XMLUni::fgXercesSecurityManager) == 0) return m_pHostManager;
  return SAX2XMLReaderImpl::getProperty(pszName);
}

void GuardedReader::UseSecurityManager() {
  const bool bPlain = XMLString::equals(static_cast<const XMLCh*>(SAX2XMLReaderImpl::getProperty(XMLUni::fgXercesScannerName)),
                                        XMLUni::fgWFXMLScanner);
  SecurityManager* pManager = bPlain ? nullptr : m_pLimit ? &m_openings : m_pHostManager;
  SAX2XMLReaderImpl::setProperty(XMLUni::fgXercesSecurityManager, pManager);
  SAX2XMLReaderImpl::setFeature(XMLUni::fgXercesCalculateSrcOfs, m_bHostCountsOffsets || (!bPlain && m_pLimit));
}

void GuardedReader::parse(const InputSource& source) {
  Listen();
  SAX2XMLReaderImpl::parse(source);
}

bool GuardedReader::parseFirst(const InputSource& source, XMLPScanToken& token) {
  Listen();
  return SAX2XMLReaderImpl::parseFirst(source, token);
}

// The reader passes on only the events a host has handlers for.
void GuardedReader::Listen() {
  XMLScanner* pScanner = Scanner();
  if (m_pLimit == nullptr || pScanner == nullptr) return;
  pScanner->setDocHandler(this);
  pScanner->setDocTypeHandler(this);
}

// ---- What the DOM refuses ------------------------------------------------------------------------

// The DOM's own code refuses them, on a document of the reader's, where the DOM parser meets
// them: SAX2 itself reports no document type declaration that lacks a subset.
DOMDocument* GuardedReader::Document() {
  if (m_pDocument == nullptr) m_pDocument = DOMImplementation::getImplementation()->createDocument();
  return m_pDocument;
}

void GuardedReader::ReleaseDocument() {
  if (m_pDocument) m_pDocument->release();
  m_pDocument = nullptr;
}

void GuardedReader::startDocument() {
  ReleaseDocument();
  const bool bGuarded = m_pLimit && Scanner() && Scanner()->getSecurityManager() == &m_openings;
  m_guard.Begin(bGuarded ? m_pLimit : nullptr);
  m_nDepth = 0;
  m_nRead = 0;
  m_bResumed = false;
  m_bPrologEnded = m_bExceeded = false;
  AllowOpenings();
  SAX2XMLReaderImpl::startDocument();
}

void GuardedReader::XMLDecl(const XMLCh* const pszVersion, const XMLCh* const pszEncoding,
                            const XMLCh* const pszStandalone, const XMLCh* const pszActualEncoding) {
  Document()->setXmlVersion(pszVersion);
  SAX2XMLReaderImpl::XMLDecl(pszVersion, pszEncoding, pszStandalone, pszActualEncoding);
}

void GuardedReader::doctypeDecl(const DTDElementDecl& element, const XMLCh* const pszPublicId,
                                const XMLCh* const pszSystemId, const bool bHasInternalSubset,
                                const bool bHasExternalSubset) {
  Document()->createDocumentType(element.getFullName(), pszPublicId, pszSystemId);
  SAX2XMLReaderImpl::doctypeDecl(element, pszPublicId, pszSystemId, bHasInternalSubset, bHasExternalSubset);
}

// ---- Entity expansion ----------------------------------------------------------------------------

XMLScanner* GuardedReader::Scanner() { return ValidatorAccess::ScannerOf(getValidator()); }

// The bytes of the whole document the scanner has read. Inside an entity (or an external DTD) it
// counts the entity's own, so the count taken last outside stands. Past its frame, a part counts
// from where it lies in the whole, and its accounts go on from there.
ExpansionGuard::Count GuardedReader::Read() {
  const XMLScanner* pScanner = Scanner();
  if (pScanner == nullptr || pScanner->getReaderMgr()->getReaderDepth() > 1) return m_nRead;  // not the document alone
  ExpansionGuard::Count nOffset;
  try {
    nOffset = pScanner->getReaderMgr()->getCurrentReader()->getSrcOffset();
  } catch (const XMLException&) {  // not counted (a host turned it off): the allowance alone
    return m_nRead;
  }
  if (m_frame.nStart == 0 || nOffset <= m_frame.nFrameBytes) return m_nRead = nOffset;
  m_nRead = m_frame.nStart + (nOffset - m_frame.nFrameBytes);
  if (!m_bResumed) {
    m_bResumed = true;
    m_guard.Resume(m_frame.nStart, m_frame.nSpentBefore, m_frame.bStrict);
  }
  return m_nRead;
}

// What the document type declaration gives, from the document or from a parameter entity.
void GuardedReader::Produced(size_t nChars) {
  if (Expands() && m_nDepth == 0 && !m_guard.Produce(nChars, Read())) Raise();
}

// The scanner's count starts again at each element and each entity in content, where the guard
// has seen what came before.
void GuardedReader::AllowOpenings() {
  if (!m_guard.Limit()) return;
  m_openings.setEntityExpansionLimit(Expands() ? m_guard.OpeningsAllowed(Read()) : kNoCount);
  if (XMLScanner* pScanner = Scanner()) pScanner->setSecurityManager(&m_openings);
}

void GuardedReader::entityDecl(const DTDEntityDecl& entity, const bool bParameter, const bool bIgnored) {
  if (m_guard.Limit() && !bIgnored &&
      !m_guard.Declare(bParameter, entity.getName(), entity.getValue() ? entity.getValue() : kEmpty, entity.getValueLen(),
                       Read()))
    Raise();
  SAX2XMLReaderImpl::entityDecl(entity, bParameter, bIgnored);
}

void GuardedReader::elementDecl(const DTDElementDecl& element, const bool bIgnored) {
  Produced(XMLString::stringLen(element.getFullName()) + kDeclarationCost);
  SAX2XMLReaderImpl::elementDecl(element, bIgnored);
}

void GuardedReader::startAttList(const DTDElementDecl& element) {
  Produced(XMLString::stringLen(element.getFullName()) + kDeclarationCost);
  SAX2XMLReaderImpl::startAttList(element);
}

void GuardedReader::attDef(const DTDElementDecl& element, const DTDAttDef& attribute, const bool bIgnoring) {
  Produced(XMLString::stringLen(attribute.getFullName()) + XMLString::stringLen(attribute.getValue()) + kDeclarationCost);
  SAX2XMLReaderImpl::attDef(element, attribute, bIgnoring);
}

void GuardedReader::notationDecl(const XMLNotationDecl& notation, const bool bIgnored) {
  Produced(kDeclarationCost);
  SAX2XMLReaderImpl::notationDecl(notation, bIgnored);
}

void GuardedReader::doctypeWhitespace(const XMLCh* const pszChars, const XMLSize_t nLength) {
  Produced(nLength);
  SAX2XMLReaderImpl::doctypeWhitespace(pszChars, nLength);
}

void GuardedReader::doctypeComment(const XMLCh* const pszComment) {
  Produced(XMLString::stringLen(pszComment));
  SAX2XMLReaderImpl::doctypeComment(pszComment);
}

void GuardedReader::doctypePI(const XMLCh* const pszTarget, const XMLCh* const pszData) {
  Produced(XMLString::stringLen(pszTarget) + XMLString::stringLen(pszData));
  SAX2XMLReaderImpl::doctypePI(pszTarget, pszData);
}

// A reference inside another is part of that one's cost.
void GuardedReader::startEntityReference(const XMLEntityDecl& entity) {
  if (Expands()) {
    if (m_nDepth == 0 && !m_guard.Reference(entity.getName(), Read())) Raise();
    AllowOpenings();
  }
  m_nDepth++;
  SAX2XMLReaderImpl::startEntityReference(entity);
}

void GuardedReader::endEntityReference(const XMLEntityDecl& entity) {
  if (--m_nDepth == 0 && Expands()) Read();
  SAX2XMLReaderImpl::endEntityReference(entity);
}

// Where an element of body ends, a part of the document may begin: the accounts of raw bytes
// start there too.
void GuardedReader::endElement(const XMLElementDecl& element, const unsigned int nUriId, const bool bRoot,
                               const XMLCh* const pszPrefix) {
  if (Expands() && m_nDepth == 0 && !m_guard.Produce(0, Read())) Raise();
  SAX2XMLReaderImpl::endElement(element, nUriId, bRoot, pszPrefix);
}

// Attribute values are expanded before the element is reported: what they hold beyond the
// bytes of the start tag came from entities (or from defaults the declarations gave).
void GuardedReader::startElement(const XMLElementDecl& element, const unsigned int nUriId, const XMLCh* const pszPrefix,
                                 const RefVectorOf<XMLAttr>& attributes, const XMLSize_t nAttributes,
                                 const bool bEmpty, const bool bRoot) {
  m_bPrologEnded = true;
  if (Expands()) {
    if (m_nDepth == 0) {
      size_t nChars = 0;
      for (XMLSize_t i = 0; i < nAttributes; i++) nChars += XMLString::stringLen(attributes.elementAt(i)->getValue());
      if (!m_guard.Produce(nChars, Read())) Raise();
    }
    AllowOpenings();
  }
  SAX2XMLReaderImpl::startElement(element, nUriId, pszPrefix, attributes, nAttributes, bEmpty, bRoot);
}

// The scanner's own count speaks of the limit in the guard's words.
void GuardedReader::error(const unsigned int nCode, const XMLCh* const pszDomain, const XMLErrorReporter::ErrTypes type,
                          const XMLCh* const pszText, const XMLCh* const pszSystemId, const XMLCh* const pszPublicId,
                          const XMLFileLoc nLine, const XMLFileLoc nColumn) {
  if (nCode != XMLErrs::EntityExpansionLimitExceeded || !m_guard.Limit())
    return SAX2XMLReaderImpl::error(nCode, pszDomain, type, pszText, pszSystemId, pszPublicId, nLine, nColumn);
  m_bExceeded = true;
  m_pLimit->MarkExceeded();
  const CA2W message(m_guard.Message().c_str());
  SAX2XMLReaderImpl::error(nCode, pszDomain, XMLErrorReporter::ErrType_Fatal, message, pszSystemId, pszPublicId, nLine,
                           nColumn);
}

// Told as the scanner tells its fatal errors, and ended even when the host's handler goes on.
void GuardedReader::Raise() {
  const Locator* pWhere = Scanner() ? Scanner()->getLocator() : nullptr;
  const XMLCh* pszSystemId = pWhere ? pWhere->getSystemId() : nullptr;
  const XMLCh* pszPublicId = pWhere ? pWhere->getPublicId() : nullptr;
  const XMLFileLoc nLine = pWhere ? pWhere->getLineNumber() : 0, nColumn = pWhere ? pWhere->getColumnNumber() : 0;
  error(XMLErrs::EntityExpansionLimitExceeded, XMLUni::fgXMLErrDomain, XMLErrorReporter::ErrType_Fatal, nullptr,
        pszSystemId, pszPublicId, nLine, nColumn);
  throw SAXParseException(CA2W(m_guard.Message().c_str()), pszPublicId, pszSystemId, nLine, nColumn);
}
