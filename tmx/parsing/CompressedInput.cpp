#include "tmx/parsing/CompressedInput.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>
#include <initializer_list>
#include <string>
#include <utility>

#include <zlib.h>
#ifdef QUILLON_ALL_COMPRESSIONS
#include <bzlib.h>
#include <lzma.h>
#include <zstd.h>
#endif

#include "quillon/Failure.h"
#include "tmx/parsing/Bytes.h"
#include "tmx/parsing/ReadAhead.h"

using namespace xercesc;

CInputError::CInputError(const std::string& message) : std::runtime_error(message) {}
CInputError::~CInputError() = default;

namespace {

constexpr size_t kInBytes = 256 * 1024, kBlockBytes = 256 * 1024;
constexpr size_t kBlocksAhead = 4;
constexpr size_t kMagicBytes = 6;

// The bytes a decoder reads from and writes to, each moved on past what it took or gave.
struct Window {
  const uint8_t* pIn;
  size_t nIn;
  uint8_t* pOut;
  size_t nOut;
};

class Decoder {
 public:
  explicit Decoder(const char* pszName) : m_pszName(pszName) {}
  virtual ~Decoder() = default;
  // Decodes what it can from the window; true once a stream (a gzip member, a zstd frame, …)
  // has ended and all its output is given. bLast: no input follows what the window holds.
  virtual bool Decode(Window& window, bool bLast) = 0;
  // Another stream follows the one that ended.
  virtual void Restart() {}
  [[noreturn]] void Damaged(const std::string& why) const {
    throw CInputError(std::string("the ") + m_pszName + " stream is damaged" + (why.empty() ? "" : " (" + why + ")"));
  }
  [[noreturn]] void CutShort() const { throw CInputError(std::string("the ") + m_pszName + " stream is cut short"); }

 protected:
  // The window moved on to where the library left its input and output.
  static void Advance(Window& w, const uint8_t* pIn, uint8_t* pOut) {
    w.nIn -= static_cast<size_t>(pIn - w.pIn);
    w.pIn = pIn;
    w.nOut -= static_cast<size_t>(pOut - w.pOut);
    w.pOut = pOut;
  }
  // A length as the libraries with 32-bit counts take it: they are called again for the rest.
  static uint32_t Clamped(size_t n) { return static_cast<uint32_t>(std::min<size_t>(n, UINT32_MAX)); }

 private:
  const char* m_pszName;
};

class GzipDecoder : public Decoder {
 public:
  GzipDecoder() : Decoder("gzip") {
    if (inflateInit2(&m_z, 16 + MAX_WBITS) != Z_OK) throw std::bad_alloc();
  }
  ~GzipDecoder() override { inflateEnd(&m_z); }
  bool Decode(Window& w, bool) override {
    m_z.next_in = const_cast<Bytef*>(w.pIn);
    m_z.avail_in = Clamped(w.nIn);
    m_z.next_out = w.pOut;
    m_z.avail_out = Clamped(w.nOut);
    const int nStatus = inflate(&m_z, Z_NO_FLUSH);
    Advance(w, m_z.next_in, m_z.next_out);
    if (nStatus == Z_MEM_ERROR) throw std::bad_alloc();
    if (nStatus == Z_DATA_ERROR || nStatus == Z_NEED_DICT || nStatus == Z_STREAM_ERROR) Damaged(m_z.msg ? m_z.msg : "");
    return nStatus == Z_STREAM_END;
  }
  void Restart() override { inflateReset(&m_z); }

 private:
  z_stream m_z{};
};

#ifdef QUILLON_ALL_COMPRESSIONS
class ZstdDecoder : public Decoder {
 public:
  ZstdDecoder() : Decoder("zstd"), m_pContext(ZSTD_createDCtx()) {
    if (m_pContext == nullptr) throw std::bad_alloc();
  }
  ~ZstdDecoder() override { ZSTD_freeDCtx(m_pContext); }
  bool Decode(Window& w, bool) override {
    ZSTD_inBuffer in{w.pIn, w.nIn, 0};
    ZSTD_outBuffer out{w.pOut, w.nOut, 0};
    const size_t nResult = ZSTD_decompressStream(m_pContext, &out, &in);
    Advance(w, w.pIn + in.pos, w.pOut + out.pos);
    if (ZSTD_isError(nResult)) Damaged(ZSTD_getErrorName(nResult));
    return nResult == 0;  // a frame is complete and flushed; the next begins by itself
  }

 private:
  ZSTD_DCtx* m_pContext;
};

// Concatenated streams and their padding are liblzma's to read: it ends only where the input does.
class XzDecoder : public Decoder {
 public:
  XzDecoder() : Decoder("xz") {
    if (lzma_stream_decoder(&m_s, UINT64_MAX, LZMA_CONCATENATED) != LZMA_OK) throw std::bad_alloc();
  }
  ~XzDecoder() override { lzma_end(&m_s); }
  bool Decode(Window& w, bool bLast) override {
    m_s.next_in = w.pIn;
    m_s.avail_in = w.nIn;
    m_s.next_out = w.pOut;
    m_s.avail_out = w.nOut;
    const lzma_ret nStatus = lzma_code(&m_s, bLast ? LZMA_FINISH : LZMA_RUN);
    Advance(w, m_s.next_in, m_s.next_out);
    switch (nStatus) {
      case LZMA_OK: case LZMA_BUF_ERROR: return false;  // no progress at the end: cut short
      case LZMA_STREAM_END: return true;
      case LZMA_MEM_ERROR: throw std::bad_alloc();
      case LZMA_FORMAT_ERROR: Damaged("not an xz stream");
      case LZMA_OPTIONS_ERROR: Damaged("unsupported options");
      default: Damaged("corrupt data");
    }
  }

 private:
  lzma_stream m_s = LZMA_STREAM_INIT;
};

class Bzip2Decoder : public Decoder {
 public:
  Bzip2Decoder() : Decoder("bzip2") { Start(); }
  ~Bzip2Decoder() override { BZ2_bzDecompressEnd(&m_s); }
  bool Decode(Window& w, bool) override {
    m_s.next_in = const_cast<char*>(reinterpret_cast<const char*>(w.pIn));
    m_s.avail_in = Clamped(w.nIn);
    m_s.next_out = reinterpret_cast<char*>(w.pOut);
    m_s.avail_out = Clamped(w.nOut);
    const int nStatus = BZ2_bzDecompress(&m_s);
    Advance(w, reinterpret_cast<const uint8_t*>(m_s.next_in), reinterpret_cast<uint8_t*>(m_s.next_out));
    if (nStatus == BZ_MEM_ERROR) throw std::bad_alloc();
    if (nStatus != BZ_OK && nStatus != BZ_STREAM_END) Damaged(nStatus == BZ_DATA_ERROR_MAGIC ? "not a bzip2 stream" : "corrupt data");
    return nStatus == BZ_STREAM_END;
  }
  void Restart() override {
    BZ2_bzDecompressEnd(&m_s);
    Start();
  }

 private:
  void Start() {
    m_s = bz_stream{};
    if (BZ2_bzDecompressInit(&m_s, 0, 0) != BZ_OK) throw std::bad_alloc();
  }
  bz_stream m_s{};
};
#endif

// The decoder for the stream the first bytes begin, or none.
std::unique_ptr<Decoder> DecoderFor(const uint8_t* p, size_t n) {
  auto starts = [p, n](std::initializer_list<uint8_t> magic) {
    return n >= magic.size() && std::equal(magic.begin(), magic.end(), p);
  };
  if (starts({0x1F, 0x8B})) return std::make_unique<GzipDecoder>();
  const char* pszFormat = starts({0x28, 0xB5, 0x2F, 0xFD})                   ? "zstd"
                          : starts({0xFD, '7', 'z', 'X', 'Z', 0x00})          ? "xz"
                          : starts({'B', 'Z', 'h'}) && n > 3 && p[3] >= '1' && p[3] <= '9' ? "bzip2"
                                                                               : nullptr;
  if (pszFormat == nullptr) return nullptr;
#ifdef QUILLON_ALL_COMPRESSIONS
  if (*pszFormat == 'z') return std::make_unique<ZstdDecoder>();
  if (*pszFormat == 'x') return std::make_unique<XzDecoder>();
  return std::make_unique<Bzip2Decoder>();
#else
  throw CInputError(std::string("a ") + pszFormat + " stream, which this build reads only once decompressed");
#endif
}

// The source's bytes through a decoder, one block at a time. Streams that follow one another
// are read as one (as gzip -dc reads them); zero bytes after the last are padding.
class BlockDecoder {
 public:
  BlockDecoder(BinInputStream& source, std::unique_ptr<Decoder> pDecoder, Bytes first)
      : m_source(source), m_pDecoder(std::move(pDecoder)), m_in(std::move(first)) {
    m_nEnd = m_in.size();
    m_in.resize(std::max(kInBytes, m_nEnd));
  }

  // The next block; empty once the last stream has ended. Damage leaves once the bytes decoded
  // before it are given.
  Block Next() {
    if (m_damage) std::rethrow_exception(std::exchange(m_damage, nullptr));
    Block block(kBlockBytes);
    size_t nFilled = 0;
    try {
      Fill(block, nFilled);
    } catch (const CInputError&) {
      if (nFilled == 0) throw;
      m_damage = std::current_exception();
    }
    block.Cut(nFilled);
    return block;
  }

 private:
  void Fill(Block& block, size_t& nFilled) {
    while (nFilled < block.size() && !m_bDone) {
      if (m_nPos == m_nEnd && !m_bSourceEnded) Refill();
      if (m_bBetween && !NextStreamBegins()) continue;
      Window w{reinterpret_cast<const uint8_t*>(m_in.data()) + m_nPos, m_nEnd - m_nPos,
               reinterpret_cast<uint8_t*>(block.data()) + nFilled, block.size() - nFilled};
      const size_t nIn = w.nIn, nOut = w.nOut;
      m_bBetween = m_pDecoder->Decode(w, m_bSourceEnded);
      m_nPos += nIn - w.nIn;
      nFilled += nOut - w.nOut;
      if (!m_bBetween && nIn == w.nIn && nOut == w.nOut && m_bSourceEnded) m_pDecoder->CutShort();
    }
  }

  void Refill() {
    m_nPos = 0;
    m_nEnd = m_source.readBytes(reinterpret_cast<XMLByte*>(m_in.data()), m_in.size());
    m_bSourceEnded = m_nEnd == 0;
  }

  // After a stream: true where another begins; skips padding, ends the read at the end.
  bool NextStreamBegins() {
    while (m_nPos < m_nEnd && m_in[m_nPos] == 0) m_nPos++;
    if (m_nPos < m_nEnd) {
      m_bBetween = false;
      m_pDecoder->Restart();
      return true;
    }
    m_bDone = m_bSourceEnded;
    return false;
  }

  BinInputStream& m_source;
  std::unique_ptr<Decoder> m_pDecoder;
  Bytes m_in;
  size_t m_nPos = 0, m_nEnd = 0;
  bool m_bSourceEnded = false, m_bBetween = false, m_bDone = false;
  std::exception_ptr m_damage;
};

// Looks at the first bytes on the first read, then gives them and the rest as they are, or
// decoded.
class SniffingStream : public BinInputStream {
 public:
  explicit SniffingStream(std::unique_ptr<BinInputStream> pSource) : m_pSource(std::move(pSource)) {}
  XMLFilePos curPos() const override { return m_nPos; }
  const XMLCh* getContentType() const override { return m_pDecoding ? nullptr : m_pSource->getContentType(); }
  XMLSize_t readBytes(XMLByte* const pToFill, const XMLSize_t nMaxToRead) override {
    if (!m_bSniffed) Sniff();
    const size_t n = m_nHeld < m_held.size() ? Held(pToFill, nMaxToRead)
                     : m_pDecoding          ? Decoded(pToFill, nMaxToRead)
                                            : m_pSource->readBytes(pToFill, nMaxToRead);
    m_nPos += n;
    return n;
  }

 private:
  void Sniff() {
    m_bSniffed = true;
    m_held = Block(kMagicBytes);
    auto* pFirst = reinterpret_cast<uint8_t*>(m_held.data());
    size_t n = 0;
    for (size_t nRead = 1; n < kMagicBytes && nRead != 0; n += nRead) nRead = m_pSource->readBytes(pFirst + n, kMagicBytes - n);
    m_held.Cut(n);
    std::unique_ptr<Decoder> pDecoder = DecoderFor(pFirst, n);
    if (pDecoder == nullptr) return;
    auto pBlocks = std::make_shared<BlockDecoder>(*m_pSource, std::move(pDecoder), Bytes(m_held.data(), m_held.data() + n));
    m_held = Block();
    m_pDecoding = std::make_unique<ReadAhead<Block>>([pBlocks] { return pBlocks->Next(); }, kBlocksAhead);
  }

  size_t Held(XMLByte* p, size_t nMax) {
    const size_t n = std::min(nMax, m_held.size() - m_nHeld);
    if (n != 0) std::memcpy(p, m_held.data() + m_nHeld, n);
    m_nHeld += n;
    return n;
  }

  size_t Decoded(XMLByte* p, size_t nMax) {
    m_held = m_pDecoding->Take();
    m_nHeld = 0;
    return Held(p, nMax);
  }

  std::unique_ptr<BinInputStream> m_pSource;
  std::unique_ptr<ReadAhead<Block>> m_pDecoding;  // after the source, which it reads
  bool m_bSniffed = false;
  Block m_held;  // the first bytes, or a decoded block, given from m_nHeld on
  size_t m_nHeld = 0;
  XMLFilePos m_nPos = 0;
};

}  // namespace

std::unique_ptr<BinInputStream> Decompressed(std::unique_ptr<BinInputStream> pSource) {
  return std::make_unique<SniffingStream>(std::move(pSource));
}
