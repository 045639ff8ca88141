// Child processes, pipes, the environment, the user, well-known folders and shared libraries: the
// operating-system services behind the library's process functions, on descriptors and UTF-8.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace lu::platform {

// A started child: its process id and a pidfd that becomes readable when it exits.
struct ChildProcess {
  int pid = -1;
  int pidfd = -1;
};

// Starts `argv[0]` with the arguments `argv` (UTF-8). A program name with no '/' is looked up on
// PATH. `stdio`, when given, holds the descriptors for the child's standard input, output and
// error, in that order (-1: /dev/null); otherwise the child shares this process's. Every descriptor of this
// process that is not close-on-exec reaches the child. False on failure with the last error set
// (2 not found, 5 access denied or a directory, 4 too many open files, 87 otherwise).
bool SpawnProcess(const std::vector<std::string>& argv, const int* stdio, ChildProcess& child);

// Waits up to `milliseconds` (0xFFFFFFFF: without limit) for the child to exit. 0 when it has,
// 258 on time-out, otherwise the error number. The child is not reaped, so its exit code can be
// asked for any number of times until CloseChild.
uint32_t WaitChild(const ChildProcess& child, uint32_t milliseconds);
// The exit status of an exited child: its exit code, or 128 + the signal that ended it (as shells
// report it). False while it runs or on failure.
bool GetChildExitCode(const ChildProcess& child, uint32_t& exitCode);
// Closes the pidfd, reaping the child if it has exited; a running child goes on unwaited.
void CloseChild(ChildProcess& child);

// An anonymous pipe whose two ends are inherited by children; false with the last error set.
bool CreateInheritablePipe(int& readEnd, int& writeEnd);
// A close-on-exec duplicate of `fd` (so children never see it); -1 with the last error set.
int DuplicatePrivate(int fd);
// Closes a descriptor; -1 is ignored.
void CloseDescriptor(int fd);
// Bytes a read of the pipe would get at once; false with the last error set.
bool PipeBytesAvailable(int fd, uint32_t& available);
// One read(2): blocks until data is there; `done` is 0 at the end of the pipe. False on error.
bool ReadDescriptor(int fd, void* buffer, uint32_t size, uint32_t& done);
// One write(2). A pipe whose reader has gone gives false with error 109 (broken pipe); the
// process is never killed by SIGPIPE for it.
bool WriteDescriptor(int fd, const void* buffer, uint32_t size, uint32_t& done);

// Runs one command line through the system's shell (system(3)); its exit status, -1 on failure.
int RunShellCommand(const std::string& commandLine);

// The environment variable's value (UTF-8); false when it is not set.
bool GetEnvironmentVariable(const std::string& name, std::string& value);
// setenv(3): 0, or the errno (EINVAL for an empty name or one that holds '=').
int SetEnvironmentVariable(const std::string& name, const std::string& value, bool overwrite);
// Every "NAME=value" entry of the environment, as it stands.
std::vector<std::string> GetEnvironmentEntries();

// The name of the user the process runs as (effective user); empty when unknown.
std::string GetUserName();
// The temporary folder: TMPDIR when set and absolute, otherwise /tmp; native, no trailing '/'.
std::string GetTempDirectory();
// The native path of the running executable; empty on failure.
std::string GetExecutableFile();
// Whether the native path names an existing directory.
bool IsDirectory(const std::string& native);

// The number of processors the process may run on (its affinity mask); 0 on failure.
unsigned int GetAffinityProcessorCount();
// The process id.
uint32_t GetProcessId();

// dlopen(3) with RTLD_NOW; null on failure (the reason through GetLoadError).
void* OpenLibrary(const std::string& native);
// dlclose(3); false for null or on failure.
bool CloseLibrary(void* library);
// dlsym(3); null for a null library or a missing name.
void* FindSymbol(void* library, const char* name);
// The text of the calling thread's last library failure, or empty.
std::string GetLoadError();

}  // namespace lu::platform
