// A stage of a document's input that runs ahead of its reader on a thread of its own: blocks
// made by produce() wait in a short queue until Take hands them over, in order. An empty block
// ends the input; what produce() throws leaves Take after the blocks before it. Where no thread
// can be made, Take produces the blocks itself.
#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "tmx/parsing/ThreadName.h"

template <class Block>
class ReadAhead {
 public:
  ReadAhead(std::function<Block()> produce, size_t nAhead) : m_produce(std::move(produce)), m_nAhead(nAhead) {
    try {
      m_thread = std::thread([this] { Run(); });
    } catch (const std::system_error&) {
    }
  }
  ~ReadAhead() {
    if (!m_thread.joinable()) return;
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      m_bStop = true;
    }
    m_changed.notify_all();
    m_thread.join();
  }
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  Block Take() {
    if (!m_thread.joinable()) return m_produce();
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_blocks.empty() || m_bEnded; });
    if (m_blocks.empty()) {
      if (std::exception_ptr error = std::exchange(m_error, nullptr)) std::rethrow_exception(error);
      return Block();
    }
    Block block = std::move(m_blocks.front());
    m_blocks.pop_front();
    m_changed.notify_all();
    return block;
  }

 private:
  void Run() {
    NameThread("quillon-read");
    std::exception_ptr error;
    try {
      for (bool bLast = false; !bLast;) {
        Block block = m_produce();
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_blocks.size() < m_nAhead || m_bStop; });
        if (m_bStop) return;
        bLast = block.empty();
        if (!bLast) m_blocks.push_back(std::move(block));
        m_changed.notify_all();
      }
    } catch (...) {
      error = std::current_exception();
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    m_error = error;
    m_bEnded = true;
    m_changed.notify_all();
  }

  std::function<Block()> m_produce;
  const size_t m_nAhead;
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<Block> m_blocks;
  std::exception_ptr m_error;
  bool m_bStop = false, m_bEnded = false;
  std::thread m_thread;  // last: it starts once the rest is made
};
