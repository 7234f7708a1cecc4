// A parser input source over a CFile, read from its start in pieces through the file's own
// Read: a memory file goes to the parser without a copy.
#pragma once

#include <xercesc/sax/InputSource.hpp>

#include "quillon/afx.h"

class CFileInputSource : public xercesc::InputSource {
 public:
  explicit CFileInputSource(CFile& file);
  xercesc::BinInputStream* makeStream() const override;

 private:
  CFile& m_file;
};
