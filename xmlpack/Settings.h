// The module-wide parser settings of every CGenXMLInterface. Their values never change: every
// parse runs without validation and without namespace processing. Every constructor writes the
// validation scheme again while parses on other threads may read it, so it is atomic.
#pragma once

#include <atomic>

#include <xercesc/parsers/AbstractDOMParser.hpp>

extern std::atomic<xercesc::AbstractDOMParser::ValSchemes> g_nValidationScheme;
extern const bool g_bDoNamespaces;
