// The safe settings that the quillon tool gives its parsers by default, for a host that wants
// them too: no external DTD loaded, no external entity resolved, and the text that a document's
// declared entities expand to kept in proportion to the document (a "billion laughs" or a
// "quadratic blowup" is an error, not an exhausted machine). The library's classes keep the
// parser library's defaults unless a host applies these.
#pragma once

#include <atomic>
#include <string>

#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/EntityResolver.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "quillon/Failure.h"
#include "quillon/afx.h"

// The limit on entity expansion, set on a parser as its security manager. Declared entities
// may produce kAllowance characters, and kRatio more for each byte of the document read so far:
// libxml2's defaults, which no real document comes near (a product name in every unit of a
// memory adds a fraction of a character a byte). A reference costs its entity's whole
// replacement text, nested references included, and kReferenceCost more; entities nest at most
// kMaxDepth deep. The five predefined entities and character references cost nothing.
//
// The library's parsers (the engine's, the packer's and the streaming reader's) measure what
// the expansion produces; the parser library's count of expansions, which also counts every
// &lt; of a document without a DTD, is not used: this manager lets a parser count without end.
class AFX_EXT_CLASS CEntityExpansionLimit : public xercesc::SecurityManager {
 public:
  static constexpr unsigned long long kAllowance = 1000000;
  static constexpr unsigned long long kRatio = 5;
  static constexpr unsigned long long kReferenceCost = 20;
  static constexpr int kMaxDepth = 40;

  CEntityExpansionLimit();
  ~CEntityExpansionLimit() override;
  XMLSize_t getEntityExpansionLimit() const override;

  // Whether a parse has ended on this limit; a parser marks it when it raises.
  bool WasExceeded() const { return m_bExceeded.load(std::memory_order_relaxed); }
  void MarkExceeded() const { m_bExceeded.store(true, std::memory_order_relaxed); }

 private:
  mutable std::atomic<bool> m_bExceeded{false};
};

// The parsers keep pointing at it: it must outlive them. It is their entity resolver, which
// refuses every external entity and remembers the last one it refused, so that a host can say
// why a document that refers to one failed.
class CSafeParsing : private xercesc::EntityResolver {
 public:
  // The engine's parser (m_parser) or the packer's (GetParser()); null is left alone.
  void Apply(xercesc::XercesDOMParser* pParser) {
    if (pParser == nullptr) return;
    pParser->setLoadExternalDTD(false);
    pParser->setDisableDefaultEntityResolution(true);
    pParser->setSecurityManager(&m_limit);
    pParser->setEntityResolver(this);
  }
  // The streaming reader's parser (GetParser()).
  void Apply(xercesc::SAX2XMLReader* pParser) {
    using xercesc::XMLUni;
    pParser->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
    pParser->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    pParser->setProperty(XMLUni::fgXercesSecurityManager, &m_limit);
    pParser->setEntityResolver(this);
  }
  // The system identifier of the last external entity refused, as the document gives it; empty
  // when none was.
  const CString& GetRefusedEntity() const { return m_strRefused; }
  const CEntityExpansionLimit& GetLimit() const { return m_limit; }

  // A parse failure told as what these settings refused, with how to lift them (the tool's
  // "--allow-external", Python's "safe=False"); other failures stay as they are.
  void Explain(quillon::Failure& failure, const char* pszLift) const {
    if (failure.kind != quillon::Failure::Kind::kParse) return;
    if (!m_strRefused.IsEmpty())
      failure.message = "external entity '" + CW2A(m_strRefused).str() +
                        "' not loaded: the safe defaults load nothing external (" + pszLift + " loads it)";
    else if (m_limit.WasExceeded())
      failure.message += std::string(" (") + pszLift + " lifts it)";
  }

 private:
  xercesc::InputSource* resolveEntity(const XMLCh* const, const XMLCh* const pszSystemId) override {
    m_strRefused = pszSystemId;
    return nullptr;  // with default resolution off: not loaded
  }

  CEntityExpansionLimit m_limit;
  CString m_strRefused;
};
