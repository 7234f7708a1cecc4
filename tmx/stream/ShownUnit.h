// A unit of a store, shown as a reader shows it: its variants copied into CTmxTUVs that later
// units reuse. The caller's thread shows each unit so; each worker of a read in pieces shows the
// units it formats so.
#pragma once

#include <memory>
#include <vector>

#include "quillon/TmxUnitReader.h"
#include "tmx/stream/UnitStore.h"

class ShownUnit final : public CTmxUnitView {
 public:
  // The unit, its key counted after nKeysBefore units.
  void Show(const UnitStore& store, const UnitStore::Unit& unit, int nKeysBefore);
  // No unit: no variants.
  void Hide() { m_bShown = false; }
  bool IsShown() const { return m_bShown; }

  int GetKey() const override { return m_nKey; }
  INT_PTR GetVariantCount() const override { return m_bShown ? static_cast<INT_PTR>(m_nVariants) : 0; }
  const CTmxTUV& GetVariant(INT_PTR nIndex) const override;
  LPCTSTR GetUnitId() const override { return m_bShown ? m_pszUnitId : nullptr; }

 private:
  bool m_bShown = false;
  std::vector<std::unique_ptr<CTmxTUV>> m_variants;
  size_t m_nVariants = 0;
  LPCTSTR m_pszUnitId = nullptr;  // in the store
  int m_nKey = -1;
};
