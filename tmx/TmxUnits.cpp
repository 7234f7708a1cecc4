#include "quillon/TmxUnits.h"

#include <algorithm>
#include <vector>

#include "quillon/TmxParseEngine.h"

template class CArray<CTmxElementAddressAndTUV*, CTmxElementAddressAndTUV*>;

CTmxTUV::CTmxTUV(LPCWSTR pszLanguage, LPCWSTR pszSegment, LPCWSTR pszNote)
    : m_strLanguage(pszLanguage), m_strSegment(pszSegment), m_strNote(pszNote) {}

void CTmxTUV::Dump(CDumpContext& dc) const {
  dc << m_strLanguage.GetString();
  dc << ":\t'";
  dc << m_strSegment.GetString();
  dc << "'\n";
}

CTmxElementAddressAndTUV::CTmxElementAddressAndTUV(const CTmxElementAddressAndTUV& src)
    : m_nElementAddress(src.m_nElementAddress), m_pTuvList(src.m_pTuvList) {}

CTmxElementAddressAndTUV& CTmxElementAddressAndTUV::operator=(const CTmxElementAddressAndTUV& src) {
  m_nElementAddress = src.m_nElementAddress;
  m_pTuvList = src.m_pTuvList;
  return *this;
}

CTmxElementAddressAndTUV::~CTmxElementAddressAndTUV() { Delete(); }

void CTmxElementAddressAndTUV::Delete() {
  if (m_pTuvList == nullptr) return;
  for (INT_PTR i = 0; i < m_pTuvList->GetSize(); i++) {
    delete (*m_pTuvList)[i];
    (*m_pTuvList)[i] = nullptr;
  }
  m_pTuvList->RemoveAll();
  delete m_pTuvList;
  m_pTuvList = nullptr;
}

CTmxElementAddressAndTUVArray::~CTmxElementAddressAndTUVArray() {
  for (INT_PTR i = 0; i < GetSize(); i++) delete GetAt(i);
  RemoveAll();
}

int CTmxElementAddressAndTUVArray::Lookup(int key) {
  const int nSize = static_cast<int>(GetSize());
  for (int i = 0; i < nSize; i++) {
    const CTmxElementAddressAndTUV* pUnit = GetAt(i);
    if (pUnit && pUnit->m_nElementAddress == key) return i;
  }
  return -1;
}

void CTmxParseEngine::CreateMapObject(TmxUnitMap*& pMap) {
  pMap = new (std::nothrow) TmxUnitMap(10);
  if (pMap) pMap->InitHashTable(17, FALSE);
}

// Units are destroyed in key order, which is the order the builders made them in: freeing
// memory front to back is much cheaper than in the map's scattered hash order, and nothing can
// tell the two apart. The map is emptied afterwards, so no value needs setting to null first.
void CTmxParseEngine::DeleteMapObject(TmxUnitMap*& pMap) {
  if (pMap == nullptr) return;
  std::vector<std::pair<int, CTmxElementAddressAndTUV*>> units;
  units.reserve(pMap->GetCount());
  for (POSITION pos = pMap->GetStartPosition(); pos;) {
    int key;
    CTmxElementAddressAndTUV* pUnit;
    pMap->GetNextAssoc(pos, key, pUnit);
    units.push_back({key, pUnit});
  }
  std::sort(units.begin(), units.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  for (auto& [key, pUnit] : units) {
    if (pUnit == nullptr) continue;
    pUnit->Delete();
    delete pUnit;
  }
  pMap->RemoveAll();
}
