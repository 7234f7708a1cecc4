// CGenXMLInterface: the size walk, the packed image byte for byte, and the object's life.
#include <gtest/gtest.h>

#include <xercesc/sax/SAXParseException.hpp>

#include "quillon/GenXMLInterface.h"
#include "quillon/PackedImage.h"
#include "tests/Files.h"

namespace {

using quillon::PackedRecord;

std::string WriteFile(const std::string& text) {
  static int nFile = 0;
  return Temp().Write(std::to_string(nFile++) + ".xml", text);
}

struct Packed {
  int nodes = 0;
  int size = 0;
  std::vector<unsigned char> image;  // exactly the bytes written
  quillon::PackedImage read;
};

Packed Pack(CGenXMLInterface& xml) {
  Packed p;
  p.nodes = xml.PreParseForSize(p.size);
  std::vector<unsigned char> buffer(static_cast<size_t>(p.size) + 64, 0xCD);
  EXPECT_TRUE(xml.ParseFileAndPackToMemory(buffer.data()));
  p.read = quillon::ReadPackedImage(buffer.data(), buffer.size(), static_cast<size_t>(p.nodes));
  p.image.assign(buffer.begin(), buffer.begin() + static_cast<long>(p.read.length));
  return p;
}

Packed Pack(const std::string& text) {
  CGenXMLInterface xml(CString(WriteFile(text).c_str()), 0, CString());
  return Pack(xml);
}

std::basic_string<TCHAR> U(const char* s) { return std::basic_string<TCHAR>(CA2W(s).str()); }

const char kWorkedExample[] = R"(<?xml version="1.0" encoding="UTF-8"?><a x="1"><b/></a>)";

TEST(SizeWalkTest, CommentOf256UnitsAndEntityReferenceAndDefaultedAttribute) {
  const Packed base = Pack("<a/>");
  const Packed comment = Pack("<a><!--" + std::string(256, 'c') + "--></a>");
  EXPECT_EQ(comment.size - base.size, 18 + 532);
  EXPECT_EQ(comment.read.records[3].value, std::basic_string<TCHAR>(256, _T('c')));

  const Packed entity = Pack(R"(<!DOCTYPE a [<!ENTITY h "hi">]><a>&h;</a>)");
  const Packed plain = Pack(R"(<!DOCTYPE a [<!ENTITY h "hi">]><a></a>)");
  EXPECT_EQ(entity.size - plain.size, 18 + 14);

  const Packed defaulted = Pack(R"(<!DOCTYPE a [<!ATTLIST a d CDATA "x">]><a p="1" q="2"/>)");
  const Packed bare = Pack(R"(<!DOCTYPE a [<!ATTLIST a d CDATA "x">]><a/>)");
  EXPECT_EQ(defaulted.nodes - bare.nodes, 2);
}

TEST(ImageTest, WorkedExampleIsByteExact) {
  std::vector<unsigned char> expected;
  auto text = [&](const std::basic_string<TCHAR>& s) {
    for (TCHAR c : s) expected.insert(expected.end(), {static_cast<unsigned char>(c), static_cast<unsigned char>(c >> 8)});
    expected.insert(expected.end(), {0, 0});
  };
  auto record = [&](const char* name, const char* value, uint32_t index, int32_t depth, bool hasChildren) {
    text(U(name));
    text(U(value));
    for (uint32_t n : {index, static_cast<uint32_t>(depth)})
      for (int i = 0; i < 4; i++) expected.push_back(static_cast<unsigned char>(n >> (8 * i)));
    expected.insert(expected.end(), {0, static_cast<unsigned char>(hasChildren), 0, 0, 0, 0, 0, 0});
  };
  text(_T("UTF-8"));
  record("#document", "", 0, 0, true);
  record("#xmldecl", R"(<?xml version="1.0" encoding="UTF-8"?>)", 1, 0, true);
  record("a", "", 2, 1, true);
  record("x", "1", 3, -1, true);
  record("b", "", 4, 2, false);
  ASSERT_EQ(expected.size(), 230u);
  EXPECT_EQ(Pack(kWorkedExample).image, expected);
}

TEST(ImageTest, DeclarationRecordIsAlwaysSecondAndReflectsTheDeclaration) {
  const struct { const char* xml; const char* encoding; const char* decl; } cases[] = {
      {"<a/>", "", R"(<?xml version=""?>)"},
      {R"(<?xml version="1.0" standalone="yes"?><a/>)", "", R"(<?xml version="1.0" standalone="true"?>)"},
      {R"(<?xml version="1.0" standalone="no"?><a/>)", "", R"(<?xml version="1.0"?>)"},
      {R"(<?xml version="1.1" encoding="ISO-8859-1"?><a/>)", "ISO-8859-1",
       R"(<?xml version="1.1" encoding="ISO-8859-1"?>)"},
  };
  for (const auto& c : cases) {
    const Packed p = Pack(c.xml);
    EXPECT_EQ(p.read.encoding, U(c.encoding)) << c.xml;
    EXPECT_EQ(p.read.records[1].name, _T("#xmldecl"));
    EXPECT_EQ(p.read.records[1].value, U(c.decl)) << c.xml;
  }
}

TEST(ImageTest, RecordKindsNamesValuesAndFlags) {
  const Packed p = Pack(
      "<!DOCTYPE r PUBLIC \"-//Q//P\" \"r.dtd\" [<!ENTITY t \"hi\"><!ENTITY e \"<i>x</i>\"><!ENTITY z \"\">"
      "<!ATTLIST r d CDATA \"x\">]>"
      "<r a=\"1\"><?pi data?><![CDATA[<c>]]><!--note-->&t;&e;&z;<n/><w>\n</w><s>\u00a0</s></r>");
  std::vector<std::string> got;
  for (const auto& r : p.read.records) {
    std::string flags;
    for (uint8_t f : r.flags) flags += static_cast<char>('0' + f);
    got.push_back(CW2A(r.name.c_str()).str() + "|" + CW2A(r.value.c_str()).str() + "|" + std::to_string(r.depth) + "|" + flags);
  }
  const std::vector<std::string> expected = {
      "#document||0|01000000",
      "#xmldecl|<?xml version=\"\"?>|0|01000000",
      "#XmlDocTypeNode|r\x04r.dtd\x03-//Q//P\x04<!ENTITY t \"hi\"><!ENTITY e \"<i>x</i>\"><!ENTITY z \"\">"
      "<!ATTLIST r d CDATA \"x\">|1|01000000",
      "r||1|01000000",
      "a|1|-1|01000000",
      "pi|data|2|01100000",
      "#cdata-section|<c>|2|01010000",
      "#comment|note|2|01000000",
      "&t;|hi|2|01001000",
      "&e;|i|2|01000100",
      "&z;||2|01000000",
      "n||2|00000000",
      "w||2|01000000",
      "#text|\n|3|11000000",
      "s||2|01000000",
      "#text|\u00a0|3|01000000",
  };
  EXPECT_EQ(got, expected);
  EXPECT_GE(static_cast<size_t>(p.size), p.image.size());
}

// PreservedText of every text record with content, in document order.
std::vector<int> PreservedTexts(const Packed& p) {
  std::vector<int> marks;
  for (const auto& r : p.read.records)
    if (r.name == _T("#text") && !r.flags[PackedRecord::IsWhitespaceText]) marks.push_back(r.flags[PackedRecord::PreservedText]);
  return marks;
}

TEST(PreserveSpaceTest, FirstTextWithContentAfterPreserveIsMarkedWhereverItIs) {
  const struct { const char* xml; std::vector<int> marks; } cases[] = {
      {R"(<r><p xml:space="preserve"> <b/>kept</p>next</r>)", {1, 0}},
      {R"(<r><p xml:space="preserve"> </p><q>sibling</q>after</r>)", {1, 0}},
      {R"(<r><p xml:space="Preserve">x</p><p XML:SPACE="preserve">y</p></r>)", {0, 0}},
  };
  for (const auto& c : cases) EXPECT_EQ(PreservedTexts(Pack(c.xml)), c.marks) << c.xml;
  for (const auto& r : Pack(cases[0].xml).read.records)
    if (r.name != _T("#text")) {
      EXPECT_EQ(r.flags[PackedRecord::PreservedText], 0);
    }
}

TEST(PreserveSpaceTest, StateAndRecordIndexCarryIntoASecondRun) {
  CGenXMLInterface xml(CString(WriteFile(R"(<r>x<p xml:space="preserve"> </p></r>)").c_str()), 0, CString());
  const Packed first = Pack(xml);
  std::vector<unsigned char> buffer(static_cast<size_t>(first.size));
  ASSERT_TRUE(xml.ParseFileAndPackToMemory(buffer.data()));
  const auto second = quillon::ReadPackedImage(buffer.data(), buffer.size(), static_cast<size_t>(first.nodes));
  EXPECT_EQ(second.records[0].index, static_cast<uint32_t>(first.nodes));
  EXPECT_EQ(first.read.records[3].flags[PackedRecord::PreservedText], 0);  // "x", before the state
  EXPECT_EQ(second.records[3].flags[PackedRecord::PreservedText], 1);       // the state survived
}

TEST(ObjectTest, CountsGrowAcrossCallsAndAddOneAddsANode) {
  const std::string path = WriteFile(kWorkedExample);
  CGenXMLInterface xml(CString(path.c_str()), 42, CString(_T("ignored")));
  EXPECT_EQ(xml.GetNodeCount(), 0);
  EXPECT_EQ(xml.QueryValidator(nullptr), _T("NULL"));
  xml.AddOneToNodeCount();
  int nSize = 0;
  EXPECT_EQ(xml.PreParseForSize(nSize), 6);
  EXPECT_EQ(nSize, 258);
  EXPECT_EQ(xml.PreParseForSize(nSize), 11);
  EXPECT_EQ(nSize, 498);
}

TEST(ObjectTest, CopiesShareTheParsedDocumentAndDieInAnyOrder) {
  auto* pSource = new CGenXMLInterface(CString(WriteFile(kWorkedExample).c_str()), 0, CString());
  int nSize = 0;
  pSource->PreParseForSize(nSize);
  CGenXMLInterface copy(*pSource);
  CGenXMLInterface assigned(CString(WriteFile("<other/>").c_str()), 0, CString());
  assigned = copy;
  assigned = assigned;
  delete pSource;
  EXPECT_EQ(copy.GetNodeCount(), 5);
  std::vector<unsigned char> buffer(static_cast<size_t>(nSize));
  EXPECT_TRUE(assigned.ParseFileAndPackToMemory(buffer.data()));
  EXPECT_EQ(quillon::ReadPackedImage(buffer.data(), buffer.size(), 5).records[2].name, _T("a"));
}

TEST(FailureTest, ParseErrorsRaiseAndLeaveSizeAndCountsAlone) {
  for (const std::string& path : {std::string("/no/such/file.xml"), WriteFile("<a><b></a>")}) {
    CGenXMLInterface xml(CString(path.c_str()), 0, CString());
    int nSize = -7;
    EXPECT_THROW(xml.PreParseForSize(nSize), xercesc::SAXParseException) << path;
    EXPECT_EQ(nSize, -7);
    EXPECT_EQ(xml.GetNodeCount(), 0);
    unsigned char buffer[4] = {9, 9, 9, 9};
    EXPECT_FALSE(xml.ParseFileAndPackToMemory(buffer));
    EXPECT_EQ(buffer[0], 9);
  }
}

// A host that keeps its buffer from an earlier, smaller measurement must not have it overrun.
TEST(FailureTest, AfterAFailedMeasurementPackingWritesNothing) {
  const std::string path = WriteFile(kWorkedExample);
  for (bool bOverflow : {false, true}) {
    Temp().Write(std::filesystem::path(path).filename().string(), kWorkedExample);
    CGenXMLInterface xml(CString(path.c_str()), 0, CString());
    int nSize = 0;
    xml.PreParseForSize(nSize);
    std::vector<unsigned char> buffer(static_cast<size_t>(nSize), 0xCD);
    if (bOverflow)  // 18 x the nodes added is just below 2^31: the image would reach 2 GiB
      for (int i = 0; i < 119304647; i++) xml.AddOneToNodeCount();
    else  // the file is no longer well-formed
      Temp().Write(std::filesystem::path(path).filename().string(), "<a><b></a>");
    int nFailed = -1;
    try {
      xml.PreParseForSize(nFailed);
      ADD_FAILURE() << "no exception";
    } catch (CMemoryException* e) {
      EXPECT_TRUE(bOverflow);
      e->Delete();
    } catch (const xercesc::SAXParseException&) {
      EXPECT_FALSE(bOverflow);
    }
    EXPECT_EQ(nFailed, -1);
    EXPECT_FALSE(xml.ParseFileAndPackToMemory(buffer.data()));
    EXPECT_EQ(buffer, std::vector<unsigned char>(static_cast<size_t>(nSize), 0xCD));
  }
}

}  // namespace
