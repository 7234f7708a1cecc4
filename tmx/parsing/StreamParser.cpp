#include "tmx/parsing/StreamParser.h"

#include <iterator>

#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "tmx/parsing/InputPreview.h"
#include "xml/GuardedReader.h"

using namespace xercesc;

namespace {

// What the parser drops when it replaces its scanner, which hands the new one all other settings.
const XMLCh* const kDroppedFeatures[] = {
    XMLUni::fgXercesDisableDefaultEntityResolution, XMLUni::fgXercesSkipDTDValidation,
    XMLUni::fgXercesIgnoreCachedDTD, XMLUni::fgXercesIgnoreAnnotations, XMLUni::fgXercesGenerateSyntheticAnnotations,
    XMLUni::fgXercesValidateAnnotations, XMLUni::fgXercesHandleMultipleImports};

// What a host may set, for the parsers that read pieces of its document.
const XMLCh* const kHostFeatures[] = {
    XMLUni::fgSAX2CoreNameSpaces, XMLUni::fgSAX2CoreNameSpacePrefixes, XMLUni::fgSAX2CoreValidation,
    XMLUni::fgXercesDynamic, XMLUni::fgXercesSchema, XMLUni::fgXercesSchemaFullChecking, XMLUni::fgXercesLoadSchema,
    XMLUni::fgXercesIdentityConstraintChecking, XMLUni::fgXercesContinueAfterFatalError,
    XMLUni::fgXercesValidationErrorAsFatal, XMLUni::fgXercesLoadExternalDTD, XMLUni::fgXercesCalculateSrcOfs,
    XMLUni::fgXercesStandardUriConformant, XMLUni::fgXercesDisableDefaultEntityResolution,
    XMLUni::fgXercesSkipDTDValidation, XMLUni::fgXercesIgnoreCachedDTD, XMLUni::fgXercesIgnoreAnnotations,
    XMLUni::fgXercesGenerateSyntheticAnnotations, XMLUni::fgXercesValidateAnnotations,
    XMLUni::fgXercesHandleMultipleImports};

bool ScannerIs(SAX2XMLReader& parser, const XMLCh* pszName) {
  return XMLString::equals(static_cast<const XMLCh*>(parser.getProperty(XMLUni::fgXercesScannerName)), pszName);
}

}  // namespace

// The engine's settings are those of the DOM parser, which differ from SAX2's own defaults in
// namespaces and schema processing.
StreamParser::StreamParser(DefaultHandler& handler) : m_pParser(new GuardedReader) {
  m_pParser->setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
  m_pParser->setFeature(XMLUni::fgSAX2CoreValidation, false);
  m_pParser->setFeature(XMLUni::fgXercesSchema, false);
  m_pParser->setContentHandler(&handler);
  m_pParser->setLexicalHandler(&handler);
  m_pParser->setErrorHandler(&m_errorReporter);
}

StreamParser::~StreamParser() = default;

// The scanner cannot change in the middle of a document.
SAX2XMLReader& StreamParser::Get() {
  if (m_state != State::kStepping && m_state != State::kParsing) UseScanner(false);
  return *m_pParser;
}

bool StreamParser::ReadsPiecesAlike() {
  SAX2XMLReader& parser = Get();
  return ScannerIs(parser, XMLUni::fgIGXMLScanner) && !parser.getFeature(XMLUni::fgSAX2CoreValidation) &&
         !parser.getFeature(XMLUni::fgXercesSchema) && !parser.getFeature(XMLUni::fgSAX2CoreNameSpaces);
}

ParserSettings StreamParser::Settings() {
  SAX2XMLReader& parser = Get();
  ParserSettings settings;
  for (const XMLCh* pszFeature : kHostFeatures) settings.features.emplace_back(pszFeature, parser.getFeature(pszFeature));
  settings.pSecurityManager = parser.getProperty(XMLUni::fgXercesSecurityManager);
  settings.nLowWaterMark = *static_cast<const XMLSize_t*>(parser.getProperty(XMLUni::fgXercesLowWaterMark));
  settings.pEntityResolver = parser.getEntityResolver();
  return settings;
}

void StreamParser::Apply(const ParserSettings& settings) {
  for (const auto& [pszFeature, bOn] : settings.features) m_pParser->setFeature(pszFeature, bOn);
  m_pParser->setProperty(XMLUni::fgXercesSecurityManager, settings.pSecurityManager);
  m_pParser->setProperty(XMLUni::fgXercesLowWaterMark, const_cast<XMLSize_t*>(&settings.nLowWaterMark));
  m_pParser->setEntityResolver(settings.pEntityResolver);
}

void StreamParser::SetFrame(const ExpansionFrame& frame) { m_pParser->SetFrame(frame); }
unsigned long long StreamParser::SpentAfterFrame() const { return m_pParser->SpentAfterFrame(); }

// A progressive parse holds its input only while it is in the middle of a document: the parser
// gives it back when a step raises, and at the end.
void StreamParser::Begin(const InputSource& input) {
  if (m_state == State::kStepping) m_pParser->parseReset(m_token);
  m_pPreview.reset();
  m_pInput = &input;
  m_state = State::kReady;
}

bool StreamParser::Step() {
  if (m_state == State::kStepping) {
    m_state = State::kEnded;  // stays so when the parse raises
    if (m_pParser->parseNext(m_token)) m_state = State::kStepping;
  } else if (m_state == State::kReady) {
    m_state = State::kEnded;
    try {
      if (m_pParser->parseFirst(Prepare(), m_token)) m_state = State::kStepping;
    } catch (const XMLException& e) {
      ReportAsFullParse(e);
    }
  }
  return m_state == State::kStepping;
}

void StreamParser::End() {
  if (m_state == State::kStepping) m_pParser->parseReset(m_token);
  m_pPreview.reset();
  m_state = State::kEnded;
}

void StreamParser::Finish() {
  if (m_state == State::kStepping) {
    while (Step()) {
    }
  } else if (m_state == State::kReady) {
    struct Ended {
      State& state;
      ~Ended() { state = State::kEnded; }
    } ended{m_state = State::kParsing};
    try {
      m_pParser->parse(Prepare());
    } catch (const XMLException& e) {  // from the look at the first bytes
      ReportAsFullParse(e);
    }
  }
}

// A document without a document type declaration has no DTD for any setting to apply to: unless
// the host validates, processes schemas or chose a scanner of its own, the well-formedness
// scanner reads it, with the same events, 18 % faster, and without the record that the default
// scanner keeps of each element's children, so that memory stays flat however long body is.
const InputSource& StreamParser::Prepare() {
  auto pPreview = std::make_unique<CPreviewedInputSource>(*m_pInput, kPreviewBytes);
  if (!pPreview->Opened()) return *m_pInput;  // the parser tells why
  const bool bHostsDefault = PlainScannerInPlace() || ScannerIs(*m_pParser, XMLUni::fgIGXMLScanner);
  const bool bNoGrammar =
      !m_pParser->getFeature(XMLUni::fgSAX2CoreValidation) && !m_pParser->getFeature(XMLUni::fgXercesSchema);
  UseScanner(pPreview->HasNoDocumentType() && bHostsDefault && bNoGrammar);
  m_pPreview = std::move(pPreview);
  return *m_pPreview;
}

// Puts the plain scanner in the place of the host's default one, or the default one back, with
// the settings the parser would drop. (The input buffer size, which nothing reads back, sets
// only the pieces that character data comes in.)
void StreamParser::UseScanner(bool bPlain) {
  if (bPlain == PlainScannerInPlace()) return;
  bool bDropped[std::size(kDroppedFeatures)];
  for (size_t i = 0; i < std::size(kDroppedFeatures); i++) bDropped[i] = m_pParser->getFeature(kDroppedFeatures[i]);
  XMLSize_t nLowWaterMark = *static_cast<const XMLSize_t*>(m_pParser->getProperty(XMLUni::fgXercesLowWaterMark));
  m_pParser->setProperty(XMLUni::fgXercesScannerName,
                         const_cast<XMLCh*>(bPlain ? XMLUni::fgWFXMLScanner : XMLUni::fgIGXMLScanner));
  for (size_t i = 0; i < std::size(kDroppedFeatures); i++) m_pParser->setFeature(kDroppedFeatures[i], bDropped[i]);
  m_pParser->setProperty(XMLUni::fgXercesLowWaterMark, &nLowWaterMark);
  m_bPlainScanner = bPlain;
}

bool StreamParser::PlainScannerInPlace() {
  if (m_bPlainScanner && !ScannerIs(*m_pParser, XMLUni::fgWFXMLScanner)) m_bPlainScanner = false;  // the host chose since
  return m_bPlainScanner;
}

// A full parse reports what stops it before the first character (input that cannot be opened or
// decoded) to the error handler; a progressive parse, and the look at the first bytes, throw it.
void StreamParser::ReportAsFullParse(const XMLException& e) {
  const SAXParseException error(e.getMessage(), m_pInput->getPublicId(), m_pInput->getSystemId(), 0, 0);
  if (e.getErrorType() >= XMLErrorReporter::ErrType_Fatal)
    m_errorReporter.fatalError(error);
  else if (e.getErrorType() == XMLErrorReporter::ErrType_Error)
    m_errorReporter.error(error);
}
