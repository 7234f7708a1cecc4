#include "resources/StringTable.h"

#include "resources/resource.h"

namespace {

const AFX_STRING_RESOURCE kStrings[] = {
#define QUILLON_STRING(id, text) {id, _T("") text},
#include "resources/Strings.def"
#undef QUILLON_STRING
};

}  // namespace

const AFX_RESOURCE_DIRECTORY g_moduleResources = {kStrings, sizeof kStrings / sizeof kStrings[0]};
