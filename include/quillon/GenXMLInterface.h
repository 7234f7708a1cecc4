// CGenXMLInterface: parses one XML file, measures the packed image of the whole document and
// writes that image into a buffer the host allocates.
#pragma once

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>

#include "quillon/afx.h"

class AFX_EXT_CLASS CGenXMLInterface {
 public:
  // The integer and the second string have no effect. The parser platform must be running.
  CGenXMLInterface(CString strXmlFile, int nUnused, CString strUnused);
  // Copies share the parser and its document; the last one gone deletes the parser.
  CGenXMLInterface(const CGenXMLInterface& src);
  CGenXMLInterface& operator=(const CGenXMLInterface& src);
  ~CGenXMLInterface();

  // Parses the file and adds its nodes to the counts; stores 18 x nodes + text bytes in nSize
  // and returns the node count. Parse errors leave as the parser's SAXParseException, an image
  // that would reach 2 GiB as the memory exception; nSize is then untouched.
  int PreParseForSize(int& nSize);
  // Writes the image of the document that the last PreParseForSize measured; false, writing
  // nothing, before any measurement and after a failed one.
  bool ParseFileAndPackToMemory(unsigned char* pBuffer);
  int GetNodeCount();
  void AddOneToNodeCount();
  CString QueryValidator(xercesc::DOMNode* pNode);
  // The size walk over one node and its subtree.
  void EvaluateTree(int nNodeCount, xercesc::DOMNode* pNode);

  // The parser, for a host that wants settings of its own (a security manager, no external
  // entities); nothing in this class changes them after construction. Null after a failed
  // construction.
  xercesc::XercesDOMParser* GetParser() { return m_pParser; }

 private:
  xercesc::DOMNode* Xml_Decl_Node(xercesc::DOMNode* pDocument);
  xercesc::DOMNode* Document_Type_Node(xercesc::DOMNode* pNode);
  xercesc::DOMNode* Entity_Reference_Node(xercesc::DOMNode* pNode);
  xercesc::DOMNode* Other_Node(xercesc::DOMNode* pNode);
  void CountSpecifiedAttributes(xercesc::DOMNode* pNode);
  void CountNode(long long nTextBytes);

  bool PackEncodingToMemory(xercesc::DOMNode* pDocument);
  bool TraverseTree(xercesc::DOMNode* pNode, int nDepth);
  bool PackNodeToMemory(xercesc::DOMNode* pNode, int nDepth, bool bIsAttribute, bool bHasChildren, bool bPreserve);
  bool PackXMLDeclToMemory(xercesc::DOMDocument* pDocument, int nDepth, bool bIsAttribute, bool bHasChildren,
                           bool bPreserve);
  void PackElementToMemory(xercesc::DOMNode* pElement, int nDepth);
  void WriteRecord(const XMLCh* pszName, const XMLCh* pszValue, int nDepth, const BYTE (&flags)[8]);
  void Write(const void* pData, size_t nBytes);

  CString m_strXmlFile;
  UINT m_nBytesWritten;
  int m_nNodeCount;
  int m_nTextBytes;
  UINT m_nRecordIndex;
  bool m_bPreserveSpace;
  unsigned char* m_pWritePos;
  xercesc::XercesDOMParser* m_pParser;
  xercesc::DOMNode* m_pDocNode;
  int m_nStartDepth;
};
