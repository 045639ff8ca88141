// CrashDump: the process's last line of defence. One object, made early, installs the fatal
// exception filters; at a crash they write a handle list, the crashed module's name and a
// minidump into <app data>\Marvolt\<app name>\, then hand over to the reporter, or to standard
// error in command-line mode.
//
// On this system:
// - The filters run from one signal handler (sigaction on an alternate stack) for SIGSEGV,
//   SIGBUS, SIGFPE, SIGILL, SIGABRT and SIGTRAP, with the exception codes 0xC0000005 (SIGSEGV,
//   SIGBUS), 0xC0000094, 0xC000001D, 0xC0000409 (SIGABRT) and 0x80000003. VectoredTopLevelFilter
//   runs first and passes only 0xC0000374 and 0xC0000409 on; glibc's heap-corruption report and
//   the stack protector both abort, so both arrive as SIGABRT. When it gives 0, TopLevelFilter
//   runs as the unhandled-exception filter.
// - Result 1 ends the process with the signal's default action; 0 continues the search, that is
//   the handler installed before this object runs, or the default action when there was none.
// - The handle list holds the open descriptors of /proc/self/fd: "[0x3] File: /tmp/x.log". The
//   handle-table lookup of ntdll has nothing to look up here and always succeeds.
// - The crashed module is the file of the mapping that holds the faulting program counter, in
//   Windows grammar ("Z:\usr\lib\...").
// - The minidump is the standard layout of a Linux dump (see platform/MinidumpWriter.h): lldb
//   opens it with the executable and libraries from the disk.
// - A GUI mode's message box has no counterpart: its text goes to standard error.
// - The reporter "ErrorReporter.exe" beside the executable is started through lu::CreateProcessW;
//   that launch is the one step that allocates. Step 4 closes the registered streams with fclose,
//   which is not async-signal-safe: it runs because the application asked for it.
// Everything else in the filters works from stack buffers and the block taken at construction:
// no allocation, no lock, no stdio. Limits of the block: the descriptor listing reads all of
// /proc/self/fd into it at once (10,000 descriptors take about 0.3 MiB); when the entries do
// not fit, nothing is listed and the file says "(size larger than 20 MB)". The dump keeps the
// maps text to a quarter of the block and leaves out the modules that no longer fit, from the
// end of the list; the stack is copied straight from memory, at most 8 MiB of it.
// Under AddressSanitizer, run with handle_segv=0:handle_abort=0:handle_sigill=0:
// handle_sigfpe=0:allow_user_segv_handler=1:use_sigaltstack=0 so that this handler is the one
// installed and threads do not get the runtime's small alternate stacks.
#pragma once

#include <cstdio>
#include <set>

#include <nybase/base/NyGuid.h>
#include <nybase/platform/CrashHandler.h>

using EXCEPTION_POINTERS = lu::platform::CrashSignal;

class CrashDump {
 public:
  static constexpr size_t DUMP_BUFFER_SIZE = 0x1400000;

  // Takes the session GUID (a new one when all zero), copies the names (the app name to 255
  // units, the paths to 1023; null paths stay empty), sets the dump root to
  // <app data>\Marvolt, takes the 20 MiB block and installs the filters. A failed block leaves
  // it null: the handle list and the dump then report their failure texts at a crash.
  CrashDump(const wchar_t* appName, const wchar_t* analyticsAnonymousDirectory,
            const wchar_t* analyticsLogsDirectory, const NyGuid& sessionGuid);
  // Frees the block; the filters stay installed.
  ~CrashDump();
  CrashDump(const CrashDump&) = delete;
  CrashDump& operator=(const CrashDump&) = delete;

  // Registers a log stream to be closed at a crash; null is ignored. Not locked: register at
  // start and end only.
  static void AddFileToFlush(FILE* file);
  static void RemoveFileToFlush(FILE* file);
  // Command-line mode: the final text goes to standard error, no reporter starts, result 1.
  static void SetIsCommandLine(bool isCommandLine);

 private:
  static long TopLevelFilter(EXCEPTION_POINTERS* ep);
  static long VectoredTopLevelFilter(EXCEPTION_POINTERS* ep);
  static long OnSignal(const lu::platform::CrashSignal& signal);

  static bool m_bIsCommandLine;
  static wchar_t s_szAppName[256];
  static wchar_t s_dumpDirectory[1024];
  static unsigned char* s_dumpBuffer;
  static wchar_t s_analyticsAnonymousDirectory[1024];
  static wchar_t s_analyticsLogsDirectory[1024];
  static NyGuid m_guidSession;
  static std::set<FILE*> s_filesToFlush;
};
