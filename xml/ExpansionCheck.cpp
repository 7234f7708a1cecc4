#include "xml/ExpansionCheck.h"

#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "xml/GuardedReader.h"

using namespace xercesc;

void CheckEntityExpansion(XercesDOMParser& parser, const InputSource& source) {
  if (dynamic_cast<const CEntityExpansionLimit*>(parser.getSecurityManager()) == nullptr) return;
  GuardedReader reader;
  const AbstractDOMParser::ValSchemes validation = parser.getValidationScheme();
  reader.setFeature(XMLUni::fgSAX2CoreValidation, validation != AbstractDOMParser::Val_Never);
  reader.setFeature(XMLUni::fgXercesDynamic, validation == AbstractDOMParser::Val_Auto);
  reader.setFeature(XMLUni::fgSAX2CoreNameSpaces, parser.getDoNamespaces());
  reader.setFeature(XMLUni::fgXercesSchema, parser.getDoSchema());
  reader.setFeature(XMLUni::fgXercesLoadExternalDTD, parser.getLoadExternalDTD());
  reader.setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, parser.getDisableDefaultEntityResolution());
  reader.setExitOnFirstFatalError(parser.getExitOnFirstFatalError());
  if (parser.getXMLEntityResolver())  // setting either resolver takes the other away
    reader.setXMLEntityResolver(parser.getXMLEntityResolver());
  else
    reader.setEntityResolver(parser.getEntityResolver());
  reader.setErrorHandler(parser.getErrorHandler());
  reader.setProperty(XMLUni::fgXercesSecurityManager, parser.getSecurityManager());
  XMLPScanToken token;
  try {
    bool bMore = reader.parseFirst(source, token);
    while (bMore && !(reader.PrologEnded() && !reader.Expands())) bMore = reader.parseNext(token);
    if (bMore) reader.parseReset(token);
  } catch (...) {
    if (reader.ExceededLimit()) throw;
  }
}
