// A read of the units in pieces. The host's thread reads the input and cuts it where BodyCutter
// says; worker threads read the pieces side by side, each with a PieceParser; the host's thread
// takes their units in document order. The pieces end at the end of body, where the cutter
// stops, or at the first piece that could not be read as the cutter saw it; the rest of the
// document is then read on by the host's parser from there (Rest, whose positions Origin turns
// into the document's), with the bytes already taken from the input replayed: a read error, too,
// comes where a single parser would meet it.
//
// Memory: at most 2 pieces per job in flight (the bytes of each, about the piece size plus one
// child of body, and its units), and the host's unit; a child of body larger than 16 MiB (or 16
// pieces) ends the pieces.
#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "tmx/parsing/PartsInput.h"
#include "tmx/pieces/BodyCutter.h"
#include "tmx/pieces/PieceOrigin.h"
#include "tmx/pieces/PieceParser.h"

class PieceScheduler {
 public:
  PieceScheduler(const UnitReading& reading, StreamParser& host, const xercesc::InputSource& input, int nJobs,
            size_t nPieceBytes);
  ~PieceScheduler();
  PieceScheduler(const PieceScheduler&) = delete;
  PieceScheduler& operator=(const PieceScheduler&) = delete;

  // On to the next unit of the pieces: false once they are done.
  bool Next();
  // The pieces are done now: the rest begins after the units taken, at the next piece.
  void Stop();
  // The unit Next went on to, its key counted after KeysBefore units.
  const UnitStore& Store() const { return m_pCurrent->piece.units; }
  const UnitStore::Unit& Unit() const { return Store().Get(m_nNext - 1); }
  int KeysBefore() const { return m_nKeysBefore; }
  // Once Next has returned false: the rest of the document, and where its positions lie. Its keys
  // come after KeysBefore().
  const xercesc::InputSource& Rest() const { return *m_pRest; }
  const PieceOrigin& Origin() const { return m_origin; }

 private:
  struct Slot {
    Piece piece;
    bool bDone = false;  // under m_mutex
  };

  void Feed();
  bool ReadMore();
  bool FrameReads();
  void Submit(size_t nCut);
  void Retire();
  void GoOnFrom(bool bFromPieces);
  void Work(PieceParser& reader);
  void StopWorkers();

  const UnitReading m_reading;
  StreamParser& m_host;
  const xercesc::InputSource& m_input;
  const size_t m_nJobs, m_nPieceBytes, m_nLongestPiece;
  // The input, cut on the host's thread.
  std::unique_ptr<xercesc::BinInputStream> m_pStream;
  std::exception_ptr m_readError;  // met by the stream: the rest meets it where a parser would
  BodyCutter m_cutter;
  Bytes m_buffer;  // the bytes since the last cut
  size_t m_nFilled = 0;
  bool m_bCutting = true, m_bCut = false, m_bFrameChecked = false;
  size_t m_nRead = 0;  // from the input
  PieceFrame m_frame;
  TextPosition m_frameEnd;  // where a piece's bytes begin in its own parse
  // The pieces in document order, and the workers' queue.
  std::deque<std::unique_ptr<Slot>> m_inFlight, m_free;
  std::unique_ptr<Slot> m_pCurrent;
  size_t m_nNext = 0;
  int m_nKeysBefore = 0;
  PieceOrigin m_origin;  // of the current piece's bytes, then of the rest's
  std::vector<std::unique_ptr<PieceParser>> m_readers;
  std::vector<std::thread> m_workers;
  std::mutex m_mutex;
  std::condition_variable m_work, m_done;
  std::deque<Slot*> m_queue;
  bool m_bStop = false;
  // What the host's parser reads on.
  std::unique_ptr<CPartsInputSource> m_pParts;
  const xercesc::InputSource* m_pRest = nullptr;
};
