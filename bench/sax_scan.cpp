// sax_scan FILE: the floor of every streaming read, a SAX2 scan of the file that does nothing
// per event, with the streaming reader's parser settings.
#include <cstdio>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "quillon/afx.h"

using namespace xercesc;

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: sax_scan FILE\n");
    return 2;
  }
  XMLPlatformUtils::Initialize();
  {
    SAX2XMLReader* pParser = XMLReaderFactory::createXMLReader();
    pParser->setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
    pParser->setFeature(XMLUni::fgSAX2CoreValidation, false);
    pParser->setFeature(XMLUni::fgXercesSchema, false);
    DefaultHandler handler;
    pParser->setContentHandler(&handler);
    pParser->setLexicalHandler(&handler);
    pParser->setErrorHandler(&handler);
    pParser->parse(LocalFileInputSource(CString(argv[1]).GetString()));
    delete pParser;
  }
  XMLPlatformUtils::Terminate();
  return 0;
}
