// The packed image: the document's encoding, then one record per node in document order, each
// its name and value in UTF-16LE with terminators, its index, depth and eight flag bytes. One
// pass, straight into the host's buffer.
#include <bit>
#include <cstring>

#include <xercesc/dom/DOMAttr.hpp>
#include <xercesc/dom/DOMDocumentType.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>

#include "xml/DepthFirstWalk.h"
#include "quillon/GenXMLInterface.h"
#include "quillon/PackedImage.h"
#include "xmlpack/ImageText.h"

using namespace xercesc;
using namespace image_text;
using Flag = quillon::PackedRecord::Flag;

static_assert(std::endian::native == std::endian::little, "the image is little-endian: texts are copied as they are");

namespace {

const XMLCh* OrEmpty(const XMLCh* psz) { return psz ? psz : _T(""); }

// Whitespace-only: no code unit of U+0021 or above (so U+00A0 is content).
bool IsWhitespaceOnly(const XMLCh* psz) {
  for (; *psz; psz++)
    if (*psz > 0x20) return false;
  return true;
}

CString DeclarationText(const DOMDocument* pDocument) {
  CString text(kVersionOpen);
  text += pDocument->getXmlVersion();
  text += kQuote;
  if (const XMLCh* pszEncoding = pDocument->getXmlEncoding(); pszEncoding && *pszEncoding) {
    text += kEncodingOpen;
    text += pszEncoding;
    text += kQuote;
  }
  if (pDocument->getXmlStandalone()) {
    text += kStandaloneOpen;
    text += kStandaloneWritten;
    text += kQuote;
  }
  text += kDeclarationClose;
  return text;
}

CString DocumentTypeText(const DOMDocumentType* pType) {
  CString text(pType->getNodeName());
  text += kSystemIdMark;
  text += pType->getSystemId();
  if (const XMLCh* pszPublic = pType->getPublicId(); pszPublic && *pszPublic) {
    text += kPublicIdMark;
    text += pszPublic;
  }
  text += kSystemIdMark;
  text += pType->getInternalSubset();
  return text;
}

}  // namespace

bool CGenXMLInterface::ParseFileAndPackToMemory(unsigned char* pBuffer) {
  if (m_pParser == nullptr || m_pDocNode == nullptr || pBuffer == nullptr) return false;
  m_pWritePos = pBuffer;
  PackEncodingToMemory(m_pDocNode);
  TraverseTree(m_pDocNode, m_nStartDepth);
  return true;
}

void CGenXMLInterface::Write(const void* pData, size_t nBytes) {
  std::memcpy(m_pWritePos, pData, nBytes);
  m_pWritePos += nBytes;
  m_nBytesWritten += static_cast<UINT>(nBytes);
}

bool CGenXMLInterface::PackEncodingToMemory(DOMNode* pDocument) {
  const XMLCh* pszEncoding = OrEmpty(static_cast<DOMDocument*>(pDocument)->getXmlEncoding());
  Write(pszEncoding, (TextLength(pszEncoding) + 1) * sizeof(XMLCh));
  return true;
}

bool CGenXMLInterface::TraverseTree(DOMNode* pRoot, int nDepth) {
  // The root is the document node, which has no siblings: the walk ends with its subtree.
  WalkDepthFirst(pRoot, nDepth, [this](DOMNode* pNode, int nNodeDepth) {
    switch (pNode->getNodeType()) {
      case DOMNode::DOCUMENT_NODE:
        PackNodeToMemory(pNode, nNodeDepth, false, true, false);
        PackXMLDeclToMemory(static_cast<DOMDocument*>(pNode), nNodeDepth, false, true, false);
        return WalkStep::kDescend;
      case DOMNode::ELEMENT_NODE:
        PackElementToMemory(pNode, nNodeDepth);
        return WalkStep::kDescend;
      case DOMNode::TEXT_NODE:
      case DOMNode::CDATA_SECTION_NODE:
      case DOMNode::ENTITY_REFERENCE_NODE:
      case DOMNode::PROCESSING_INSTRUCTION_NODE:
      case DOMNode::COMMENT_NODE:
      case DOMNode::DOCUMENT_TYPE_NODE:
        PackNodeToMemory(pNode, nNodeDepth, false, true, false);
        return WalkStep::kSkip;
      default:  // attributes, entities, notations and fragments get no record
        return WalkStep::kSkip;
    }
  });
  return true;
}

// The element's record, then its specified attributes' records. An xml:space="preserve"
// (exact case) starts the preserve state before the element's own record is written.
void CGenXMLInterface::PackElementToMemory(DOMNode* pElement, int nDepth) {
  DOMNamedNodeMap* pAttributes = pElement->getAttributes();
  const XMLSize_t nAttributes = pAttributes ? pAttributes->getLength() : 0;
  bool bPreserve = false;
  for (XMLSize_t i = 0; i < nAttributes; i++) {
    const auto* pAttribute = static_cast<const DOMAttr*>(pAttributes->item(i));
    if (pAttribute->getSpecified() && XMLString::equals(pAttribute->getName(), _T("xml:space")) &&
        XMLString::equals(pAttribute->getValue(), _T("preserve"))) {
      bPreserve = true;
      m_bPreserveSpace = true;
    }
  }
  PackNodeToMemory(pElement, nDepth, false, pElement->getFirstChild() != nullptr, bPreserve);
  for (XMLSize_t i = 0; i < nAttributes; i++) {
    DOMNode* pAttribute = pAttributes->item(i);
    if (static_cast<DOMAttr*>(pAttribute)->getSpecified()) PackNodeToMemory(pAttribute, nDepth, true, true, false);
  }
}

bool CGenXMLInterface::PackNodeToMemory(DOMNode* pNode, int nDepth, bool, bool bHasChildren, bool bPreserve) {
  const XMLCh* pszName = OrEmpty(pNode->getNodeName());
  const XMLCh* pszValue = OrEmpty(pNode->getNodeValue());  // a comment's value is its whole text
  CString composedName, composedValue;  // only for the texts that the record makes up itself
  BYTE flags[8] = {};
  switch (pNode->getNodeType()) {
    case DOMNode::DOCUMENT_TYPE_NODE:
      pszName = kDocumentTypeName;
      composedValue = DocumentTypeText(static_cast<DOMDocumentType*>(pNode));
      pszValue = composedValue;
      break;
    case DOMNode::ENTITY_REFERENCE_NODE:
      composedName = CString(kEntityOpen) + pszName + CString(kEntityClose);
      pszName = composedName;
      if (const DOMNode* pFirst = pNode->getFirstChild()) {
        const bool bText = pFirst->getNodeType() == DOMNode::TEXT_NODE;
        pszValue = OrEmpty(bText ? pFirst->getNodeValue() : pFirst->getNodeName());
        flags[bText ? Flag::EntityTextValue : Flag::EntityNodeValue] = 1;
      }
      break;
    case DOMNode::PROCESSING_INSTRUCTION_NODE:
      flags[Flag::IsProcessingInstruction] = 1;
      break;
    case DOMNode::CDATA_SECTION_NODE:
      flags[Flag::IsCDataSection] = 1;
      break;
    case DOMNode::ATTRIBUTE_NODE:
      flags[Flag::IsEntitiesAttribute] = QueryValidator(pNode) == _T("ENTITY(IES)");
      nDepth = -1;
      break;
    default:
      break;
  }
  if (XMLString::equals(pszName, _T("#text"))) {
    if (IsWhitespaceOnly(pszValue)) {
      flags[Flag::IsWhitespaceText] = 1;
    } else if (m_bPreserveSpace) {
      m_bPreserveSpace = false;
      bPreserve = true;
    }
  }
  flags[Flag::PreservedText] = bPreserve && !m_bPreserveSpace;
  flags[Flag::HasChildren] = bHasChildren;
  WriteRecord(pszName, pszValue, nDepth, flags);
  return true;
}

bool CGenXMLInterface::PackXMLDeclToMemory(DOMDocument* pDocument, int nDepth, bool, bool bHasChildren,
                                           bool bPreserve) {
  BYTE flags[8] = {};
  flags[Flag::HasChildren] = bHasChildren;
  flags[Flag::PreservedText] = bPreserve && !m_bPreserveSpace;
  WriteRecord(kDeclarationName, DeclarationText(pDocument), nDepth, flags);
  return true;
}

void CGenXMLInterface::WriteRecord(const XMLCh* pszName, const XMLCh* pszValue, int nDepth, const BYTE (&flags)[8]) {
  Write(pszName, (TextLength(pszName) + 1) * sizeof(XMLCh));
  Write(pszValue, (TextLength(pszValue) + 1) * sizeof(XMLCh));
  Write(&m_nRecordIndex, sizeof m_nRecordIndex);
  Write(&nDepth, sizeof nDepth);
  Write(flags, sizeof flags);
  m_nRecordIndex++;
}
