// The image reader on arbitrary bytes: a record list or PackedImageError, nothing else.
#include "quillon/PackedImage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    quillon::ReadPackedImage(data, size);
  } catch (const quillon::PackedImageError&) {
  }
  return 0;
}
