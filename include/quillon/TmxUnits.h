// The translation units that the TMX builders fill: variants, units, the unit map and an
// owning unit array for the host's own bookkeeping.
#pragma once

#include "quillon/afx.h"

// One variant of a unit: one seg of a tuv element. Made by the builders only.
class CTmxTUV : public CObject {
 public:
  CTmxTUV(LPCWSTR pszLanguage, LPCWSTR pszSegment, LPCWSTR pszNote);
  ~CTmxTUV() override = default;
  void Serialize(CArchive&) override {}
  void AssertValid() const override {}
  // Writes "language:\t'segment'\n".
  void Dump(CDumpContext& dc) const override;

  CString m_strLanguage;
  CString m_strSegment;
  CString m_strNote;
};

typedef CArray<CTmxTUV*, CTmxTUV*> TmxTuvList;

// One unit: one tu element, keyed by its ordinal, owning its variants.
class AFX_EXT_CLASS CTmxElementAddressAndTUV {
 public:
  CTmxElementAddressAndTUV() = default;
  // Copies share the source's list: only one of them may be destroyed with the list in place.
  CTmxElementAddressAndTUV(const CTmxElementAddressAndTUV& src);
  CTmxElementAddressAndTUV& operator=(const CTmxElementAddressAndTUV& src);
  virtual ~CTmxElementAddressAndTUV();
  // Destroys the variants and the list; the unit itself stays usable.
  void Delete();

  int m_nElementAddress = -1;  // -1 until whoever fills the unit sets it
  TmxTuvList* m_pTuvList = nullptr;
};

typedef CMap<int, int, CTmxElementAddressAndTUV*, CTmxElementAddressAndTUV*> TmxUnitMap;

extern template class AFX_EXT_CLASS CArray<CTmxElementAddressAndTUV*, CTmxElementAddressAndTUV*>;

// A unit array that owns its units: its destructor destroys them.
class AFX_EXT_CLASS CTmxElementAddressAndTUVArray
    : public CArray<CTmxElementAddressAndTUV*, CTmxElementAddressAndTUV*> {
 public:
  CTmxElementAddressAndTUVArray() = default;
  ~CTmxElementAddressAndTUVArray() override;
  void AssertValid() const override {}
  void Dump(CDumpContext&) const override {}
  // Index of the first unit with the key, or -1.
  int Lookup(int key);
};
