#include "tmx/parsing/DOMTreeErrorReporter.h"

void DOMTreeErrorReporter::error(const xercesc::SAXParseException& e) { throw e; }

void DOMTreeErrorReporter::fatalError(const xercesc::SAXParseException& e) { throw e; }
