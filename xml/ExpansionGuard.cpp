#include "xml/ExpansionGuard.h"

#include <algorithm>
#include <cstring>
#include <limits>

using Count = ExpansionGuard::Count;

namespace {

constexpr Count kEndless = std::numeric_limits<Count>::max();

// Sums and products that stop at kEndless rather than wrap.
Count Add(Count a, Count b) { return a > kEndless - b ? kEndless : a + b; }
Count Times(Count a, Count n) { return n != 0 && a > kEndless / n ? kEndless : a * n; }

bool Predefined(const std::basic_string<XMLCh>& name) {
  static const char* const kNames[] = {"lt", "gt", "amp", "quot", "apos"};
  return std::any_of(std::begin(kNames), std::end(kNames),
                     [&name](const char* psz) { return std::equal(name.begin(), name.end(), psz, psz + strlen(psz)); });
}

bool EndsName(XMLCh c) { return c <= ' ' || (c < 0x80 && std::strchr("&%<>\"';", static_cast<int>(c)) != nullptr); }

// The references in an entity's replacement text, as the parser reads them when it expands it:
// &name; in a general entity, %name; in a parameter entity. Character references are text.
std::vector<std::pair<std::basic_string<XMLCh>, Count>> References(const XMLCh* pszValue, XMLSize_t nLength,
                                                                   XMLCh cOpen) {
  std::vector<std::pair<std::basic_string<XMLCh>, Count>> refs;
  for (XMLSize_t i = 0; i < nLength; i++) {
    if (pszValue[i] != cOpen || i + 1 == nLength || pszValue[i + 1] == '#') continue;
    XMLSize_t nEnd = i + 1;
    while (nEnd < nLength && !EndsName(pszValue[nEnd])) nEnd++;
    if (nEnd == nLength || pszValue[nEnd] != ';' || nEnd == i + 1) continue;
    std::basic_string<XMLCh> name(pszValue + i + 1, nEnd - i - 1);
    if (cOpen == '&' && Predefined(name)) continue;
    auto it = std::find_if(refs.begin(), refs.end(), [&name](const auto& ref) { return ref.first == name; });
    if (it == refs.end())
      refs.emplace_back(std::move(name), 1);
    else
      it->second++;
    i = nEnd;
  }
  return refs;
}

}  // namespace

void ExpansionGuard::Begin(const CEntityExpansionLimit* pLimit) {
  *this = ExpansionGuard();
  m_pLimit = pLimit;
}

const ExpansionGuard::Entity* ExpansionGuard::Table::Find(const Name& name) const {
  const auto it = index.find(name);
  return it == index.end() ? nullptr : &entities[it->second];
}

// Entities declared before the new one that refer to it, directly or not, counted its name as
// nothing: their costs are reckoned again.
bool ExpansionGuard::Declare(bool bParameter, const XMLCh* pszName, const XMLCh* pszValue, XMLSize_t nLength,
                             Count nRead) {
  Table& table = bParameter ? m_parameter : m_general;
  Entity entity{pszName, Name(pszValue, nLength), References(pszValue, nLength, bParameter ? '%' : '&')};
  const size_t nIndex = table.entities.size();
  table.index.emplace(entity.name, nIndex);
  for (const auto& ref : entity.refs) table.referrers[ref.first].push_back(nIndex);
  table.entities.push_back(std::move(entity));

  std::vector<size_t> affected{nIndex};
  std::vector<bool> seen(table.entities.size());
  seen[nIndex] = true;
  for (size_t i = 0; i < affected.size(); i++) {
    Entity& changed = table.entities[affected[i]];
    changed.bKnown = false;
    const auto it = table.referrers.find(changed.name);
    if (it == table.referrers.end()) continue;
    for (size_t nReferrer : it->second)
      if (!seen[nReferrer]) seen[nReferrer] = true, affected.push_back(nReferrer);
  }
  for (size_t nAffected : affected)
    if (!Check(table, table.entities[nAffected], nRead)) return false;
  return Produce(Add(nLength, CEntityExpansionLimit::kReferenceCost), nRead);
}

// A reference to the entity must fit what is left; the costliest general entity sets how many a
// parser may open unseen.
bool ExpansionGuard::Check(Table& table, Entity& entity, Count nRead) {
  const Count nCost = Add(CEntityExpansionLimit::kReferenceCost, Cost(table, entity, 0));
  if (m_bTooDeep) return Refuse(entity.name, true);
  if (&table == &m_general) m_nCostliest = std::max(m_nCostliest, nCost);
  return nCost <= Budget(nRead) - std::min(m_nSpent, Budget(nRead)) || Refuse(entity.name, false);
}

// The text of the entity and, for each reference in it, what that costs; an entity not declared
// counts as nothing (the parser refuses a reference to it, unless it is external). How deep
// entities nest is kept with the cost, and bounds the recursion; a cycle nests without end.
Count ExpansionGuard::Cost(Table& table, Entity& entity, int nDepth) {
  if (entity.bKnown) return entity.cost;
  if (nDepth > CEntityExpansionLimit::kMaxDepth || entity.bVisiting) {
    m_bTooDeep = true;
    return kEndless;
  }
  entity.bVisiting = true;
  Count nCost = entity.value.size();
  int nHeight = 0;
  for (const auto& [name, nTimes] : entity.refs) {
    const auto it = table.index.find(name);
    if (it == table.index.end()) continue;
    Entity& nested = table.entities[it->second];
    nCost = Add(nCost, Times(Add(CEntityExpansionLimit::kReferenceCost, Cost(table, nested, nDepth + 1)), nTimes));
    nHeight = std::max(nHeight, nested.nHeight + 1);
  }
  entity.bVisiting = false;
  entity.cost = nCost;
  entity.nHeight = nHeight;
  if (nHeight > CEntityExpansionLimit::kMaxDepth) m_bTooDeep = true;
  entity.bKnown = !m_bTooDeep;
  return nCost;
}

bool ExpansionGuard::Produce(Count nChars, Count nRead) {
  const Count nBytes = nRead > m_nLastRead ? nRead - m_nLastRead : 0;
  m_nLastRead = std::max(m_nLastRead, nRead);
  return nChars <= nBytes || Spend(nChars - nBytes, nRead) || Refuse(Name(), false);
}

bool ExpansionGuard::Reference(const XMLCh* pszName, Count nRead) {
  const Name name(pszName);
  const auto it = m_general.index.find(name);
  const Count nCost = it == m_general.index.end() ? 0 : Cost(m_general, m_general.entities[it->second], 0);
  return Spend(Add(CEntityExpansionLimit::kReferenceCost, nCost), nRead) || Refuse(name, false);
}

bool ExpansionGuard::Spend(Count nCost, Count nRead) {
  m_nSpent = Add(m_nSpent, nCost);
  return m_nSpent <= Budget(nRead);
}

void ExpansionGuard::Resume(Count nRead, Count nSpentBefore, bool bStrict) {
  m_nSpent = Add(m_nSpent, nSpentBefore);
  m_nSpentAtResume = m_nSpent;
  m_nResumedAt = m_nLastRead = nRead;
  m_bStrict = bStrict;
}

Count ExpansionGuard::Budget(Count nRead) const {
  if (m_bStrict) return Add(m_nSpentAtResume, Times(nRead - std::min(nRead, m_nResumedAt), CEntityExpansionLimit::kRatio));
  return Add(CEntityExpansionLimit::kAllowance, Times(nRead, CEntityExpansionLimit::kRatio));
}

XMLSize_t ExpansionGuard::OpeningsAllowed(Count nRead) const {
  if (m_nCostliest == 0) return std::numeric_limits<XMLSize_t>::max();
  const Count nLeft = Budget(nRead) - std::min(m_nSpent, Budget(nRead));
  return static_cast<XMLSize_t>(std::max<Count>(1, std::min<Count>(nLeft / m_nCostliest, kEndless >> 1)));
}

bool ExpansionGuard::Refuse(const Name& entity, bool bTooDeep) {
  m_refused = entity;
  m_bTooDeep = bTooDeep;
  return false;
}

std::string ExpansionGuard::Message() const {
  const std::string name = m_refused.empty() ? std::string() : "'" + CW2A(m_refused.c_str()).str() + "' ";
  if (m_bTooDeep)
    return "entity " + name + "nests more than " + std::to_string(CEntityExpansionLimit::kMaxDepth) +
           " entities deep, beyond the safe limit";
  return (name.empty() ? std::string("entities expand") : "entity " + name + "expands") +
         " beyond the safe limit of " + std::to_string(CEntityExpansionLimit::kAllowance) + " characters and " +
         std::to_string(CEntityExpansionLimit::kRatio) + " for each byte of the document read";
}

CEntityExpansionLimit::CEntityExpansionLimit() = default;
CEntityExpansionLimit::~CEntityExpansionLimit() = default;

// The library's parsers measure what expansion produces instead: the scanner's count never ends.
XMLSize_t CEntityExpansionLimit::getEntityExpansionLimit() const { return std::numeric_limits<XMLSize_t>::max(); }
