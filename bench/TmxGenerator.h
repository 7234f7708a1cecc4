// Deterministic synthetic translation memories for the benchmarks.
#pragma once

#include <cstdint>
#include <ostream>

// Writes a TMX 1.4 document of nUnits units in several languages, with unit and variant notes,
// inline codes (escaped markup in a unit in four), comments and whitespace between units. The
// same seed gives the same bytes.
void WriteSyntheticTmx(std::ostream& out, long nUnits, uint64_t seed);
