// Documents compressed as the tools of the field write them, made in memory by the libraries the
// reader decompresses with.
#pragma once

#include <stdexcept>
#include <string>

#include <zlib.h>
#ifdef QUILLON_ALL_COMPRESSIONS
#include <bzlib.h>
#include <lzma.h>
#include <zstd.h>
#endif

inline std::string Gzip(const std::string& bytes) {
  z_stream z{};
  deflateInit2(&z, 6, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  std::string out(deflateBound(&z, static_cast<uLong>(bytes.size())), '\0');
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  z.avail_in = static_cast<uInt>(bytes.size());
  z.next_out = reinterpret_cast<Bytef*>(out.data());
  z.avail_out = static_cast<uInt>(out.size());
  if (deflate(&z, Z_FINISH) != Z_STREAM_END) throw std::runtime_error("gzip");
  out.resize(z.total_out);
  deflateEnd(&z);
  return out;
}

#ifdef QUILLON_ALL_COMPRESSIONS
inline std::string Zstd(const std::string& bytes) {
  std::string out(ZSTD_compressBound(bytes.size()), '\0');
  out.resize(ZSTD_compress(out.data(), out.size(), bytes.data(), bytes.size(), 3));
  return out;
}

inline std::string Xz(const std::string& bytes) {
  std::string out(lzma_stream_buffer_bound(bytes.size()), '\0');
  size_t n = 0;
  lzma_easy_buffer_encode(6, LZMA_CHECK_CRC64, nullptr, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(),
                          reinterpret_cast<uint8_t*>(out.data()), &n, out.size());
  out.resize(n);
  return out;
}

inline std::string Bzip2(const std::string& bytes) {
  std::string out(bytes.size() + bytes.size() / 100 + 600, '\0');
  auto n = static_cast<unsigned>(out.size());
  BZ2_bzBuffToBuffCompress(out.data(), &n, const_cast<char*>(bytes.data()), static_cast<unsigned>(bytes.size()), 1, 0, 0);  // blocks of 100 kB: a cut leaves some whole
  out.resize(n);
  return out;
}
#endif
