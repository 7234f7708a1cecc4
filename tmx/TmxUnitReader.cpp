// The streaming reader: SAX2 events driven through the same unit rules as the builders' DOM
// walk. What it must rebuild of the DOM's view, it rebuilds here: a text node is every piece of
// character data between two other nodes (the DOM merges the pieces a stream delivers, entity
// expansions and character references included); CDATA sections, comments and processing
// instructions are nodes of their own; a node's role follows from its depth below body.
#include "quillon/TmxUnitReader.h"

#include <vector>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMException.hpp>
#include <xercesc/dom/DOMImplementation.hpp>
#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/XMLDocumentHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "tmx/DOMTreeErrorReporter.h"
#include "tmx/FileInputSource.h"
#include "tmx/InputPreview.h"
#include "tmx/LanguageSet.h"
#include "tmx/UnitRules.h"

using namespace xercesc;

namespace {

TextView View(const XMLCh* pch, XMLSize_t nLength) { return TextView(pch, nLength); }

// What the DOM refuses while the engine parses a document, though the scanner accepts it: an XML
// version other than 1.0 and 1.1 ("1.2", "1.0-"), a document type named by no qualified name
// ("a:"). The stream has the DOM's own code refuse them, on a document of its own.
class DomRefusals : public XMLDocumentHandler {
 public:
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
  void endElement(const XMLElementDecl&, const unsigned int, const bool, const XMLCh* const) override {}
  void endEntityReference(const XMLEntityDecl&) override {}
  void ignorableWhitespace(const XMLCh* const, const XMLSize_t, const bool) override {}
  void resetDocument() override {}
  void startElement(const XMLElementDecl&, const unsigned int, const XMLCh* const, const RefVectorOf<XMLAttr>&,
                    const XMLSize_t, const bool, const bool) override {}
  void startEntityReference(const XMLEntityDecl&) override {}

 private:
  DOMDocument* Document() {
    if (m_pDocument == nullptr) m_pDocument = DOMImplementation::getImplementation()->createDocument();
    return m_pDocument;
  }
  void Release() {
    if (m_pDocument) m_pDocument->release();
    m_pDocument = nullptr;
  }

  DOMDocument* m_pDocument = nullptr;
};

// The seg being read: its text content, and the values of its first child and of its last
// child that has one. A text or CDATA value lies in the content; a comment's or a PI's is kept.
class SegReader {
 public:
  void Begin() {
    m_content.Empty();
    m_nChildren = 0;
    m_first = m_last = Value();
  }
  void BeginChild(short nType, TextView markup) {
    Value value;
    if (nType == DOMNode::TEXT_NODE || nType == DOMNode::CDATA_SECTION_NODE) {
      value = {true, nullptr, Length(), Length()};
    } else if (nType != DOMNode::ELEMENT_NODE) {
      m_lastMarkup.SetString(markup.data(), static_cast<int>(markup.size()));
      value = {true, &m_lastMarkup};
    }
    if (m_nChildren++ == 0) {
      m_first = value;
      if (value.pMarkup) m_first.pMarkup = &(m_firstMarkup = m_lastMarkup);
    }
    if (value.bPresent) m_last = value;
  }
  // Character data anywhere in the seg; bOfChild when it belongs to the child in progress,
  // which is then the last child with a value.
  void Text(TextView text, bool bOfChild) {
    m_content.Append(text.data(), static_cast<int>(text.size()));
    if (!bOfChild) return;
    if (m_nChildren == 1) m_first.nEnd = Length();
    m_last.nEnd = Length();
  }
  SegSummary Summary() const {
    SegSummary seg;
    seg.bHasChildren = m_nChildren > 0;
    if (m_first.bPresent) seg.firstValue = ViewOf(m_first);
    if (m_last.bPresent) seg.lastValue = ViewOf(m_last);
    seg.bLastValueIsContent = m_last.bPresent && m_last.pMarkup == nullptr;
    return seg;
  }
  TextView Content() const { return TextView(m_content.GetString(), Length()); }

 private:
  struct Value {
    bool bPresent = false;
    const CString* pMarkup = nullptr;  // a comment's or PI's value; else the value is in the content
    size_t nStart = 0, nEnd = 0;
  };
  size_t Length() const { return static_cast<size_t>(m_content.GetLength()); }
  TextView ViewOf(const Value& value) const {
    if (value.pMarkup) return TextView(value.pMarkup->GetString(), static_cast<size_t>(value.pMarkup->GetLength()));
    return Content().substr(value.nStart, value.nEnd - value.nStart);
  }

  CString m_content;
  CString m_firstMarkup, m_lastMarkup;
  int m_nChildren = 0;
  Value m_first, m_last;
};

}  // namespace

class CTmxUnitStream : public DefaultHandler, private UnitSink {
 public:
  CTmxUnitStream(const CTmxUnitReader& owner, const CString* pFirstLanguage, const CString* pSecondLanguage)
      : m_owner(owner),
        m_strFirst(pFirstLanguage ? *pFirstLanguage : CString()),
        m_strSecond(pSecondLanguage ? *pSecondLanguage : CString()),
        m_rules(*this, m_nKeyCounter, pFirstLanguage ? &m_strFirst : nullptr, pFirstLanguage ? &m_strSecond : nullptr),
        m_pParser(NewParser()) {}

  SAX2XMLReader* Parser() { return m_pParser.get(); }

  void Open(const InputSource& source, std::unique_ptr<InputSource> pOwned = nullptr) {
    if (m_bStepping && !m_bEnded) m_pActive->parseReset(m_token);
    m_pSource = std::move(pOwned);
    m_pInput = &source;
    m_bStarted = m_bStepping = false;
    m_bEnded = true;
    Reset();
  }

  bool ReadNextUnit() {
    m_nVariants = 0;
    m_bUnitReady = false;
    while (!m_bUnitReady && Step()) {
    }
    return m_bUnitReady;
  }

  bool ReadUnits(CTmxUnitHandler& handler) {
    m_pHandler = &handler;
    struct Done {
      CTmxUnitHandler*& pHandler;
      ~Done() { pHandler = nullptr; }
    } done{m_pHandler};
    ReadToTheEnd();
    return Result();
  }

  bool ReadLanguages(CStringArray* pLanguages) {
    m_bReadUnits = false;
    m_nBodyDepth = 0;
    ReadToTheEnd();
    if (pLanguages == nullptr) return true;
    m_languages.AppendTo(*pLanguages);
    return pLanguages->GetSize() > 0;
  }

  int Key() const { return m_nUnitKey; }
  INT_PTR VariantCount() const { return static_cast<INT_PTR>(m_nVariants); }
  const CTmxTUV& Variant(INT_PTR nIndex) const {
    if (nIndex < 0 || nIndex >= VariantCount()) AfxThrowInvalidArgException();
    return *m_variants[static_cast<size_t>(nIndex)];
  }
  bool Result() const { return !m_rules.IsBilingual() || m_bBodyRead; }

 private:
  // A parser with the engine's settings (those of the DOM parser, which differ from SAX2's own
  // defaults in namespaces and schema processing), reporting to this reader.
  SAX2XMLReader* NewParser() {
    std::unique_ptr<SAX2XMLReader> pParser(XMLReaderFactory::createXMLReader(XMLPlatformUtils::fgMemoryManager));
    pParser->setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
    pParser->setFeature(XMLUni::fgSAX2CoreValidation, false);
    pParser->setFeature(XMLUni::fgXercesSchema, false);
    pParser->setContentHandler(this);
    pParser->setLexicalHandler(this);
    pParser->setErrorHandler(&m_errorReporter);
    pParser->installAdvDocHandler(&m_domRefusals);
    return pParser.release();
  }

  // Chooses the parser of a read, and what it reads. A document without a document type
  // declaration has no DTD for any setting to apply to: the well-formedness scanner reads it with
  // the same events, 18 % faster, and without the record that the default scanner keeps of each
  // element's children, so that memory stays flat however long body is. Any other document is
  // read by the host's parser, with the host's settings.
  const InputSource& BeginRead() {
    m_bStarted = true;
    m_pActive = m_pParser.get();
    auto pPreview = std::make_unique<CPreviewedInputSource>(*m_pInput, kPreviewBytes);
    if (!pPreview->Opened()) return *m_pInput;  // the parser tells why
    if (pPreview->HasNoDocumentType() && !m_pParser->getFeature(XMLUni::fgSAX2CoreValidation)) {
      if (!m_pPlainParser) {
        m_pPlainParser.reset(NewParser());
        m_pPlainParser->setProperty(XMLUni::fgXercesScannerName, const_cast<XMLCh*>(XMLUni::fgWFXMLScanner));
      }
      m_pActive = m_pPlainParser.get();
    }
    m_pPreview = std::move(pPreview);
    return *m_pPreview;
  }

  // One step of a progressive parse, started on the first; false once the document has ended.
  bool Step() {
    if (!m_bStarted && m_pInput) {
      m_bStepping = true;
      try {
        const InputSource& input = BeginRead();  // chooses m_pActive
        m_bEnded = !m_pActive->parseFirst(input, m_token);
      } catch (const XMLException& e) {
        ReportAsFullParse(e, *m_pInput);
      }
    } else if (!m_bEnded) {
      m_bEnded = true;  // stays so when the parse raises
      m_bEnded = !m_pActive->parseNext(m_token);
    }
    return !m_bEnded;
  }

  // A document not started yet is parsed whole, uninterrupted; else the steps go on.
  void ReadToTheEnd() {
    if (m_bStarted) {
      while (Step()) {
      }
      return;
    }
    if (m_pInput == nullptr) return;
    try {
      const InputSource& input = BeginRead();  // chooses m_pActive
      m_pActive->parse(input);
    } catch (const XMLException& e) {  // from the look at the first bytes
      ReportAsFullParse(e, *m_pInput);
    }
  }

  // A full parse reports what stops it before the first character (input that cannot be
  // opened or decoded) to the error handler; the first step of a progressive parse throws it.
  void ReportAsFullParse(const XMLException& e, const InputSource& source) {
    const SAXParseException error(e.getMessage(), source.getPublicId(), source.getSystemId(), 0, 0);
    if (e.getErrorType() >= XMLErrorReporter::ErrType_Fatal)
      m_errorReporter.fatalError(error);
    else if (e.getErrorType() == XMLErrorReporter::ErrType_Error)
      m_errorReporter.error(error);
  }

  void Reset() {
    m_nKeyCounter = -1;
    m_nDepth = m_nBodyDepth = 0;
    m_bBodyRead = m_bChainStarted = m_bInUnit = m_bTextOpen = m_bInCData = m_bInNote = false;
    m_unitChild = m_variantChild = UnitRules::Role::kOther;
    m_bReadUnits = true;
    m_languages = LanguageSet();
  }

  bool InBody() const { return m_nBodyDepth > 0; }
  // Depth of the current position below body: 0 directly in body, 1 in a unit, 2 in a unit's
  // child, 3 in a variant's child.
  int Level() const { return m_nDepth - m_nBodyDepth; }
  bool InSeg() const {
    return m_bInUnit && m_unitChild == UnitRules::Role::kVariant && m_variantChild == UnitRules::Role::kSegment;
  }

  // A new child node at the current position: an element (with its attributes), or a text,
  // CDATA, comment or PI node (with its value).
  void ChildNode(short nType, const XMLCh* pszName, TextView value = {}, const Attributes* pAttributes = nullptr) {
    const bool bElement = nType == DOMNode::ELEMENT_NODE;
    switch (Level()) {
      case 0: {
        const bool bFirst = !m_bChainStarted;
        m_bChainStarted = true;
        if (!(bFirst && UnitRules::LeftOutWhenFirst(nType)) && m_rules.ChainNode(nType, pszName)) {
          m_bInUnit = true;
          m_rules.BeginUnit();
        }
        break;
      }
      case 1: {
        if (!m_bInUnit) break;
        const UnitRules::Role role = UnitRules::UnitChild(pszName);
        if (bElement) {
          m_unitChild = role;
          if (role == UnitRules::Role::kVariant) BeginVariant(*pAttributes);
          BeginNote(role);
        } else if (role == UnitRules::Role::kNote) {  // a PI named note: its data is its text
          m_rules.UnitNote(value);
        }  // a PI named tuv has neither attributes nor children: no variant
        break;
      }
      case 2: {
        if (!m_bInUnit || m_unitChild != UnitRules::Role::kVariant) break;
        const UnitRules::Role role = UnitRules::VariantChild(pszName);
        if (bElement) {
          m_variantChild = role;
          if (role == UnitRules::Role::kSegment) m_seg.Begin();
          BeginNote(role);
        } else if (role == UnitRules::Role::kNote) {
          m_rules.VariantNote(value);
        } else if (role == UnitRules::Role::kSegment) {  // a PI named seg: a seg without children
          m_rules.Segment(SegSummary(), [] { return TextView(); });
        }
        break;
      }
      case 3:
        if (InSeg()) m_seg.BeginChild(nType, value);
        break;
      default:
        break;
    }
  }

  void BeginVariant(const Attributes& attributes) {
    VariantLanguage language;
    const XMLSize_t nAttributes = attributes.getLength();
    for (XMLSize_t i = 0; i < nAttributes; i++) language.Consider(attributes.getQName(i), attributes.getValue(i));
    m_strLanguage = language.Value();
    m_rules.BeginVariant(TextView(m_strLanguage.GetString(), static_cast<size_t>(m_strLanguage.GetLength())));
  }

  void BeginNote(UnitRules::Role role) {
    m_bInNote = role == UnitRules::Role::kNote;
    if (m_bInNote) m_note.Empty();
  }

  void EndChild() {
    switch (Level()) {
      case 1:
        if (!m_bInUnit) break;
        m_bInUnit = false;
        if (m_nVariants == 0) break;
        m_nUnitKey = m_nKeyCounter;
        m_bUnitReady = true;
        if (m_pHandler) {
          m_pHandler->OnUnit(m_owner);
          m_nVariants = 0;
        }
        break;
      case 2:
        if (m_bInUnit && m_unitChild == UnitRules::Role::kNote) m_rules.UnitNote(NoteText());
        m_unitChild = UnitRules::Role::kOther;
        m_bInNote = false;
        break;
      case 3:
        if (m_bInUnit && m_unitChild == UnitRules::Role::kVariant) {
          if (m_variantChild == UnitRules::Role::kNote) m_rules.VariantNote(NoteText());
          if (m_variantChild == UnitRules::Role::kSegment) m_rules.Segment(m_seg.Summary(), [this] { return m_seg.Content(); });
          m_variantChild = UnitRules::Role::kOther;
          m_bInNote = false;
        }
        break;
      default:
        break;
    }
  }

  TextView NoteText() const { return TextView(m_note.GetString(), static_cast<size_t>(m_note.GetLength())); }

  // ContentHandler and LexicalHandler
  void startElement(const XMLCh* const, const XMLCh* const, const XMLCh* const pszName,
                    const Attributes& attributes) override {
    if (!m_bReadUnits && LanguageSet::IsVariantTag(pszName))
      for (XMLSize_t i = 0, nAttributes = attributes.getLength(); i < nAttributes; i++)
        if (LanguageSet::IsLanguageAttribute(attributes.getQName(i))) m_languages.Add(attributes.getValue(i));
    m_bTextOpen = false;
    if (InBody()) ChildNode(DOMNode::ELEMENT_NODE, pszName, {}, &attributes);
    m_nDepth++;
    if (m_bReadUnits && !InBody() && !m_bBodyRead &&
        (m_rules.IsBilingual() ? UnitRules::IsBilingualBody(pszName)
                               : m_nDepth == 2 && UnitRules::IsMultilingualBody(pszName))) {
      m_nBodyDepth = m_nDepth;
      m_bBodyRead = true;
    }
  }

  void endElement(const XMLCh* const, const XMLCh* const, const XMLCh* const) override {
    if (InBody()) {
      if (Level() == 0)
        m_nBodyDepth = 0;  // only the first body is read
      else
        EndChild();
    }
    m_nDepth--;
    m_bTextOpen = false;
  }

  void characters(const XMLCh* const pch, const XMLSize_t nLength) override {
    if (!InBody()) return;
    if (!m_bInCData && !m_bTextOpen) {
      ChildNode(DOMNode::TEXT_NODE, _T("#text"));
      m_bTextOpen = true;
    }
    if (m_bInNote) m_note.Append(pch, static_cast<int>(nLength));
    if (InSeg()) m_seg.Text(View(pch, nLength), Level() == 3);
  }
  void ignorableWhitespace(const XMLCh* const pch, const XMLSize_t nLength) override { characters(pch, nLength); }

  void comment(const XMLCh* const pch, const XMLSize_t nLength) override {
    m_bTextOpen = false;
    if (InBody()) ChildNode(DOMNode::COMMENT_NODE, _T("#comment"), View(pch, nLength));
  }

  void processingInstruction(const XMLCh* const pszTarget, const XMLCh* const pszData) override {
    m_bTextOpen = false;
    if (InBody()) ChildNode(DOMNode::PROCESSING_INSTRUCTION_NODE, pszTarget, TextView(pszData));
  }

  void startCDATA() override {
    m_bTextOpen = false;
    if (InBody()) ChildNode(DOMNode::CDATA_SECTION_NODE, _T("#cdata-section"));
    m_bInCData = true;
  }
  void endCDATA() override { m_bInCData = false; }

  void startDTD(const XMLCh* const pszName, const XMLCh* const pszPublicId, const XMLCh* const pszSystemId) override {
    m_domRefusals.DocumentType(pszName, pszPublicId, pszSystemId);
  }

  // UnitSink: the variants of the unit in progress, kept in storage that units reuse.
  void FileVariant(int, TextView language, TextView segment, const CString& strNote) override {
    if (m_nVariants == m_variants.size()) m_variants.push_back(std::make_unique<CTmxTUV>(nullptr, nullptr, nullptr));
    CTmxTUV& variant = *m_variants[m_nVariants++];
    variant.m_strLanguage.SetString(language.data(), static_cast<int>(language.size()));
    variant.m_strSegment.SetString(segment.data(), static_cast<int>(segment.size()));
    variant.m_strNote = strNote;
  }

  const CTmxUnitReader& m_owner;
  CString m_strFirst, m_strSecond;
  int m_nKeyCounter = -1;
  UnitRules m_rules;
  DOMTreeErrorReporter m_errorReporter;
  DomRefusals m_domRefusals;
  std::unique_ptr<SAX2XMLReader> m_pParser;       // the host's
  std::unique_ptr<SAX2XMLReader> m_pPlainParser;  // for documents without a DTD, made when needed
  SAX2XMLReader* m_pActive = nullptr;             // the one reading
  static constexpr size_t kPreviewBytes = 16384;
  std::unique_ptr<InputSource> m_pSource;  // the input, when the reader made it
  const InputSource* m_pInput = nullptr;
  std::unique_ptr<CPreviewedInputSource> m_pPreview;
  XMLPScanToken m_token;
  bool m_bStarted = false;   // the parse has begun
  bool m_bStepping = false;  // as a progressive parse
  bool m_bEnded = true;
  CTmxUnitHandler* m_pHandler = nullptr;

  // Where the parse is
  int m_nDepth = 0;       // open elements
  int m_nBodyDepth = 0;   // body's depth while it is open, else 0
  bool m_bBodyRead = false;
  bool m_bChainStarted = false;
  bool m_bInUnit = false;
  UnitRules::Role m_unitChild = UnitRules::Role::kOther;     // the open child of the unit
  UnitRules::Role m_variantChild = UnitRules::Role::kOther;  // the open child of its variant
  bool m_bTextOpen = false;  // the last node here is text that more character data extends
  bool m_bInCData = false;
  bool m_bInNote = false;
  CString m_note;
  CString m_strLanguage;
  SegReader m_seg;

  // What is read
  bool m_bReadUnits = true;
  LanguageSet m_languages;
  bool m_bUnitReady = false;
  int m_nUnitKey = -1;
  std::vector<std::unique_ptr<CTmxTUV>> m_variants;
  size_t m_nVariants = 0;
};

CTmxUnitReader::CTmxUnitReader() : m_pStream(std::make_unique<CTmxUnitStream>(*this, nullptr, nullptr)) {}

CTmxUnitReader::CTmxUnitReader(const CString& strFirstLanguage, const CString& strSecondLanguage)
    : m_pStream(std::make_unique<CTmxUnitStream>(*this, &strFirstLanguage, &strSecondLanguage)) {}

CTmxUnitReader::~CTmxUnitReader() = default;

SAX2XMLReader* CTmxUnitReader::GetParser() { return m_pStream->Parser(); }

void CTmxUnitReader::Open(const CString& strPath) {
  auto pSource = std::make_unique<LocalFileInputSource>(strPath.GetString(), XMLPlatformUtils::fgMemoryManager);
  const InputSource& source = *pSource;
  m_pStream->Open(source, std::move(pSource));
}

void CTmxUnitReader::Open(CFile* pFile) {
  if (pFile == nullptr) AfxThrowInvalidArgException();
  auto pSource = std::make_unique<CFileInputSource>(*pFile);
  const InputSource& source = *pSource;
  m_pStream->Open(source, std::move(pSource));
}

void CTmxUnitReader::Open(const InputSource& source) { m_pStream->Open(source); }
BOOL CTmxUnitReader::ReadNextUnit() { return m_pStream->ReadNextUnit(); }
BOOL CTmxUnitReader::ReadUnits(CTmxUnitHandler& handler) { return m_pStream->ReadUnits(handler); }
int CTmxUnitReader::GetKey() const { return m_pStream->Key(); }
INT_PTR CTmxUnitReader::GetVariantCount() const { return m_pStream->VariantCount(); }
const CTmxTUV& CTmxUnitReader::GetVariant(INT_PTR nIndex) const { return m_pStream->Variant(nIndex); }
BOOL CTmxUnitReader::GetResult() const { return m_pStream->Result(); }
BOOL CTmxUnitReader::ReadLanguages(CStringArray* pLanguages) { return m_pStream->ReadLanguages(pLanguages); }
