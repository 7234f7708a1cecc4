// A DOM parser expands every entity into its tree before anyone can look, so under a
// CEntityExpansionLimit (its security manager) the document is first read by the guarded SAX2
// parser with the DOM parser's settings and error handler: to the end of the prolog when that
// declares no entity, else to the end. A document beyond the limit raises the parser's
// exception there, where the guarded reader meets it; anything else that reader meets is left
// for the DOM parse to report as it does.
#pragma once

#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/InputSource.hpp>

void CheckEntityExpansion(xercesc::XercesDOMParser& parser, const xercesc::InputSource& source);
