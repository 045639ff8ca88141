// The millisecond tick counter and timer handles in the shape of the Windows timer queue.
#pragma once

#include <cstdint>

namespace lu {

// Milliseconds of a monotonic clock, truncated to 32 bits: it wraps after about 49.7 days, and
// callers compare raw values on purpose, without handling the wrap.
unsigned int GetTickCount();
// Deletes a timer made by platform::CreateTimerQueueTimer without waiting for a callback that is
// running (it may still finish), and sets `timer` to null. A null timer does nothing. The library
// itself makes no timers; this serves handles the application made.
void KillTimer(void*& timer);

namespace platform {

using TimerCallback = void (*)(void* parameter);

// Calls `callback(parameter)` on a timer thread after `dueMs`, then every `periodMs` (0: once),
// until KillTimer. Returns the timer handle, or null on failure with the last error set.
void* CreateTimerQueueTimer(TimerCallback callback, void* parameter, uint32_t dueMs, uint32_t periodMs) noexcept;

}  // namespace platform

}  // namespace lu
