// Child processes with redirected standard handles, the pipes between them, and facts about the
// running process.
//
// On this system: the command line is split by the Windows rules (lu::SplitCommandLine); a
// program name with a '\' or a drive is a Windows-grammar path mapped to the disk, any other is
// looked up on PATH. Children start with posix_spawn and are waited on through a pidfd. A
// handle here is a descriptor (or, for the thread slot, the child's process id) stored plus one,
// so that null is never a valid handle. Every descriptor that is not close-on-exec reaches the
// child, as every inheritable handle does on Windows; the private ends made by
// DuplicateProcessIORedirectHandle do not. There are no windows, so `showWindow` changes nothing.
#pragma once

#include <nybase/text/CStdStr.h>

namespace lu {

// A started child: the process handle (waitable) and the main thread's.
struct Process {
  void* m_hProcess = nullptr;
  void* m_hThread = nullptr;
};

// The child's standard handles, in this order: error, output, input. A null handle gives the
// child /dev/null for that stream.
struct ProcessIORedirect {
  void* m_hStdError = nullptr;
  void* m_hStdOutput = nullptr;
  void* m_hStdInput = nullptr;
};

enum ProcessError : int {
  ProcessErrorNone = 0,
  ProcessErrorOther = 1,
  ProcessErrorNotFound = 2,
  ProcessErrorAccessDenied = 3,
  ProcessErrorTooManyOpenFiles = 4,
};

// Which cores GetCurrentProcessCoreCount counts: 2 counts none (this system tells no efficiency
// cores apart), every other value all the cores the process may run on.
enum CpuCoreType : int {
  CpuCoreTypeAll = 0,
  CpuCoreTypePerformance = 1,
  CpuCoreTypeEfficiency = 2,
};

// Starts the program of `commandLine` with its arguments, sharing this process's standard
// handles. Fills `process` (null handles on failure) and returns whether it started;
// GetLastProcessError then says why not.
bool CreateProcessW(const CStdStr<wchar_t>& commandLine, Process& process, bool showWindow);
// The same with the child's standard handles taken from `redirect`.
bool CreateProcessW(const CStdStr<wchar_t>& commandLine, Process& process, const ProcessIORedirect& redirect,
                    bool showWindow);
// Closes both handles without waiting and without ending the child; reaps it if it has ended. A
// child still running goes on, and once it ends it stays a zombie until this process ends (no
// handle is left to wait on it): wait before closing where that matters.
void CloseProcess(Process& process);
// Waits up to `milliseconds` (0xFFFFFFFF: no limit) for the child to end. 0 when it has, and
// then `exitCode` is its exit code (128 + the signal for a child a signal ended); 258 on time-out
// and otherwise the error number, with `exitCode` untouched.
unsigned int WaitForProcess(Process& process, unsigned int milliseconds, unsigned int& exitCode);
// Waits without limit.
void WaitForProcess(Process& process);
// Waits without limit and fetches the exit code.
void WaitForProcess(Process& process, unsigned int& exitCode);
// The thread's last error as a process error: 2 and 3 not found, 5 access denied, 4 too many
// open files, 0 none, anything else other.
ProcessError GetLastProcessError();
// A pseudo handle that stands for this process.
void* GetCurrentProcess();
unsigned int GetCurrentProcessId();
// The cores the process may run on (its affinity), or 0 for CpuCoreTypeEfficiency or on failure.
unsigned int GetCurrentProcessCoreCount(CpuCoreType type);

// An anonymous pipe, both ends inheritable by children. Reports nothing: on failure both are null.
void CreateProcessIORedirectPipe(void*& read, void*& write);
// A private (not inherited) copy of `source` in `duplicate`; `source` is closed and nulled. On
// failure `duplicate` is null and `source` is left as it was.
void DuplicateProcessIORedirectHandle(void*& source, void*& duplicate);
// Closes the handle and nulls it; a null handle is ignored.
void CloseProcessIORedirectHandle(void*& handle);
// How many bytes a read of the pipe gets at once; false on failure.
bool GetAvailableBytesInPipe(void* pipe, unsigned long& available);
// One read: blocks until data is there; `done` 0 at the end of the pipe. False on failure.
bool ReadFromIORedirectHandle(void* handle, char* buffer, unsigned long size, unsigned long& done);
bool ReadFromProcessIORedirectHandle(void*& handle, void* buffer, unsigned int size, unsigned int& done);
// One write; a pipe whose reader has gone gives false (the process is not killed by SIGPIPE).
bool WriteToIORedirectHandle(void* handle, const char* buffer, unsigned long size, unsigned long& done);
bool WriteToProcessIORedirectHandle(void*& handle, const void* buffer, unsigned int size, unsigned int& done);

}  // namespace lu
