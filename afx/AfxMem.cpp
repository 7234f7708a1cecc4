// The module's own operator new, as the class library links into every module that uses it:
// memory, or the memory exception, never std::bad_alloc. Each module (the class library and each
// extension library) carries its own copy, which its link keeps out of the module's exports, so
// that the host's own new is left alone. The memory comes from the process's nothrow new, so
// that an allocation fails where the process's allocator says it does.
#include <cstdlib>
#include <new>

#include "quillon/afx/Exceptions.h"

void* operator new(std::size_t nSize) {
#if defined(_WIN32)
  void* p = std::malloc(nSize ? nSize : 1);  // the runtime's nothrow new would come back here
#else
  void* p = ::operator new(nSize, std::nothrow);
#endif
  if (p == nullptr) AfxThrowMemoryException();
  return p;
}

void* operator new[](std::size_t nSize) { return ::operator new(nSize); }
