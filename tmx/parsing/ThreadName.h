// Names the calling thread as `top -H`, debuggers and tests list it ("quillon-" and its job, in
// the 15 characters Linux keeps).
#pragma once

#ifdef __linux__
#include <pthread.h>
#endif

inline void NameThread(const char* pszName) {
#ifdef __linux__
  pthread_setname_np(pthread_self(), pszName);
#else
  (void)pszName;
#endif
}
