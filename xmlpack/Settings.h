// The module-wide parser settings of every CGenXMLInterface. Their values never change: every
// parse runs without validation and without namespace processing.
#pragma once

#include <xercesc/parsers/AbstractDOMParser.hpp>

extern xercesc::AbstractDOMParser::ValSchemes g_nValidationScheme;
extern bool g_bDoNamespaces;
