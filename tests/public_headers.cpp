// Every public header in one translation unit, as a host compiles it: built as C++17 and as
// C++20, every warning an error. The class templates are instantiated whole, so that their
// member functions are compiled too.
#include "quillon/Failure.h"
#include "quillon/GenXMLInterface.h"
#include "quillon/PackedImage.h"
#include "quillon/SafeParsing.h"
#include "quillon/TmxParseEngine.h"
#include "quillon/TmxUnitReader.h"
#include "quillon/TmxUnits.h"
#include "quillon/Utf8.h"
#include "quillon/Version.h"
#include "quillon/afx.h"

template class CArray<int, int>;
template class CArray<CString, LPCTSTR>;
template class CList<int, int>;
template class CMap<int, int, void*, void*>;
template class CMap<int, int, CString, LPCTSTR>;
