// A stage of a document's input that runs ahead of its reader on a thread of its own: blocks
// made by produce() wait in a short queue until Take hands them over, in order. An empty block
// ends the input, and so does one that isLast, where given, says is the last; what produce()
// throws leaves Take after the blocks before it. The first
// block is made by Take itself, and the thread starts only when more are wanted: a small
// document is read without one. Where no thread can be made, Take makes every block.
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
  ReadAhead(std::function<Block()> produce, size_t nAhead, bool (*isLast)(const Block&) = nullptr)
      : m_produce(std::move(produce)), m_isLast(isLast), m_nAhead(nAhead) {}
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
    if (m_nTaken++ == 1) Start();
    if (!m_thread.joinable()) return Produce();
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
  // Blocks after the last are empty.
  Block Produce() {
    if (m_bLastMade) return Block();
    Block block = m_produce();
    m_bLastMade = block.empty() || (m_isLast && m_isLast(block));
    return block;
  }

  void Start() {
    if (m_bLastMade) return;
    try {
      m_thread = std::thread([this] { Run(); });
    } catch (const std::system_error&) {
    }
  }

  void Run() {
    NameThread("quillon-read");
    std::exception_ptr error;
    try {
      for (bool bLast = false; !bLast;) {
        Block block = Produce();
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
  bool (*m_isLast)(const Block&);
  const size_t m_nAhead;
  size_t m_nTaken = 0;
  bool m_bLastMade = false;  // by whichever thread makes the blocks
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<Block> m_blocks;
  std::exception_ptr m_error;
  bool m_bStop = false, m_bEnded = false;
  std::thread m_thread;  // last: it starts once the rest is made
};
