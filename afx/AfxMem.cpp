// The module's own operator new, as the class library links into every module that uses it:
// memory, or the memory exception, never std::bad_alloc. Each module (the class library and each
// extension library) carries its own copy, which its link keeps out of the module's exports, so
// that the host's own new is left alone. The memory comes from the process's nothrow new of the
// same form, so that an allocation fails where the process's allocator says it does and each
// form of delete finds what it expects.
#include <cstdlib>
#include <new>

#include "quillon/afx/Exceptions.h"

namespace {

void* Checked(void* p) {
  if (p == nullptr) AfxThrowMemoryException();
  return p;
}

}  // namespace

#if defined(_WIN32)
// The runtime's nothrow new would come back here: both forms take the runtime's memory directly.
void* operator new(std::size_t nSize) { return Checked(std::malloc(nSize ? nSize : 1)); }
void* operator new[](std::size_t nSize) { return Checked(std::malloc(nSize ? nSize : 1)); }
#else
void* operator new(std::size_t nSize) { return Checked(::operator new(nSize, std::nothrow)); }
void* operator new[](std::size_t nSize) { return Checked(::operator new[](nSize, std::nothrow)); }
#endif
