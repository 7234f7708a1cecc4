// The module's string table elsewhere than on Windows, where quillon.rc makes it.
#include "quillon/afx.h"
#include "resources/resource.h"

namespace {

const AFX_STRING_RESOURCE kStrings[] = {
#define QUILLON_STRING(id, text) {id, _T("") text},
#include "resources/Strings.def"
#undef QUILLON_STRING
};

}  // namespace

const AFX_RESOURCE_DIRECTORY afxModuleResources = {kStrings, sizeof kStrings / sizeof kStrings[0]};
