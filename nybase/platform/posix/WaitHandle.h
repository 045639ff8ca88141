// The object behind an event or thread handle of the POSIX backend: an eventfd that poll can
// wait on together with others.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <cstddef>

namespace lu::platform::detail {

struct WaitHandle {
  enum class Kind { ManualEvent, AutoEvent, Thread, Readable };
  int fd = -1;
  Kind kind = Kind::ManualEvent;
};

// A thread handle: its eventfd is set (and never reset) when the thread's function has returned.
// The handle is freed by whichever of the thread and the closer lets go last.
struct ThreadHandle : WaitHandle {
  pthread_t thread{};
  std::atomic<int> refs{2};
  void (*function)(void*) = nullptr;
  void* argument = nullptr;
};

// Waits for any of `handles` (null handles already rejected by the caller) up to `milliseconds`
// (UINT64_MAX: no limit). 0 with `index` set, 258 on time-out, or the error number.
unsigned int WaitAny(void* const* handles, size_t count, uint64_t milliseconds, int& index);

}  // namespace lu::platform::detail
