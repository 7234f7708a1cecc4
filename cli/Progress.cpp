#include "cli/Progress.h"

#include <cstdio>
#include <string>

#include "cli/Platform.h"

Progress::Progress(const StreamInput& input, bool bWanted) : m_input(input), m_bShown(bWanted && IsTerminal(stderr)) {}

Progress::~Progress() {
  if (m_bShown) std::fputs("\r\x1b[K", stderr);
}

void Progress::Redraw() {
  const auto now = std::chrono::steady_clock::now();
  if (now - m_lastDrawn < std::chrono::milliseconds(250)) return;
  m_lastDrawn = now;
  const double seconds = std::chrono::duration<double>(now - m_start).count();
  const double megabytes = m_input.BytesRead() / 1e6;
  std::string total;
  if (const auto nTotal = m_input.TotalBytes(); nTotal && *nTotal > 0)
    total = " of " + std::to_string(*nTotal / 1000000) + " MB (" + std::to_string(m_input.BytesRead() * 100 / *nTotal) + " %)";
  std::fprintf(stderr, "\r%.0f MB%s, %llu units, %.1f MB/s\x1b[K", megabytes, total.c_str(),
               static_cast<unsigned long long>(m_nUnits), seconds > 0 ? megabytes / seconds : 0.0);
  std::fflush(stderr);
}
