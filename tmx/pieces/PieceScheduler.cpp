#include "tmx/pieces/PieceScheduler.h"

#include <algorithm>
#include <system_error>

#include <xercesc/util/XMLUni.hpp>

#include "tmx/parsing/ThreadName.h"

using namespace xercesc;

namespace {

constexpr size_t kReadBytes = 256 * 1024;
constexpr size_t kLargestPieceSize = size_t(1) << 28;

}  // namespace

// Nothing is read here: the cutting thread reads from the start.
PieceScheduler::PieceScheduler(const UnitReading& reading, StreamParser& host, CDocumentInputSource& document,
                               int nJobs, size_t nPieceBytes, const CTmxUnitFormatter* pFormatter)
    : m_reading(reading),
      m_settings(host.Settings()),
      m_bLoadsExternalSubsets(host.Get().getFeature(XMLUni::fgXercesLoadExternalDTD)),
      m_document(document),
      m_nJobs(static_cast<size_t>(std::max(nJobs, 1))),
      m_nPieceBytes(std::clamp<size_t>(nPieceBytes, 1, kLargestPieceSize)),
      m_pFormatter(pFormatter),
      m_frame{document, {}, {}, 0} {
  m_pStream.reset(document.makeStream());
  if (m_pStream == nullptr) {  // the source cannot be opened: the caller's parser says so
    m_pRest = &document;
    return;
  }
  m_cutting = std::thread(&PieceScheduler::Cut, this);
}

PieceScheduler::~PieceScheduler() { StopThreads(); }

bool PieceScheduler::Next() {
  for (;;) {
    if (m_pCurrent && m_nNext < Store().GetCount()) {
      m_nNext++;
      return true;
    }
    if (m_pCurrent) Retire();
    if (m_pRest || !TakeFront()) return false;
    m_nNext = 0;
  }
}

// Waits until the first piece in flight is read, and takes it; false when there is none left
// (the rest goes on from where the cutting ended) or it could not be read (the rest goes on from
// it).
bool PieceScheduler::TakeFront() {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_done.wait(lock, [this] {
    return (!m_inFlight.empty() && (m_inFlight.front()->bDone || m_workers.empty())) ||
           (m_inFlight.empty() && m_bCuttingOver);
  });
  Slot* pFront = m_inFlight.empty() ? nullptr : m_inFlight.front().get();
  if (pFront == nullptr || !pFront->bDone || !pFront->piece.bRead) {
    lock.unlock();
    GoOnFrom(pFront);
    return false;
  }
  m_pCurrent = std::move(m_inFlight.front());
  m_inFlight.pop_front();
  lock.unlock();
  m_room.notify_one();
  return true;
}

void PieceScheduler::Stop() {
  if (m_pRest) return;
  StopThreads();
  if (m_pCurrent) m_inFlight.push_front(std::move(m_pCurrent));
  GoOnFrom(m_inFlight.empty() ? nullptr : m_inFlight.front().get());
}

// ---- The cutting thread --------------------------------------------------------------------------

// Cuts as long as there is room in flight, the cutter finds cuts and the bytes last; then the
// rest is the caller's.
void PieceScheduler::Cut() {
  NameThread("quillon-cut");
  try {
    if (ReadMore() && (m_pCutter = BodyCutter::For(m_document.Encoding())))
      for (;;) {
        {
          std::unique_lock<std::mutex> lock(m_mutex);
          m_room.wait(lock, [this] { return m_bStop || m_inFlight.size() < 2 * m_nJobs; });
          if (m_bStop) break;
        }
        const size_t nCut = m_pCutter->Scan(m_buffer.data(), m_nFilled, m_nPieceBytes);
        if (nCut != 0 && !m_bFrameChecked && !FrameReads()) break;
        if (nCut != 0)
          Submit(nCut);
        else if (m_pCutter->Ended() || !ReadMore())
          break;
      }
  } catch (...) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_cutError = std::current_exception();
  }
  std::lock_guard<std::mutex> lock(m_mutex);
  m_bCuttingOver = true;
  m_done.notify_all();
}

// Reads the next bytes after those held; false at the end of the document's bytes.
bool PieceScheduler::ReadMore() {
  if (m_buffer.size() < m_nFilled + kReadBytes) m_buffer.resize(m_nFilled + kReadBytes);
  const XMLSize_t nRead = m_pStream->readBytes(reinterpret_cast<XMLByte*>(m_buffer.data() + m_nFilled), kReadBytes);
  m_nFilled += nRead;
  return nRead > 0;
}

// The frame, read with nothing in body, must read as a document, and the positions its parser
// gives must add up: body's content then begins and ends at one place. An external subset that
// parsers load would be loaded by every piece: the document goes to one parser.
bool PieceScheduler::FrameReads() {
  m_bFrameChecked = true;
  if (m_pCutter->HasExternalSubset() && m_bLoadsExternalSubsets) return false;
  m_frame.prefix.assign(m_buffer.data(), m_pCutter->FrameBytes());
  m_frame.suffix = m_pCutter->Suffix();
  m_frame.nBodyEndTag = m_pCutter->BodyEndTagUnits();
  PieceParser parser(m_reading, m_settings, nullptr);
  Piece empty;
  parser.Read(empty, m_frame);
  m_frameEnd = empty.start;
  return empty.bRead && empty.end.nLine == empty.start.nLine && empty.end.nColumn == empty.start.nColumn;
}

// The bytes before the cut become a piece; those after it stay for the next. A worker is made
// when none is idle, while there are fewer than the jobs.
void PieceScheduler::Submit(size_t nCut) {
  std::unique_ptr<Slot> pSlot;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_free.empty()) {
      pSlot = std::move(m_free.front());
      m_free.pop_front();
    }
  }
  if (!pSlot) pSlot = std::make_unique<Slot>();
  Piece& piece = pSlot->piece;
  piece.bFirst = !m_bCut;
  piece.nStart = m_nBufferStart;
  m_bCut = true;
  std::swap(piece.bytes, m_buffer);
  m_buffer.assign(piece.bytes.begin() + static_cast<std::ptrdiff_t>(nCut),
                  piece.bytes.begin() + static_cast<std::ptrdiff_t>(m_nFilled));
  m_nFilled = m_buffer.size();
  m_nBufferStart += nCut;
  piece.bytes.resize(nCut);
  piece.nKeysBefore = m_nUnitsCut;
  piece.nUnitsCut = static_cast<int>(m_pCutter->Cut(nCut));
  m_nUnitsCut += piece.nUnitsCut;
  pSlot->bDone = false;
  std::lock_guard<std::mutex> lock(m_mutex);
  if (m_nIdle == 0 && m_workers.size() < m_nJobs) AddWorker();
  m_queue.push_back(pSlot.get());
  m_inFlight.push_back(std::move(pSlot));
  m_work.notify_one();
}

// A thread that cannot be made leaves the pieces to the workers there are; with none, the caller
// reads on from the first piece.
void PieceScheduler::AddWorker() {
  try {
    m_workers.emplace_back(&PieceScheduler::Work, this, m_pFormatter ? m_pFormatter->Clone() : nullptr);
  } catch (const std::system_error&) {
    if (m_workers.empty()) m_done.notify_all();
  }
}

// ---- The workers ---------------------------------------------------------------------------------

void PieceScheduler::Work(std::unique_ptr<CTmxUnitFormatter> pFormatter) {
  NameThread("quillon-parse");
  std::unique_ptr<PieceParser> pParser;
  for (;;) {
    Slot* pSlot;
    {
      std::unique_lock<std::mutex> lock(m_mutex);
      m_nIdle++;
      m_work.wait(lock, [this] { return m_bStop || !m_queue.empty(); });
      m_nIdle--;
      if (m_bStop) return;
      pSlot = m_queue.front();
      m_queue.pop_front();
    }
    try {
      if (!pParser) pParser = std::make_unique<PieceParser>(m_reading, m_settings, pFormatter.get());
      pParser->Read(pSlot->piece, m_frame);
    } catch (...) {  // no parser: the piece stays unread, and the caller's parser reads it
      pSlot->piece.bRead = false;
    }
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      pSlot->bDone = true;
    }
    m_done.notify_all();
  }
}

// ---- The caller's --------------------------------------------------------------------------------

// The piece's units are all taken: the next piece's keys, positions and expansion follow on from
// its.
void PieceScheduler::Retire() {
  const Piece& piece = m_pCurrent->piece;
  m_nKeysBefore += piece.nUnitsMet;
  m_nSpent += piece.nSpent;
  m_origin = {m_origin.ToDocument(piece.end), m_frameEnd};
  std::lock_guard<std::mutex> lock(m_mutex);
  m_free.push_back(std::move(m_pCurrent));
}

// The rest: the frame (unless the rest begins with the document), the pieces from pFirst on,
// the bytes not cut, then the document's own rest.
void PieceScheduler::GoOnFrom(Slot* pFirst) {
  StopThreads();
  if (m_cutError) std::rethrow_exception(m_cutError);
  m_pParts = std::make_unique<CPartsInputSource>(m_document);
  const bool bMidDocument = pFirst ? !pFirst->piece.bFirst : m_bCut;
  const unsigned long long nRestStart = pFirst ? pFirst->piece.nStart : m_nBufferStart;
  if (bMidDocument) {
    m_pParts->Add(m_frame.prefix);
    m_restFrame = {m_frame.prefix.size(), nRestStart, m_nSpent, false};
  }
  for (auto& pSlot : m_inFlight) m_pParts->Add(std::move(pSlot->piece.bytes));
  m_inFlight.clear();
  m_buffer.resize(m_nFilled);
  m_pParts->Add(std::move(m_buffer));
  m_pParts->Finally(std::move(m_pStream));
  m_pRest = m_pParts.get();
}

// Stops every thread the read made, the cutting thread once its read in progress returns.
void PieceScheduler::StopThreads() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_bStop = true;
  }
  m_work.notify_all();
  m_room.notify_all();
  if (m_cutting.joinable()) m_cutting.join();
  for (std::thread& worker : m_workers) worker.join();
  m_workers.clear();
  m_queue.clear();
}
