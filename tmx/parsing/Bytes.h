// Bytes read into as soon as they are there, so never zeroed first.
#pragma once

#include <memory>
#include <utility>
#include <vector>

template <class T>
struct UninitializedAllocator : std::allocator<T> {
  template <class U>
  struct rebind {
    using other = UninitializedAllocator<U>;
  };
  template <class U, class... Args>
  void construct(U* p, Args&&... args) {
    if constexpr (sizeof...(Args) == 0)
      ::new (static_cast<void*>(p)) U;
    else
      ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
  }
};
using Bytes = std::vector<char, UninitializedAllocator<char>>;

// A block of bytes made at its full size and never zeroed, then cut to what was put in it. Unlike
// Bytes, it is made without a loop over its bytes, which instrumented builds would keep.
class Block {
 public:
  Block() = default;
  explicit Block(size_t nCapacity) : m_p(new char[nCapacity]), m_nSize(nCapacity) {}
  char* data() { return m_p.get(); }
  const char* data() const { return m_p.get(); }
  size_t size() const { return m_nSize; }
  bool empty() const { return m_nSize == 0; }
  void Cut(size_t nSize) { m_nSize = nSize; }  // at most its size

 private:
  std::unique_ptr<char[]> m_p;
  size_t m_nSize = 0;
};
