// gen_tmx UNITS [SEED]: writes a synthetic TMX document to standard output.
#include <cstdlib>
#include <iostream>

#include "bench/TmxGenerator.h"

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: gen_tmx UNITS [SEED]\n";
    return 2;
  }
  std::ios::sync_with_stdio(false);
  WriteSyntheticTmx(std::cout, std::atol(argv[1]), argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1);
  return 0;
}
