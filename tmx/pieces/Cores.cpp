#include "tmx/pieces/Cores.h"

// Kept apart from the class library's headers: the platform's declare the Windows types
// differently.
#ifdef _WIN32
#include <windows.h>
#else
#include <sched.h>
#endif

#include <bitset>
#include <thread>

int AvailableCores() {
#ifdef _WIN32
  DWORD_PTR nProcess = 0, nSystem = 0;
  if (GetProcessAffinityMask(GetCurrentProcess(), &nProcess, &nSystem) && nProcess != 0)
    return static_cast<int>(std::bitset<64>(nProcess).count());
#else
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0) return CPU_COUNT(&set);
#endif
  return std::thread::hardware_concurrency() > 0 ? static_cast<int>(std::thread::hardware_concurrency()) : 1;
}
