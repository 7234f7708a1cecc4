// The module's resources, as the instance handle hands them to the class library.
#pragma once

#include "quillon/afx.h"

extern const AFX_RESOURCE_DIRECTORY g_moduleResources;
