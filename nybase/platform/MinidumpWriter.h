// A minidump of the crashing thread, written from inside the fatal-signal handler.
//
// The file has the standard minidump layout: header, stream directory, then the system info
// (Linux on x86-64), the exception (its code is the signal number, as debuggers read a Linux
// dump), the crashing thread with its registers and stack, a memory list holding that stack,
// the module list (one entry per mapped file, with its GNU build id when the ELF note is
// readable), the text of /proc/self/maps and the process status (its pid). Only the crashing
// thread is recorded: the others cannot be stopped and read from a signal handler.
#pragma once

#include <cstddef>
#include <cstdint>

#include <nybase/platform/CrashHandler.h>

namespace lu::platform {

// The most stack recorded for the crashing thread, from its stack pointer (less the 128-byte red
// zone) upward; deeper frames are left out of the dump.
constexpr size_t k_minidumpMaxStack = 8 * 1024 * 1024;

// Writes the dump of `signal` to `fd`. Every record is assembled in `buffer` (nothing is
// allocated); the stack is copied from memory straight to the file. What does not fit `buffer`
// is left out: the maps text first, then modules from the end of the list. False (with `error`
// the Windows error number of the failed write) when the file cannot be written, or 87 when
// the buffer cannot hold even the fixed records.
bool WriteMinidump(int fd, const CrashSignal& signal, void* buffer, size_t size, uint32_t& error);

}  // namespace lu::platform
