// Events as opaque handles, waitable one at a time or several together, in the shape of the
// Windows calls; the wait results are the contract the rest of the library compares against.
#pragma once

#include <cstdint>
#include <vector>

#include <nybase/base/NyResult.h>
#include <nybase/platform/LastError.h>

namespace lu {

// Results of every wait function: 0 signalled, 258 timed out, anything else the system error
// number of a wait that failed (87 invalid parameter, 6 invalid handle).
inline constexpr unsigned int k_waitObject0 = 0;
using platform::k_waitTimeout;  // 258, one constant for both namespaces
// A time limit of this value waits without a limit.
inline constexpr unsigned int k_infinite = 0xFFFFFFFFu;

// Creates an event, not signalled, manual-reset or auto-reset (a successful wait on an
// auto-reset event consumes its signal, however many times it was set). The handle is stored in
// `event` in any case: 1 (success) for a valid handle, 2 (failure) and null otherwise.
NYRESULT CreateEventExW(void*& event, bool manualReset);
// Closes a non-null event and sets `event` to null; a second call on the same variable is harmless.
void DestroyEventEx(void*& event);
// Clears the event's signal. A null handle or a failure is not reported.
void ResetEventEx(void* const& event);
// Signals the event: a manual-reset event stays signalled until reset, an auto-reset one until one
// wait consumes it. A null handle or a failure is not reported.
void SignalEventEx(void* const& event);
// Waits up to `milliseconds` (k_infinite: no limit) for the event: 0, 258, or an error number
// (6 for a null handle).
unsigned int WaitForEventEx(void* const& event, unsigned int milliseconds);
// Waits without a limit; nothing is returned.
void WaitForEventEx(void* const& event);
// Waits for any one of the handles (events or thread handles): 0 with `index` the position of the
// lowest signalled handle, 258 on time-out, else the error number (87 for an empty vector, 6 for a
// null handle); `index` is untouched unless the result is 0.
unsigned int WaitForMultipleEventsEx(const std::vector<void*>& events, int& index);
unsigned int WaitForMultipleEventsEx(const std::vector<void*>& events, unsigned int milliseconds, int& index);

namespace priv {
// The wait core with a 64-bit limit: a finite limit above 32 bits waits first for the remainder
// modulo 0xFFFFFFFE, then for as many full rounds of 0xFFFFFFFE ms as the quotient says, as long as
// the waits time out. Same results as WaitForEventEx.
unsigned int WaitForEventEx64(void* const& event, uint64_t milliseconds);
}  // namespace priv

}  // namespace lu
