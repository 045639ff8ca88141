// The object behind an event or thread handle of the POSIX backend: a state word that single
// waits sleep on through a futex, and an eventfd that poll watches when several handles are
// waited on together.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace lu::platform::detail {

// The state word is the truth: 1 signalled, 0 not. The eventfd only wakes pollers: it is written
// by a set only while some thread polls the handle, drained by Reset (and, for an auto-reset
// event, by a poller before it tries to take the signal). A Readable handle is a plain file
// descriptor (no state word) that counts as signalled while it has data.
struct WaitHandle {
  enum class Kind { ManualEvent, AutoEvent, Thread, Readable };
  int fd = -1;
  Kind kind = Kind::ManualEvent;
  std::atomic<uint32_t> state{0};
  std::atomic<uint32_t> sleepers{0};  // threads in a futex wait on state
  std::atomic<uint32_t> pollers{0};   // threads polling fd for this handle
};

// A thread handle: set (manual-reset) when the thread's function has returned. It is freed by
// whichever of the thread and the closer lets go last.
struct ThreadHandle : WaitHandle {
  pthread_t thread{};
  std::atomic<int> refs{2};
  void (*function)(void*) = nullptr;
  void* argument = nullptr;
};

// Signals a handle (not a Readable one): wakes futex sleepers and, when some thread polls it, the fd.
void SetHandle(WaitHandle* h) noexcept;

// Waits for any of `handles` (null handles already rejected by the caller) up to `milliseconds`
// (UINT64_MAX: no limit). 0 with `index` set, 258 on time-out, or the error number.
unsigned int WaitAny(void* const* handles, size_t count, uint64_t milliseconds, int& index);

}  // namespace lu::platform::detail
