// The packer on arbitrary XML: the image written never exceeds the size reported, and reading
// it back gives exactly the counted records.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "quillon/GenXMLInterface.h"
#include "quillon/PackedImage.h"
#include "tests/fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string path = "/tmp/quillon-fuzz-pack-" + std::to_string(getpid()) + ".xml";
  if (FILE* f = std::fopen(path.c_str(), "wb")) {
    std::fwrite(data, 1, size, f);
    std::fclose(f);
  }
  CGenXMLInterface xml(CString(path.c_str()), 0, CString());
  Safety().Apply(xml.GetParser());
  int nSize = 0, nNodes = 0;
  if (!Parses([&] { nNodes = xml.PreParseForSize(nSize); })) return 0;
  // Guard bytes after the reported size show any write past it.
  std::vector<unsigned char> buffer(static_cast<size_t>(nSize) + 64, 0xA5);
  if (!xml.ParseFileAndPackToMemory(buffer.data())) std::abort();
  for (size_t i = static_cast<size_t>(nSize); i < buffer.size(); i++)
    if (buffer[i] != 0xA5) std::abort();
  const auto image = quillon::ReadPackedImage(buffer.data(), static_cast<size_t>(nSize), static_cast<size_t>(nNodes));
  if (image.records.size() != static_cast<size_t>(nNodes)) std::abort();
  return 0;
}
