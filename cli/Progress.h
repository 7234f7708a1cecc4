// The progress line of a long read: bytes read (of the total, where it is known), units so far
// and the rate, redrawn on standard error a few times a second and cleared at the end. Only on
// a terminal: piped or redirected, standard error gets none of it.
#pragma once

#include <chrono>
#include <cstdint>

#include "cli/StreamInput.h"

class Progress {
 public:
  Progress(const StreamInput& input, bool bWanted);
  ~Progress();
  void AddUnit() {
    if (m_bShown && (++m_nUnits & 63) == 0) Redraw();
  }

 private:
  void Redraw();

  const StreamInput& m_input;
  bool m_bShown;
  uint64_t m_nUnits = 0;
  std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point m_lastDrawn = m_start;
};
