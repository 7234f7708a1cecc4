#include "tmx/parsing/DocumentInput.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/BinInputStream.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "quillon/afx.h"
#include "tmx/parsing/Bytes.h"
#include "tmx/parsing/CompressedInput.h"
#include "tmx/parsing/DocumentEncoding.h"
#include "tmx/parsing/ReadAhead.h"
#include "tmx/parsing/TextCheck.h"

using namespace xercesc;

namespace {

constexpr size_t kReadBytes = 64 * 1024;
// The encoding is sensed from as many bytes as the parser's own first look takes, or all of a
// shorter document.
constexpr size_t kSenseBytes = 16 * 1024;

}  // namespace

struct CDocumentInputSource::State {
  bool bReplace = false, bForcedEncoding = false, bMade = false, bEnded = false;
  DocumentEncoding encoding;
  InputFailure failure;
  bool bFailed = false, bRaised = false;
  std::atomic<unsigned long long> nReplaced{0};  // read while a read in pieces goes on
};

namespace {

using State = CDocumentInputSource::State;

// Bytes go to the parser where it wants them, checked there; only the bytes read to sense the
// encoding, and those that replacing makes, pass through a buffer of the stream's own.
class DocumentStream : public BinInputStream {
 public:
  DocumentStream(std::unique_ptr<BinInputStream> pSource, std::shared_ptr<State> pState)
      : m_pSource(std::move(pSource)), m_pState(std::move(pState)) {}
  XMLFilePos curPos() const override { return m_nPos; }
  XMLSize_t readBytes(XMLByte* const pToFill, const XMLSize_t nMaxToRead) override {
    auto* p = reinterpret_cast<char*>(pToFill);
    size_t n = 0;
    while (n == 0 && !(m_pState->bEnded && m_nOut == m_out.size())) {
      if (!m_pCheck) Sense();
      n = m_nOut < m_out.size() || !m_in.empty() || m_pState->bReplace || nMaxToRead < 8 ? FromBuffer(p, nMaxToRead)
                                                                                            : InPlace(p, nMaxToRead);
    }
    m_nPos += n;
    return n;
  }
  const XMLCh* getContentType() const override { return m_pSource->getContentType(); }

 private:
  // Reads up to n bytes from the source to p; 0 at its end, or where it fails.
  size_t FromSource(char* p, size_t n) {
    try {
      return m_pSource->readBytes(reinterpret_cast<XMLByte*>(p), n);
    } catch (...) {
      m_pState->failure.sourceError = std::current_exception();
      m_pState->bFailed = true;
      return 0;
    }
  }

  // Appends up to kReadBytes of the source to m_in, through a block of the stream's own (growing
  // m_in by what was read only); how many.
  size_t ReadIn() {
    if (m_readBlock.empty()) m_readBlock = Block(kReadBytes);
    const size_t nRead = FromSource(m_readBlock.data(), kReadBytes);
    m_in.insert(m_in.end(), m_readBlock.data(), m_readBlock.data() + nRead);
    return nRead;
  }

  // The first bytes, as many as the parser looks at first, tell the encoding.
  void Sense() {
    while (m_in.size() < kSenseBytes && ReadIn() != 0) {
    }
    m_bSourceEnded = m_in.size() < kSenseBytes;
    m_pState->encoding = m_pState->bForcedEncoding ? DocumentEncoding() : SenseEncoding(m_in.data(), m_in.size(), m_bSourceEnded);
    m_pCheck = std::make_unique<TextCheck>(m_pState->encoding, m_pState->bReplace);
  }

  size_t InPlace(char* p, size_t nMax) {
    const size_t nCarried = m_carry.size();
    if (nCarried != 0) std::memcpy(p, m_carry.data(), nCarried);
    m_carry.clear();
    const size_t nRead = m_bSourceEnded ? 0 : FromSource(p + nCarried, nMax - nCarried);
    const size_t n = nCarried + nRead;
    const bool bLast = nRead == 0;
    const size_t nTaken = m_pCheck->Take(p, n, bLast, nullptr);
    if (nTaken < n && m_pCheck->Problem().empty()) m_carry.assign(p + nTaken, p + n);
    Ended(bLast);
    return nTaken;
  }

  size_t FromBuffer(char* p, size_t nMax) {
    if (m_nOut == m_out.size()) {
      m_out.clear();
      m_nOut = 0;
      bool bLast = m_bSourceEnded;
      if (m_in.size() < kReadBytes && !bLast) bLast = ReadIn() == 0;
      const size_t nTaken = m_pCheck->Take(m_in.data(), m_in.size(), bLast, &m_out);
      m_in.erase(m_in.begin(), m_in.begin() + static_cast<std::ptrdiff_t>(nTaken));
      m_pState->nReplaced = m_pCheck->Replaced();
      Ended(bLast && m_in.empty());
    }
    const size_t n = std::min(nMax, m_out.size() - m_nOut);
    if (n != 0) std::memcpy(p, m_out.data() + m_nOut, n);
    m_nOut += n;
    return n;
  }

  // The bytes end at the end of the source, or where it failed, or a byte was wrong.
  void Ended(bool bLast) {
    if (!m_pCheck->Problem().empty()) {
      m_pState->failure.problem = m_pCheck->Problem();
      m_pState->bFailed = true;
    }
    m_bSourceEnded = m_bSourceEnded || bLast;
    if (!(bLast || m_pState->bFailed) || m_pState->bEnded) return;
    m_pState->bEnded = true;
    if (m_pState->bFailed)
      m_pState->failure.at = m_pState->encoding.layout == ByteLayout::kOther ? TextPosition{0, 0} : m_pCheck->Position();
  }

  std::unique_ptr<BinInputStream> m_pSource;
  std::shared_ptr<State> m_pState;
  std::unique_ptr<TextCheck> m_pCheck;
  bool m_bSourceEnded = false;
  Bytes m_in, m_out;  // read and not yet checked; checked and not yet given
  Block m_readBlock;
  size_t m_nOut = 0;
  std::string m_carry;  // a character the last bytes given in place ended in the middle of
  XMLFilePos m_nPos = 0;
};

// A block of checked bytes, how many bytes the check had replaced by its end, and whether the
// document's bytes end with it.
struct CheckedBlock {
  Block bytes;
  unsigned long long nReplaced = 0;
  bool bLast = false;
  bool empty() const { return bytes.empty(); }
  static bool IsLast(const CheckedBlock& block) { return block.bLast; }
};

// The checked bytes made ahead on a thread of their own, so that the thread that parses, or cuts
// pieces, spends its time on markup. What the check learns (the encoding, the bytes it replaced,
// where the bytes end and why) reaches the read as its reader reaches that place.
class CheckedAhead : public BinInputStream {
 public:
  CheckedAhead(std::unique_ptr<BinInputStream> pSource, std::shared_ptr<State> pState)
      : m_pState(std::move(pState)), m_pAhead(std::make_shared<State>()) {
    m_pAhead->bReplace = m_pState->bReplace;
    m_pAhead->bForcedEncoding = m_pState->bForcedEncoding;
    auto pChecked = std::make_shared<DocumentStream>(std::move(pSource), m_pAhead);
    m_pBlocks = std::make_unique<ReadAhead<CheckedBlock>>(
        [pChecked, pAhead = m_pAhead] {
          CheckedBlock block;
          block.bytes = Block(kAheadBytes);
          block.bytes.Cut(pChecked->readBytes(reinterpret_cast<XMLByte*>(block.bytes.data()), kAheadBytes));
          block.nReplaced = pAhead->nReplaced;
          block.bLast = pAhead->bEnded;
          return block;
        },
        kBlocksAhead, CheckedBlock::IsLast);
  }
  XMLFilePos curPos() const override { return m_nPos; }
  const XMLCh* getContentType() const override { return nullptr; }
  XMLSize_t readBytes(XMLByte* const pToFill, const XMLSize_t nMaxToRead) override {
    if (m_nHeld == m_held.bytes.size()) {
      if (m_bEnded) return 0;
      m_held = m_pBlocks->Take();
      m_nHeld = 0;
      Reached();
      if (m_bEnded) return 0;
    }
    const size_t n = std::min(nMaxToRead, m_held.bytes.size() - m_nHeld);
    std::memcpy(pToFill, m_held.bytes.data() + m_nHeld, n);
    m_nHeld += n;
    m_nPos += n;
    return n;
  }

 private:
  static constexpr size_t kAheadBytes = 256 * 1024, kBlocksAhead = 4;

  // The block just taken was made after the check had sensed the encoding; the last, once the
  // check had ended, as the parser that takes the bytes before a bad one may stop there.
  void Reached() {
    m_pState->encoding = m_pAhead->encoding;
    m_bEnded = m_held.empty();
    m_pState->nReplaced = m_bEnded ? m_pAhead->nReplaced.load() : m_held.nReplaced;
    if (!(m_held.bLast || m_bEnded) || m_pState->bEnded) return;
    m_pState->failure = m_pAhead->failure;
    m_pState->bFailed = m_pAhead->bFailed;
    m_pState->bEnded = true;
  }

  std::shared_ptr<State> m_pState, m_pAhead;  // the read's, and the check's own
  std::unique_ptr<ReadAhead<CheckedBlock>> m_pBlocks;
  CheckedBlock m_held;
  size_t m_nHeld = 0;
  bool m_bEnded = false;
  XMLFilePos m_nPos = 0;
};

}  // namespace

CDocumentInputSource::CDocumentInputSource(const InputSource& source, bool bReplace)
    : InputSource(source.getSystemId(), source.getPublicId(), XMLPlatformUtils::fgMemoryManager),
      m_source(source),
      m_pState(std::make_shared<State>()) {
  m_pState->bReplace = bReplace;
  m_pState->bForcedEncoding = source.getEncoding() != nullptr;
  setEncoding(source.getEncoding());
  setIssueFatalErrorIfNotFound(source.getIssueFatalErrorIfNotFound());
}

CDocumentInputSource::~CDocumentInputSource() = default;

BinInputStream* CDocumentInputSource::makeStream() const {
  if (m_pState->bMade) return nullptr;
  std::unique_ptr<BinInputStream> pSource(m_source.makeStream());
  if (pSource == nullptr) return nullptr;
  m_pState->bMade = true;
  return new CheckedAhead(Decompressed(std::move(pSource)), m_pState);
}

const InputFailure* CDocumentInputSource::Failure() const {
  return m_pState->bEnded && m_pState->bFailed ? &m_pState->failure : nullptr;
}

void CDocumentInputSource::RaiseFailure(const TextPosition* pErrorAt) {
  const InputFailure* pFailure = Failure();
  if (pFailure == nullptr || m_pState->bRaised) return;
  const TextPosition at = pFailure->at;
  if (pErrorAt && at.nLine != 0 &&
      (pErrorAt->nLine < at.nLine || (pErrorAt->nLine == at.nLine && pErrorAt->nColumn < at.nColumn)))
    return;
  m_pState->bRaised = true;
  if (pFailure->sourceError) std::rethrow_exception(pFailure->sourceError);
  throw SAXParseException(CA2W(pFailure->problem.c_str()), getPublicId(), getSystemId(), at.nLine, at.nColumn);
}

const DocumentEncoding& CDocumentInputSource::Encoding() const { return m_pState->encoding; }
unsigned long long CDocumentInputSource::ReplacedBytes() const { return m_pState->nReplaced; }
