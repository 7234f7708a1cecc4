// The languages of a TMX document: the non-empty lang and xml:lang values (exact attribute
// names) of every element whose tag name is exactly "tuv", anywhere in the document, each once,
// in ordinal order (every upper-case ASCII letter before every lower-case one).
#pragma once

#include <set>
#include <string>

#include <xercesc/util/XMLString.hpp>

#include "quillon/afx.h"
#include "tmx/rules/UnitRules.h"

class LanguageSet {
 public:
  static bool IsVariantTag(LPCTSTR pszTagName) { return xercesc::XMLString::equals(pszTagName, _T("tuv")); }
  static constexpr LPCTSTR kAttributes[] = {_T("lang"), _T("xml:lang")};
  static bool IsLanguageAttribute(LPCTSTR pszName) {
    return xercesc::XMLString::equals(pszName, kAttributes[0]) || xercesc::XMLString::equals(pszName, kAttributes[1]);
  }

  void Add(LPCTSTR pszValue) {
    if (pszValue && *pszValue && m_languages.find(TextView(pszValue)) == m_languages.end())
      m_languages.emplace(pszValue);
  }
  // Appends after what the array holds, without comparing with it.
  void AppendTo(CStringArray& languages) const {
    for (const auto& language : m_languages)
      languages.SetAtGrow(languages.GetSize(), CString(language.data(), static_cast<int>(language.size())));
  }

 private:
  std::set<std::basic_string<TCHAR>, std::less<>> m_languages;
};
