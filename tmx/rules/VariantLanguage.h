// The language of a variant from its attributes. Attribute maps come sorted by name, so of the
// attributes named lang or xml:lang in any case the one with the greatest name counts; a stream
// sees the same attributes in document order.
#pragma once

#include "tmx/rules/Names.h"
#include "tmx/rules/TextView.h"

class VariantLanguage {
 public:
  void Consider(LPCTSTR pszName, LPCTSTR pszValue) {
    if ((NameIs(pszName, _T("lang")) || NameIs(pszName, _T("xml:lang"))) &&
        (m_pszName == nullptr || TextView(pszName) > TextView(m_pszName))) {
      m_pszName = pszName;
      m_pszValue = pszValue;
    }
  }
  LPCTSTR Value() const { return m_pszValue; }  // null when there is none

 private:
  LPCTSTR m_pszName = nullptr;
  LPCTSTR m_pszValue = nullptr;
};
