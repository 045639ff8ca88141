// Threads: naming, main-thread identity, the registry of tracked threads for leak checks at
// shut-down, and thread handles that the wait functions accept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace lu {

// Names the calling thread. The system keeps at most 15 bytes of a thread name, so the name shown
// by debuggers and `ps` is the longest UTF-8 prefix of at most 15 bytes that ends on a character
// boundary; the full name stays readable through platform::GetCurrentThreadName and, for a
// tracked thread, in the registry. A null name does nothing.
void SetCurrentThreadName(const wchar_t* name);
// Waits up to `milliseconds` (k_infinite: no limit) for a thread handle to end: 0 when it has
// ended, 258 on time-out, else the error number (6 for a null handle).
unsigned int WaitForThread(void* const& thread, unsigned int milliseconds);
// Stores the calling thread as the main thread and names it "main".
void SaveMainThread();
// The identifier stored by SaveMainThread, 0 before it.
unsigned long GetMainThreadId();
// Whether the calling thread is the saved main thread (false for every thread before SaveMainThread).
bool IsMainThread();

namespace priv {
// Adds the calling thread to the registry with an empty name; a thread already there keeps its name.
void TrackCurrentThread();
// Removes the calling thread's entry, if any.
void UntrackCurrentThread();
// Names the calling thread's entry with the full name; an untracked thread gets no entry.
void NameCurrentTrackedThread(const wchar_t* name);
// True when no thread is tracked. Otherwise false; the message listing the threads (see
// TrackedThreadMessage) is built and dropped on purpose: the library has no log to write it to.
bool CheckTrackedThreadCount();
// The message CheckTrackedThreadCount builds, empty when no thread is tracked:
// "Expected 0 child thread at this point, count was N:" then "\n<name> (thread id: <hex id>)" per
// thread in order of identifier, names in UTF-8.
std::string TrackedThreadMessage();
}  // namespace priv

namespace platform {

using ThreadFunction = void (*)(void* argument);

// The system identifier of the calling thread (its kernel thread id).
uint32_t GetCurrentThreadId() noexcept;
// The full name last given to the calling thread by SetCurrentThreadName (empty when none).
std::wstring GetCurrentThreadName();
// The name the system holds for the calling thread (at most 15 bytes of UTF-8).
std::string GetCurrentThreadSystemName();
// Starts `function(argument)` on a new thread with the given stack size (0: the default). Returns a
// handle that WaitForThread and WaitForMultipleEventsEx accept, signalled once the function has
// returned; null on failure with the last error set.
void* CreateThread(ThreadFunction function, void* argument, size_t stackSize) noexcept;
// Releases a thread handle and sets it to null: a thread that has ended is joined, a running one
// goes on alone (as closing a handle does not stop a thread). A null handle does nothing.
void CloseThreadHandle(void*& thread) noexcept;
// Lowers the calling thread's scheduling priority for background work; failures are ignored.
void SetCurrentThreadBackground() noexcept;

}  // namespace platform

}  // namespace lu
