// What the DOM refuses while the engine parses a document, though the scanner accepts it: an XML
// version other than 1.0 and 1.1 ("1.2", "1.0-"), a document type named by no qualified name
// ("a:"). The stream has the DOM's own code refuse them, on a document of its own: the parser
// hands it the declaration, the stream's handler the document type.
#pragma once

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMImplementation.hpp>
#include <xercesc/framework/XMLDocumentHandler.hpp>

class DomRefusals : public xercesc::XMLDocumentHandler {
 public:
  DomRefusals() = default;
  DomRefusals(const DomRefusals&) = delete;
  DomRefusals& operator=(const DomRefusals&) = delete;
  ~DomRefusals() override { Release(); }
  void DocumentType(const XMLCh* pszName, const XMLCh* pszPublicId, const XMLCh* pszSystemId) {
    Document()->createDocumentType(pszName, pszPublicId, pszSystemId);
  }
  void XMLDecl(const XMLCh* const pszVersion, const XMLCh* const, const XMLCh* const, const XMLCh* const) override {
    Document()->setXmlVersion(pszVersion);
  }
  void startDocument() override { Release(); }
  void docCharacters(const XMLCh* const, const XMLSize_t, const bool) override {}
  void docComment(const XMLCh* const) override {}
  void docPI(const XMLCh* const, const XMLCh* const) override {}
  void endDocument() override {}
  void endElement(const xercesc::XMLElementDecl&, const unsigned int, const bool, const XMLCh* const) override {}
  void endEntityReference(const xercesc::XMLEntityDecl&) override {}
  void ignorableWhitespace(const XMLCh* const, const XMLSize_t, const bool) override {}
  void resetDocument() override {}
  void startElement(const xercesc::XMLElementDecl&, const unsigned int, const XMLCh* const,
                    const xercesc::RefVectorOf<xercesc::XMLAttr>&, const XMLSize_t, const bool, const bool) override {}
  void startEntityReference(const xercesc::XMLEntityDecl&) override {}

 private:
  xercesc::DOMDocument* Document() {
    if (m_pDocument == nullptr) m_pDocument = xercesc::DOMImplementation::getImplementation()->createDocument();
    return m_pDocument;
  }
  void Release() {
    if (m_pDocument) m_pDocument->release();
    m_pDocument = nullptr;
  }

  xercesc::DOMDocument* m_pDocument = nullptr;
};
