// The fatal-signal services behind the crash dump: one handler on an alternate stack for the six
// fatal signals, and the async-signal-safe file, descriptor and mapping services it works with.
//
// Everything declared here except InstallCrashHandler may run inside a signal handler: it calls
// only async-signal-safe system calls, takes no lock and allocates nothing. Paths are native
// UTF-8 in caller buffers; text is written as it is given.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lu::platform {

// What the handler knows about the fault, handed to the crash callback.
struct CrashSignal {
  int signalNumber = 0;
  // The exception code the signal stands for: SIGSEGV and SIGBUS 0xC0000005, SIGFPE 0xC0000094,
  // SIGILL 0xC000001D, SIGABRT 0xC0000409, SIGTRAP 0x80000003.
  uint32_t exceptionCode = 0;
  // The program counter at the fault (0 when the context holds none).
  uint64_t programCounter = 0;
  // The faulting data address for SIGSEGV/SIGBUS, otherwise the program counter.
  uint64_t faultAddress = 0;
  int threadId = 0;
  // The interrupted thread's ucontext_t.
  void* context = nullptr;
};

// The callback's result: 1 ends the process with the signal's default action; 0 continues the
// search, that is the handler that was installed before ours runs (or the default action when
// there was none).
using CrashCallback = long (*)(const CrashSignal& signal);

// The exception code for a signal number; 0 for a signal that is not one of the six.
uint32_t ExceptionCodeForSignal(int signalNumber);

// Installs `callback` for SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT and SIGTRAP, with an
// alternate stack (256 KiB, mapped once and kept) for the calling thread. Other threads run the
// handler on their own stack (or on one a runtime gave them): a stack overflow there cannot be
// handled and ends the process with its signal. A fault inside the callback on the same thread
// ends the process at once with that signal. False when sigaction fails.
bool InstallCrashHandler(CrashCallback callback);

// ---- async-signal-safe services ------------------------------------------------------------------

// Writes all of `size` bytes to standard error; partial writes are retried.
void CrashWriteStderr(const char* text, size_t size);
// Creates a new file for writing only (O_CREAT|O_EXCL, mode 0644). The descriptor, or -1 with
// `error` set to the Windows error number (80 when it exists, 3 no folder, 5 denied, 112 full).
int CrashCreateNewFile(const char* path, uint32_t& error);
// Writes all bytes; false (with `error`) on a short or failed write.
bool CrashWriteFile(int fd, const void* data, size_t size, uint32_t& error);
// Writes `size` bytes of this process's memory from `address`; a range that is not mapped gives
// false instead of a fault (the kernel copies it).
bool CrashWriteMemory(int fd, uint64_t address, size_t size, uint32_t& error);
// fsync then close; false (with `error`) when either fails.
bool CrashCloseFile(int fd, uint32_t& error);
void CrashDeleteFile(const char* path);
// mkdir with mode 0755; the result is not reported (the caller does not check it).
void CrashCreateDirectory(const char* path);

// UTF-16 units (one per wchar_t) in Windows grammar to a native UTF-8 path: "Z:" and "\\?\" are
// dropped and "\" becomes "/". False when the result with its NUL does not fit `size`.
bool CrashToNativePath(const wchar_t* path, char* out, size_t size);
// A native path to Windows grammar ("/a/b" -> "Z:\a\b"), UTF-8 decoded into UTF-16 units.
// False when it does not fit.
bool CrashFromNativePath(const char* path, wchar_t* out, size_t size);
// UTF-8 bytes to UTF-16 units, NUL-terminated, cut at the last whole character that fits
// (ill-formed bytes become U+FFFD). The unit count written (without the NUL); `size` > 0.
size_t CrashUtf8ToUtf16(const char* text, size_t count, wchar_t* out, size_t size);
// UTF-16 units to UTF-8 (ill-formed units become U+FFFD). The byte count written (no NUL).
size_t CrashUtf16ToUtf8(const wchar_t* text, size_t count, char* out, size_t size);

// The process's open descriptors, read from /proc/self/fd into `buffer` in one pass with no
// retry. `fn` gets each descriptor (the directory's own descriptor left out), its kind ("File",
// "Directory", "Pipe", "Socket", "Device", "Other") and its target, or a null target when the
// link cannot be read. Result: 0 done, 1 the folder cannot be opened, 2 the entries need more
// than `size` bytes (nothing is listed), 3 another read error.
using DescriptorFn = void (*)(void* user, int fd, const char* kind, const char* target, size_t targetLength);
int CrashListDescriptors(void* buffer, size_t size, DescriptorFn fn, void* user);

// The file of the mapping in /proc/self/maps that holds `address`, read through `buffer`; false
// when no file-backed mapping holds it or the path does not fit `out`.
bool CrashFindModule(uint64_t address, void* buffer, size_t size, char* out, size_t outSize);
// The running executable (/proc/self/exe) into `out`; false when it does not fit.
bool CrashExecutablePath(char* out, size_t size);

// The bytes of /proc/self/maps read into `buffer`; the count, or 0 on failure. Text beyond
// `size` is left out.
size_t CrashReadMaps(char* buffer, size_t size);

// Process and thread identifiers.
int CrashProcessId();
int CrashThreadId();

}  // namespace lu::platform
