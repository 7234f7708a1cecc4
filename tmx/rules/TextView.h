// Text as the parser and the rules see it: a view of UTF-16 code units, never a copy.
#pragma once

#include <string_view>

#include "quillon/afx.h"

typedef std::basic_string_view<TCHAR> TextView;
