#include "tmx/pieces/PieceScheduler.h"

#include <algorithm>

#include "tmx/parsing/InputPreview.h"

using namespace xercesc;

namespace {

constexpr size_t kReadBytes = 256 * 1024;
constexpr size_t kLargestPieceSize = size_t(1) << 28;

// Meets again, where the parser of the rest reaches it, the error that the input met. In the
// middle of a document, where one parser takes no first look, the first read gives nothing: that
// ends the look at the rest's first bytes as the end of the input would.
class FailedStream : public BinInputStream {
 public:
  FailedStream(std::exception_ptr error, bool bMidDocument) : m_error(std::move(error)), m_bLookedAt(!bMidDocument) {}
  XMLFilePos curPos() const override { return 0; }
  XMLSize_t readBytes(XMLByte* const, const XMLSize_t) override {
    if (m_bLookedAt) std::rethrow_exception(m_error);
    m_bLookedAt = true;
    return 0;
  }
  const XMLCh* getContentType() const override { return nullptr; }

 private:
  std::exception_ptr m_error;
  bool m_bLookedAt;
};

}  // namespace

// A forced encoding is not one the cutter reads; an input that does not open is the host
// parser's to report.
PieceScheduler::PieceScheduler(const UnitReading& reading, StreamParser& host, const InputSource& input, int nJobs,
                     size_t nPieceBytes)
    : m_reading(reading),
      m_host(host),
      m_input(input),
      m_nJobs(static_cast<size_t>(std::max(nJobs, 1))),
      m_nPieceBytes(std::clamp<size_t>(nPieceBytes, 1, kLargestPieceSize)),
      m_nLongestPiece(std::max<size_t>(size_t(16) << 20, 16 * m_nPieceBytes)),
      m_cutter(kPreviewBytes),
      m_frame{input, {}, {}} {
  if (input.getEncoding() == nullptr) m_pStream.reset(input.makeStream());
  if (m_pStream == nullptr) {
    m_bCutting = false;
    m_pRest = &input;
  }
}

PieceScheduler::~PieceScheduler() { StopWorkers(); }

bool PieceScheduler::Next() {
  for (;;) {
    if (m_pCurrent && m_nNext < Store().GetCount()) {
      m_nNext++;
      return true;
    }
    if (m_pCurrent) Retire();
    if (m_pRest) return false;
    Feed();
    if (m_inFlight.empty() || (m_readError && m_nRead < kPreviewBytes)) {  // one parser fails in its first look
      GoOnFrom(!m_inFlight.empty());
      return false;
    }
    Slot& front = *m_inFlight.front();
    {
      std::unique_lock<std::mutex> lock(m_mutex);
      m_done.wait(lock, [&front] { return front.bDone; });
    }
    if (!front.piece.bRead) {
      GoOnFrom(true);
      return false;
    }
    m_pCurrent = std::move(m_inFlight.front());
    m_inFlight.pop_front();
    m_nNext = 0;
  }
}

void PieceScheduler::Stop() {
  if (m_pCurrent) Retire();
  if (m_pRest == nullptr) GoOnFrom(!m_inFlight.empty());
}

// Cuts what the workers may read ahead: two pieces a job. Nothing is taken before the input has
// given what one parser looks at first, where a failing input fails before any unit.
void PieceScheduler::Feed() {
  while (m_bCutting && m_nRead < kPreviewBytes && !m_readError && ReadMore()) {
  }
  while (m_bCutting && m_inFlight.size() < 2 * m_nJobs) {
    const size_t nCut = m_nFilled == 0 ? 0 : m_cutter.Scan(m_buffer.data(), m_nFilled, m_nPieceBytes);
    if (nCut != 0 && (m_bFrameChecked || FrameReads()))
      Submit(nCut);
    else if (nCut != 0 || m_cutter.Ended() || m_nFilled >= m_nLongestPiece || !ReadMore())
      m_bCutting = false;
  }
}

bool PieceScheduler::ReadMore() {
  if (m_buffer.size() < m_nFilled + kReadBytes) m_buffer.resize(m_nFilled + kReadBytes);
  try {
    const XMLSize_t nRead = m_pStream->readBytes(reinterpret_cast<XMLByte*>(m_buffer.data() + m_nFilled), kReadBytes);
    m_nFilled += nRead;
    m_nRead += nRead;
    return nRead > 0;
  } catch (...) {
    m_readError = std::current_exception();
    return false;
  }
}

// The frame, read with nothing in body, must read as a document, and the positions its parser
// gives must add up: body's content then begins and ends at one place.
bool PieceScheduler::FrameReads() {
  m_bFrameChecked = true;
  m_frame.prefix = m_cutter.Prefix();
  m_frame.suffix = m_cutter.Suffix();
  m_readers.push_back(std::make_unique<PieceParser>(m_reading, m_host));
  Piece empty;
  m_readers.front()->Read(empty, m_frame);
  m_frameEnd = empty.start;
  return empty.bRead && empty.end.nLine == empty.start.nLine && empty.end.nColumn == empty.start.nColumn;
}

// The bytes before the cut become a piece; those after it stay for the next.
void PieceScheduler::Submit(size_t nCut) {
  std::unique_ptr<Slot> pSlot;
  if (m_free.empty()) {
    pSlot = std::make_unique<Slot>();
  } else {
    pSlot = std::move(m_free.front());
    m_free.pop_front();
  }
  Piece& piece = pSlot->piece;
  piece.bFirst = !m_bCut;
  m_bCut = true;
  std::swap(piece.bytes, m_buffer);
  m_buffer.assign(piece.bytes.begin() + static_cast<std::ptrdiff_t>(nCut),
                  piece.bytes.begin() + static_cast<std::ptrdiff_t>(m_nFilled));
  m_nFilled = m_buffer.size();
  piece.bytes.resize(nCut);
  m_cutter.Cut(nCut);
  pSlot->bDone = false;
  // Parsers are made here, where the host's settings are read.
  while (m_readers.size() < m_nJobs) m_readers.push_back(std::make_unique<PieceParser>(m_reading, m_host));
  while (m_workers.size() < m_nJobs) m_workers.emplace_back(&PieceScheduler::Work, this, std::ref(*m_readers[m_workers.size()]));
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_queue.push_back(pSlot.get());
  }
  m_work.notify_one();
  m_inFlight.push_back(std::move(pSlot));
}

// The piece's units are all taken: the next piece's keys and positions follow on from its.
void PieceScheduler::Retire() {
  const Piece& piece = m_pCurrent->piece;
  m_nKeysBefore += piece.nUnitsMet;
  m_origin = {m_origin.ToDocument(piece.end), m_frameEnd};
  m_free.push_back(std::move(m_pCurrent));
}

// The rest: the frame's start (unless the rest begins with the document), the pieces not taken,
// the bytes not cut, then the input's own rest.
void PieceScheduler::GoOnFrom(bool bFromPieces) {
  StopWorkers();
  m_queue.clear();
  m_pParts = std::make_unique<CPartsInputSource>(m_input);
  const bool bMidDocument = bFromPieces ? !m_inFlight.front()->piece.bFirst : m_bCut;
  if (bMidDocument) m_pParts->Add(m_frame.prefix);
  for (auto& pSlot : m_inFlight) m_pParts->Add(std::move(pSlot->piece.bytes));
  m_inFlight.clear();
  m_buffer.resize(m_nFilled);
  m_pParts->Add(std::move(m_buffer));
  if (m_readError)
    m_pParts->Finally(std::make_unique<FailedStream>(m_readError, bMidDocument));
  else
    m_pParts->Finally(std::move(m_pStream));
  m_pRest = m_pParts.get();
}

void PieceScheduler::Work(PieceParser& reader) {
  for (;;) {
    Slot* pSlot;
    {
      std::unique_lock<std::mutex> lock(m_mutex);
      m_work.wait(lock, [this] { return m_bStop || !m_queue.empty(); });
      if (m_bStop) return;
      pSlot = m_queue.front();
      m_queue.pop_front();
    }
    reader.Read(pSlot->piece, m_frame);
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      pSlot->bDone = true;
    }
    m_done.notify_all();
  }
}

void PieceScheduler::StopWorkers() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_bStop = true;
  }
  m_work.notify_all();
  for (std::thread& worker : m_workers) worker.join();
  m_workers.clear();
}
