// The streaming reader's parser: one SAX2 parser, set up as the engine's DOM parser is (its
// settings, an error reporter that throws, the DOM's own refusals of what it cannot record),
// open to the host's own settings, and running each read with the scanner that suits the
// document, the host's settings applied to it.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>

#include "tmx/parsing/DOMTreeErrorReporter.h"
#include "xml/ExpansionFrame.h"

class CPreviewedInputSource;
class GuardedReader;

// A host's parser settings, taken on its thread for the parsers of a read in pieces.
struct ParserSettings {
  std::vector<std::pair<const XMLCh*, bool>> features;
  void* pSecurityManager = nullptr;
  XMLSize_t nLowWaterMark = 0;
  xercesc::EntityResolver* pEntityResolver = nullptr;
};

class StreamParser {
 public:
  // The parser's events go to handler.
  explicit StreamParser(xercesc::DefaultHandler& handler);
  ~StreamParser();
  StreamParser(const StreamParser&) = delete;
  StreamParser& operator=(const StreamParser&) = delete;

  // The parser as the host sees it: the scanner the host chose is in place.
  xercesc::SAX2XMLReader& Get();
  // Whether a document without a document type declaration reads the same in pieces: the host
  // neither validates, nor processes schemas or namespaces, nor chose a scanner of its own.
  bool ReadsPiecesAlike();
  ParserSettings Settings();
  void Apply(const ParserSettings& settings);
  // Where the next document lies in the whole it is a part of, for the measure of its entities'
  // expansion; and what its part after the frame spent on it.
  void SetFrame(const ExpansionFrame& frame);
  unsigned long long SpentAfterFrame() const;

  // A read of input begins, ending any read in progress. Nothing is read until Step or Finish;
  // input must outlive the read.
  void Begin(const xercesc::InputSource& input);
  // One step of a progressive parse, the first starting it; false once the document has ended.
  bool Step();
  // The rest of the read, uninterrupted: the whole document when no step was taken.
  void Finish();
  // The read ends here: no more steps.
  void End();
  // Whether the document has been read to its end, or to an error.
  bool Ended() const { return m_state == State::kEnded; }

 private:
  enum class State { kNoInput, kReady, kStepping, kParsing, kEnded };
  const xercesc::InputSource& Prepare();
  void UseScanner(bool bPlain);
  bool PlainScannerInPlace();
  void ReportAsFullParse(const xercesc::XMLException& e);

  DOMTreeErrorReporter m_errorReporter;
  std::unique_ptr<GuardedReader> m_pParser;
  bool m_bPlainScanner = false;  // the well-formedness scanner stands in for the host's default one
  const xercesc::InputSource* m_pInput = nullptr;
  std::unique_ptr<CPreviewedInputSource> m_pPreview;
  xercesc::XMLPScanToken m_token;
  State m_state = State::kNoInput;
};
