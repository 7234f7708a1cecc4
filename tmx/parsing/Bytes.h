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
