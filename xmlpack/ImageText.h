// The texts that the image writer makes up itself, and how the size walk measures them: both
// take their lengths from these literals, so that the size cannot fall short of the image.
#pragma once

#include <string>

#include "quillon/afx.h"

namespace image_text {

template <size_t N>
constexpr long long Length(const XMLCh (&)[N]) { return static_cast<long long>(N - 1); }

// The declaration record's value: <?xml version="V" encoding="E" standalone="true"?>. The walk
// measures "false" where the writer stores "true", and the encoding twice: its second copy pays
// for the encoding at the image's head.
constexpr XMLCh kDeclarationName[] = _T("#xmldecl");
constexpr XMLCh kVersionOpen[] = _T("<?xml version=\"");
constexpr XMLCh kEncodingOpen[] = _T(" encoding=\"");
constexpr XMLCh kStandaloneOpen[] = _T(" standalone=\"");
constexpr XMLCh kStandaloneWritten[] = _T("true");
constexpr XMLCh kStandaloneMeasured[] = _T("false");
constexpr XMLCh kQuote[] = _T("\"");
constexpr XMLCh kDeclarationClose[] = _T("?>");

// A document type's record: the name #XmlDocTypeNode, and the value NAME 4 SYSTEM [3 PUBLIC] 4 SUBSET.
constexpr XMLCh kDocumentTypeName[] = _T("#XmlDocTypeNode");
constexpr XMLCh kSystemIdMark[] = _T("\x0004");
constexpr XMLCh kPublicIdMark[] = _T("\x0003");

// An entity reference's record is named &NAME;.
constexpr XMLCh kEntityOpen[] = _T("&");
constexpr XMLCh kEntityClose[] = _T(";");

// The document node's name, which the walk counts once more to pay for kDeclarationName.
constexpr XMLCh kDocumentName[] = _T("#document");
static_assert(Length(kDocumentName) >= Length(kDeclarationName), "the document's second name pays for the declaration's");

}  // namespace image_text

// Code units of a parser string; null is the empty string.
inline long long TextLength(const XMLCh* psz) { return psz ? static_cast<long long>(std::char_traits<XMLCh>::length(psz)) : 0; }
