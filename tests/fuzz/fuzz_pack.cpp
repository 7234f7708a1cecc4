// The packer on arbitrary XML: the image written never exceeds the size reported, falls short of
// it by exactly the spare bytes the measurement keeps, and reads back as the counted records.
#include <cstdlib>
#include <string>
#include <vector>

#include "quillon/GenXMLInterface.h"
#include "quillon/PackedImage.h"
#include "tests/Files.h"
#include "tests/fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = Temp().Write("input.xml", std::string(reinterpret_cast<const char*>(data), size));
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
  // The measurement's margin over the image: four bytes, two per record after the first two,
  // and two for a standalone declaration.
  const bool bStandalone = image.records[1].value.find(_T("standalone")) != std::basic_string<TCHAR>::npos;
  if (static_cast<size_t>(nSize) - image.length != 4 + 2 * (static_cast<size_t>(nNodes) - 2) + (bStandalone ? 2 : 0))
    std::abort();
  return 0;
}
