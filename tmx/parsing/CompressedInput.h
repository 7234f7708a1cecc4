// A source's bytes as the document: as they are, or decompressed when they begin as a gzip, zstd,
// xz or bzip2 stream does (by those first bytes, whatever the file is called). Decompression
// runs on a thread of its own, a few blocks ahead of the parser; a stream that is damaged or cut
// short leaves as CInputError after the bytes before the damage.
#pragma once

#include <memory>

#include <xercesc/util/BinInputStream.hpp>

std::unique_ptr<xercesc::BinInputStream> Decompressed(std::unique_ptr<xercesc::BinInputStream> pSource);
