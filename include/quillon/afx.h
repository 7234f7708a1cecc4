// The class library, reached through this one header: the stand-in for MFC's own headers, so
// that the library's sources build against either.
#pragma once

#include "afx/afxdef.h"
#include "afx/Object.h"
#include "afx/Exceptions.h"
#include "afx/String.h"
#include "afx/Plex.h"
#include "afx/File.h"
#include "afx/Archive.h"
#include "afx/DumpContext.h"
#include "afx/Array.h"
#include "afx/List.h"
#include "afx/Map.h"
#include "afx/ExtensionModule.h"
#include "afx/Convert.h"
