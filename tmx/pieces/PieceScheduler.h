// A read of the units in pieces. A thread of the read's own takes the document's bytes (the
// source read, checked) and cuts them where the BodyCutter says; worker threads, made as pieces
// need them, read the pieces side by side, each with a PieceParser; the caller's thread takes
// their units in document order. The pieces end at the end of body, where the cutter stops, or
// at the first piece that could not be read as the cutter saw it; the rest of the document is
// then read on by the caller's parser from there (Rest, whose positions Origin turns into the
// document's, whose keys follow KeysBefore, and whose expansion RestFrame says), with the bytes
// already taken replayed.
//
// Memory: at most two pieces a job in flight, each its bytes (the piece size and one child of
// body) and its units, and the frame.
#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "tmx/parsing/DocumentInput.h"
#include "tmx/parsing/PartsInput.h"
#include "tmx/pieces/BodyCutter.h"
#include "tmx/pieces/PieceOrigin.h"
#include "tmx/pieces/PieceParser.h"

class PieceScheduler {
 public:
  // nJobs parsers at most; the host's settings are taken here, on its thread. With a formatter,
  // the workers make each unit's output with clones of it.
  PieceScheduler(const UnitReading& reading, StreamParser& host, CDocumentInputSource& document, int nJobs,
                 size_t nPieceBytes, const CTmxUnitFormatter* pFormatter);
  ~PieceScheduler();
  PieceScheduler(const PieceScheduler&) = delete;
  PieceScheduler& operator=(const PieceScheduler&) = delete;

  // On to the next unit of the pieces: false once they are done.
  bool Next();
  // The pieces are done now, and the rest begins with the piece of the unit Next went on to (or
  // the next one): its units come again.
  void Stop();
  // The unit Next went on to, its key counted after KeysBefore units.
  const UnitStore& Store() const { return m_pCurrent->piece.units; }
  const UnitStore::Unit& Unit() const { return Store().Get(m_nNext - 1); }
  int KeysBefore() const { return m_nKeysBefore; }
  // Whether the workers made each unit's output (in the store).
  bool Formatted() const { return m_pFormatter != nullptr; }
  // Once Next has returned false or Stop was called: the rest of the document, where its
  // positions lie, and where it lies in the whole for the measure of its entities.
  const xercesc::InputSource& Rest() const { return *m_pRest; }
  const PieceOrigin& Origin() const { return m_origin; }
  const ExpansionFrame& RestFrame() const { return m_restFrame; }

 private:
  struct Slot {
    Piece piece;
    bool bDone = false;  // under m_mutex
  };

  // The thread that reads and cuts.
  void Cut();
  bool ReadMore();
  bool FrameReads();
  void Submit(size_t nCut);
  // The workers.
  void Work(std::unique_ptr<CTmxUnitFormatter> pFormatter);
  void AddWorker();
  // The caller's.
  bool TakeFront();
  void Retire();
  void GoOnFrom(Slot* pFirst);
  void StopThreads();

  const UnitReading m_reading;
  const ParserSettings m_settings;
  const bool m_bLoadsExternalSubsets;
  CDocumentInputSource& m_document;
  const size_t m_nJobs, m_nPieceBytes;
  const CTmxUnitFormatter* m_pFormatter;
  // The bytes, cut on the thread that reads them.
  std::unique_ptr<xercesc::BinInputStream> m_pStream;
  std::unique_ptr<BodyCutter> m_pCutter;
  Bytes m_buffer;  // the bytes since the last cut
  size_t m_nFilled = 0;
  unsigned long long m_nBufferStart = 0;  // where the buffer's bytes lie in the document
  int m_nUnitsCut = 0;
  bool m_bCut = false, m_bFrameChecked = false;
  PieceFrame m_frame;
  TextPosition m_frameEnd;  // where a piece's bytes begin in its own parse
  std::thread m_cutting;
  // The pieces in document order, the workers' queue, the slots to use again.
  std::mutex m_mutex;
  std::condition_variable m_work, m_done, m_room;
  std::deque<std::unique_ptr<Slot>> m_inFlight, m_free;
  std::deque<Slot*> m_queue;
  std::vector<std::thread> m_workers;
  size_t m_nIdle = 0;
  bool m_bStop = false, m_bCuttingOver = false;
  std::exception_ptr m_cutError;  // what stopped the cutting thread (out of memory)
  // The caller's.
  std::unique_ptr<Slot> m_pCurrent;
  size_t m_nNext = 0;
  int m_nKeysBefore = 0;
  unsigned long long m_nSpent = 0;  // on expansion, after the frame, by the pieces taken
  PieceOrigin m_origin;            // of the current piece's bytes, then of the rest's
  std::unique_ptr<CPartsInputSource> m_pParts;
  const xercesc::InputSource* m_pRest = nullptr;
  ExpansionFrame m_restFrame;
};
