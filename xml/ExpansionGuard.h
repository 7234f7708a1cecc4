// The accounts that CEntityExpansionLimit asks of a parser for one document: what each declared
// entity expands to, what the document has spent on expansion, and what it may spend by then.
// The parser tells it what it meets, each time with the bytes of the document read so far, and
// each call answers whether the document stays within the limit; once it does not, Message()
// says why.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include <xercesc/util/XercesDefs.hpp>

#include "quillon/SafeParsing.h"

class ExpansionGuard {
 public:
  using Count = unsigned long long;

  // A document begins, read under pLimit; none keeps no accounts.
  void Begin(const CEntityExpansionLimit* pLimit);
  // The bytes from nRead on are another part of the whole, whose expansion before it came to
  // nSpentBefore; strict, what came before is not known, so the part alone must stay within its
  // own bytes' share (whatever came before stayed within the limit, the whole then does too).
  void Resume(Count nRead, Count nSpentBefore, bool bStrict);
  // What the part spent since it resumed.
  Count SpentSinceResume() const { return m_nSpent - m_nSpentAtResume; }
  const CEntityExpansionLimit* Limit() const { return m_pLimit; }
  // Only a document that declares entities can expand to anything.
  bool HasEntities() const { return !m_general.entities.empty() || !m_parameter.entities.empty(); }

  // An entity declared with its replacement text. It must be one that could be referenced now,
  // and so must every entity declared before that refers to it.
  bool Declare(bool bParameter, const XMLCh* pszName, const XMLCh* pszValue, XMLSize_t nLength, Count nRead);
  // Text that markup gave (a declaration, an attribute value) beyond the bytes read since the
  // last call: what a parameter entity or a declared default added.
  bool Produce(Count nChars, Count nRead);
  // A reference to a general entity in content, not inside another: its whole expansion.
  bool Reference(const XMLCh* pszName, Count nRead);
  // How many entities a parser may open before its next call: as many as the cost of the most
  // expensive one leaves room for (at least one), without end while there is none.
  XMLSize_t OpeningsAllowed(Count nRead) const;

  // Why the document is not within the limit.
  std::string Message() const;

 private:
  using Name = std::basic_string<XMLCh>;
  struct Entity {
    Name name, value;
    std::vector<std::pair<Name, Count>> refs;  // the entities its text refers to, each with how often
    Count cost = 0;
    int nHeight = 0;  // how deep the entities in it nest
    bool bKnown = false, bVisiting = false;
  };
  struct Table {
    std::unordered_map<Name, size_t> index;
    std::vector<Entity> entities;
    std::unordered_map<Name, std::vector<size_t>> referrers;  // by a name referred to, declared or not
    const Entity* Find(const Name& name) const;
  };

  Count Cost(Table& table, Entity& entity, int nDepth);
  bool Check(Table& table, Entity& entity, Count nRead);
  bool Spend(Count nCost, Count nRead);
  Count Budget(Count nRead) const;
  bool Refuse(const Name& entity, bool bTooDeep);

  const CEntityExpansionLimit* m_pLimit = nullptr;
  Table m_general, m_parameter;
  Count m_nSpent = 0, m_nLastRead = 0;
  Count m_nSpentAtResume = 0, m_nResumedAt = 0;
  bool m_bStrict = false;
  Count m_nCostliest = 0;  // of a reference to a general entity
  Name m_refused;
  bool m_bTooDeep = false;
};
