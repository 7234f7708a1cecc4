// Turns the parser's events into the nodes that the unit rules look at, as the DOM holds them: a
// text node is every piece of character data between two other nodes (the DOM merges what a
// stream delivers in pieces, entity expansions and character references included); CDATA
// sections, comments and processing instructions are nodes of their own. Only the nodes below
// the body that the rules read are handed on, each with its level below body (0 for body's
// children, 1 for theirs, ...). A languages read looks at every tuv element instead. Where
// body's content begins and ends is noted, for the parse of a piece, which must end with body.
#pragma once

#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>

#include "tmx/rules/NodeSink.h"
#include "tmx/rules/UnitRules.h"
#include "tmx/stream/TextPosition.h"

class LanguageSet;

class EventCursor : public xercesc::DefaultHandler {
 public:
  EventCursor(const UnitRules& rules, NodeSink& sink) : m_rules(rules), m_sink(sink) {}
  // A new document: body is still to be found.
  void Restart() { m_at = Position(); }
  // From here on, the languages of every tuv element go to languages, and no more nodes to the sink.
  void CollectLanguages(LanguageSet& languages);
  bool BodyFound() const { return m_at.bBodyFound; }
  bool InBody() const { return m_at.nBodyDepth > 0; }
  // Where body's content begins and ends, and whether body was the last element to end but the
  // root, whose end then followed.
  TextPosition BodyStart() const { return m_at.bodyStart; }
  TextPosition BodyEnd() const { return m_at.bodyEnd; }
  bool BodyEndedLast() const { return m_at.nEndsAfterBody == 1; }

  void setDocumentLocator(const xercesc::Locator* const pLocator) override { m_pLocator = pLocator; }

  void startElement(const XMLCh* const, const XMLCh* const, const XMLCh* const pszName,
                    const xercesc::Attributes& attributes) override;
  void endElement(const XMLCh* const, const XMLCh* const, const XMLCh* const pszName) override;
  void characters(const XMLCh* const pch, const XMLSize_t nLength) override;
  void ignorableWhitespace(const XMLCh* const pch, const XMLSize_t nLength) override { characters(pch, nLength); }
  void comment(const XMLCh* const pch, const XMLSize_t nLength) override;
  void processingInstruction(const XMLCh* const pszTarget, const XMLCh* const pszData) override;
  void startCDATA() override;
  void endCDATA() override { m_at.bInCData = false; }

 private:
  int Level() const { return m_at.nDepth - m_at.nBodyDepth; }  // of a node that begins here
  TextPosition Here() const { return {m_pLocator->getLineNumber(), m_pLocator->getColumnNumber()}; }
  void OtherNode(short nType, LPCTSTR pszName, TextView value = {});

  const UnitRules& m_rules;
  NodeSink& m_sink;
  struct Position {
    int nDepth = 0;      // open elements
    int nBodyDepth = 0;  // body's depth while it is open, else 0
    bool bBodyFound = false;
    bool bTextOpen = false;  // the last node here is text that more character data extends
    bool bInCData = false;
    LanguageSet* pLanguages = nullptr;
    TextPosition bodyStart, bodyEnd;
    int nEndsAfterBody = -1;  // elements ended since body did
  } m_at;
  const xercesc::Locator* m_pLocator = nullptr;
};
