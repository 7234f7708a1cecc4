// A document read as the nodes the unit rules look at, one event at a time: what the event
// cursor gives the units of a stream, and they give a seg's segment text below it.
#pragma once

#include <xercesc/sax2/Attributes.hpp>

#include "tmx/rules/TextView.h"

class NodeSink {
 public:
  // A node begins: an element with its attributes; a text or CDATA node, whose character data
  // follows; a comment or PI with its value. pszName is the node's DOM name.
  virtual void Node(int nLevel, short nType, LPCTSTR pszName, TextView value,
                    const xercesc::Attributes* pAttributes) = 0;
  // Character data of the text or CDATA node in progress at nLevel.
  virtual void Text(int nLevel, TextView text) = 0;
  // The element pszName that began at nLevel ends.
  virtual void End(int nLevel, LPCTSTR pszName) = 0;

 protected:
  ~NodeSink() = default;
};
