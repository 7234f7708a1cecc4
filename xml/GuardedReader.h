// The SAX2 parser the library reads with, the parser library's own with two differences:
//  - it refuses what the DOM refuses while the engine parses a document though the scanner
//    accepts it: an XML version other than 1.0 and 1.1 ("1.2", "1.0-"), a document type named
//    by no qualified name ("a:", ":");
//  - under a CEntityExpansionLimit (its security manager, as a host sets it) it keeps the
//    document's entity expansion within that limit, and raises the parser's exception at the
//    place where it would go beyond. Nothing but the predefined entities can be referenced in a
//    document without a DTD, so the well-formedness scanner, which counts those, is given no
//    security manager at all, whichever a host set.
#pragma once

#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include "xml/ExpansionFrame.h"
#include "xml/ExpansionGuard.h"

class GuardedReader : public xercesc::SAX2XMLReaderImpl {
 public:
  GuardedReader();
  ~GuardedReader() override;

  // The security manager reads back as the host set it; the scanner gets the one that suits it.
  // So does counting source offsets, which the measure of expansion needs where a DTD may declare
  // entities (and nowhere else, where it would only cost).
  void setProperty(const XMLCh* const pszName, void* pValue) override;
  void* getProperty(const XMLCh* const pszName) const override;
  void setFeature(const XMLCh* const pszName, const bool bValue) override;
  bool getFeature(const XMLCh* const pszName) const override;
  // The parses the library runs: under a limit, the reader hears every event it needs, whichever
  // handlers a host set or took away.
  void parse(const xercesc::InputSource& source) override;
  bool parseFirst(const xercesc::InputSource& source, xercesc::XMLPScanToken& token) override;
  using SAX2XMLReaderImpl::parse;
  using SAX2XMLReaderImpl::parseFirst;

  // Where the next document lies in a whole it is a part of (none: it is the whole), and what
  // its part after the frame spent.
  void SetFrame(const ExpansionFrame& frame) { m_frame = frame; }
  ExpansionGuard::Count SpentAfterFrame() const { return m_guard.SpentSinceResume(); }
  // Whether the last parse ended on the expansion limit.
  bool ExceededLimit() const { return m_bExceeded; }
  // Whether the document read so far can expand at all: it declared entities, under a limit. A
  // prolog without declarations tells that nothing that follows will expand.
  bool Expands() const { return m_guard.Limit() && m_guard.HasEntities(); }
  bool PrologEnded() const { return m_bPrologEnded; }

  // The parser's events, seen on their way.
  void startDocument() override;
  void XMLDecl(const XMLCh* const pszVersion, const XMLCh* const pszEncoding, const XMLCh* const pszStandalone,
               const XMLCh* const pszActualEncoding) override;
  void doctypeDecl(const xercesc::DTDElementDecl& element, const XMLCh* const pszPublicId,
                   const XMLCh* const pszSystemId, const bool bHasInternalSubset, const bool bHasExternalSubset) override;
  void entityDecl(const xercesc::DTDEntityDecl& entity, const bool bParameter, const bool bIgnored) override;
  void elementDecl(const xercesc::DTDElementDecl& element, const bool bIgnored) override;
  void startAttList(const xercesc::DTDElementDecl& element) override;
  void attDef(const xercesc::DTDElementDecl& element, const xercesc::DTDAttDef& attribute, const bool bIgnoring) override;
  void notationDecl(const xercesc::XMLNotationDecl& notation, const bool bIgnored) override;
  void doctypeWhitespace(const XMLCh* const pszChars, const XMLSize_t nLength) override;
  void doctypeComment(const XMLCh* const pszComment) override;
  void doctypePI(const XMLCh* const pszTarget, const XMLCh* const pszData) override;
  void startEntityReference(const xercesc::XMLEntityDecl& entity) override;
  void endEntityReference(const xercesc::XMLEntityDecl& entity) override;
  void endElement(const xercesc::XMLElementDecl& element, const unsigned int nUriId, const bool bRoot,
                  const XMLCh* const pszPrefix) override;
  void startElement(const xercesc::XMLElementDecl& element, const unsigned int nUriId, const XMLCh* const pszPrefix,
                    const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, const XMLSize_t nAttributes,
                    const bool bEmpty, const bool bRoot) override;
  void error(const unsigned int nCode, const XMLCh* const pszDomain, const xercesc::XMLErrorReporter::ErrTypes type,
             const XMLCh* const pszText, const XMLCh* const pszSystemId, const XMLCh* const pszPublicId,
             const XMLFileLoc nLine, const XMLFileLoc nColumn) override;

 private:
  xercesc::DOMDocument* Document();
  void ReleaseDocument();
  void UseSecurityManager();
  void Listen();
  xercesc::XMLScanner* Scanner();
  ExpansionGuard::Count Read();
  void Produced(size_t nChars);
  void AllowOpenings();
  [[noreturn]] void Raise();

  xercesc::DOMDocument* m_pDocument = nullptr;  // where the DOM's refusals are made
  xercesc::SecurityManager* m_pHostManager = nullptr;
  const CEntityExpansionLimit* m_pLimit = nullptr;  // when the host's manager is one
  bool m_bHostCountsOffsets = false;
  // Under a limit, the scanner counts the entities it opens against this: it opens them in
  // attribute values without a word, and a count is the one thing that stops it there.
  xercesc::SecurityManager m_openings;
  ExpansionGuard m_guard;
  int m_nDepth = 0;  // of entity references in content
  ExpansionGuard::Count m_nRead = 0;
  ExpansionFrame m_frame;
  bool m_bResumed = false;  // the part after the frame has begun
  bool m_bPrologEnded = false, m_bExceeded = false;
};
