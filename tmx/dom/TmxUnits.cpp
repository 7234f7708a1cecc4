#include "quillon/TmxUnits.h"

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
  try {
    pMap = new TmxUnitMap(10);
  } catch (CMemoryException* e) {
    e->Delete();
    pMap = nullptr;
    return;
  }
  pMap->InitHashTable(17, FALSE);
}

// In the map's own order, each value set to null once its unit is gone, so that a unit's
// destructor never sees a dangling unit in the map. Nothing is allocated: releasing memory must
// work when none is left.
void CTmxParseEngine::DeleteMapObject(TmxUnitMap*& pMap) {
  if (pMap == nullptr) return;
  for (POSITION pos = pMap->GetStartPosition(); pos;) {
    int key;
    CTmxElementAddressAndTUV* pUnit;
    pMap->GetNextAssoc(pos, key, pUnit);  // the position of the next entry first
    if (pUnit == nullptr) continue;
    pUnit->Delete();
    delete pUnit;
    pMap->SetAt(key, nullptr);
  }
  pMap->RemoveAll();
}
