// A place in a document as its parser counts it: lines from 1, columns from 1.
#pragma once

#include <xercesc/util/XercesDefs.hpp>

struct TextPosition {
  XMLFileLoc nLine = 1, nColumn = 1;
};
