// POSIX backend of the process services: posix_spawn with a pidfd, pipes, environ, dlopen.
#include <nybase/platform/Process.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <nybase/platform/LastError.h>

extern char** environ;

namespace lu::platform {

namespace {

#ifndef P_PIDFD
constexpr idtype_t P_PIDFD = static_cast<idtype_t>(3);
#endif

constexpr uint32_t k_errorTooManyOpenFiles = 4;
constexpr uint32_t k_errorBrokenPipe = 109;
constexpr uint32_t k_infinite = 0xFFFFFFFFu;

thread_local std::string t_loadError;

// The process services report a full descriptor table as Windows' "too many open files".
void FailSpawn(int err) {
  SetLastError(err == EMFILE || err == ENFILE ? k_errorTooManyOpenFiles : ErrorFromErrno(err));
}

int PidfdOpen(int pid) { return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)); }

// Milliseconds left before `deadline` on the monotonic clock, at least 0.
int MillisecondsUntil(const timespec& deadline) {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  const long long ms = (deadline.tv_sec - now.tv_sec) * 1000LL + (deadline.tv_nsec - now.tv_nsec) / 1000000LL;
  return ms <= 0 ? 0 : static_cast<int>(ms > INT_MAX ? INT_MAX : ms);
}

}  // namespace

bool SpawnProcess(const std::vector<std::string>& argv, const int* stdio, ChildProcess& child) {
  child = ChildProcess{};
  if (argv.empty() || argv[0].empty()) {
    SetLastError(k_errorFileNotFound);
    return false;
  }
  std::vector<char*> args;
  args.reserve(argv.size() + 1);
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (stdio != nullptr) {
    for (int target = 0; target < 3; ++target) {
      if (stdio[target] >= 0) {
        posix_spawn_file_actions_adddup2(&actions, stdio[target], target);
      } else {
        posix_spawn_file_actions_addopen(&actions, target, "/dev/null", O_RDWR, 0);
      }
    }
  }
  // A path that names a directory would be refused with EACCES by exec; say so before starting.
  int pid = -1;
  int err = 0;
  if (argv[0].find('/') != std::string::npos && IsDirectory(argv[0])) {
    err = EACCES;
  } else {
    err = argv[0].find('/') != std::string::npos
              ? ::posix_spawn(&pid, argv[0].c_str(), &actions, nullptr, args.data(), environ)
              : ::posix_spawnp(&pid, argv[0].c_str(), &actions, nullptr, args.data(), environ);
  }
  posix_spawn_file_actions_destroy(&actions);
  if (err != 0) {
    FailSpawn(err);
    return false;
  }
  child.pid = pid;
  child.pidfd = PidfdOpen(pid);
  if (child.pidfd < 0) {
    // Without a pidfd the child cannot be waited on through this interface: end it cleanly.
    const int openErr = errno;
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
    child = ChildProcess{};
    FailSpawn(openErr);
    return false;
  }
  return true;
}

uint32_t WaitChild(const ChildProcess& child, uint32_t milliseconds) {
  if (child.pidfd < 0) return SetLastErrorFromErrno(EBADF);
  timespec deadline{};
  ::clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += milliseconds / 1000;
  deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000L;
  if (deadline.tv_nsec >= 1000000000L) {
    ++deadline.tv_sec;
    deadline.tv_nsec -= 1000000000L;
  }
  for (;;) {
    pollfd p{child.pidfd, POLLIN, 0};
    const int timeout = milliseconds == k_infinite ? -1 : MillisecondsUntil(deadline);
    const int ready = ::poll(&p, 1, timeout);
    if (ready > 0) return 0;
    if (ready == 0) return k_waitTimeout;
    if (errno != EINTR) return SetLastErrorFromErrno(errno);
  }
}

bool GetChildExitCode(const ChildProcess& child, uint32_t& exitCode) {
  siginfo_t info{};
  // WNOWAIT keeps the child a zombie, so the code can be asked again until CloseChild.
  if (child.pidfd < 0 || ::waitid(P_PIDFD, static_cast<id_t>(child.pidfd), &info, WEXITED | WNOHANG | WNOWAIT) != 0) {
    SetLastErrorFromErrno(child.pidfd < 0 ? EBADF : errno);
    return false;
  }
  if (info.si_pid == 0) return false;  // still running
  exitCode = info.si_code == CLD_EXITED ? static_cast<uint32_t>(info.si_status) : 128u + static_cast<uint32_t>(info.si_status);
  return true;
}

void CloseChild(ChildProcess& child) {
  if (child.pidfd >= 0) {
    siginfo_t info{};
    ::waitid(P_PIDFD, static_cast<id_t>(child.pidfd), &info, WEXITED | WNOHANG);
    ::close(child.pidfd);
  }
  child = ChildProcess{};
}

bool CreateInheritablePipe(int& readEnd, int& writeEnd) {
  int fds[2];
  if (::pipe(fds) != 0) {
    FailSpawn(errno);
    return false;
  }
  readEnd = fds[0];
  writeEnd = fds[1];
  return true;
}

int DuplicatePrivate(int fd) {
  const int copy = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
  if (copy < 0) SetLastErrorFromErrno(errno);
  return copy;
}

void CloseDescriptor(int fd) {
  if (fd >= 0) ::close(fd);
}

bool PipeBytesAvailable(int fd, uint32_t& available) {
  int n = 0;
  if (::ioctl(fd, FIONREAD, &n) != 0) {
    SetLastErrorFromErrno(errno);
    return false;
  }
  available = static_cast<uint32_t>(n);
  return true;
}

bool ReadDescriptor(int fd, void* buffer, uint32_t size, uint32_t& done) {
  done = 0;
  for (;;) {
    const ssize_t n = ::read(fd, buffer, size);
    if (n >= 0) {
      done = static_cast<uint32_t>(n);
      return true;
    }
    if (errno != EINTR) {
      SetLastErrorFromErrno(errno);
      return false;
    }
  }
}

bool WriteDescriptor(int fd, const void* buffer, uint32_t size, uint32_t& done) {
  done = 0;
  // SIGPIPE is held back on this thread for the write, and a SIGPIPE that the write raised is
  // taken off the thread's pending set before the mask is restored: the caller sees a failed
  // write, and the process-wide disposition is never touched.
  sigset_t pipeOnly;
  sigset_t old;
  sigemptyset(&pipeOnly);
  sigaddset(&pipeOnly, SIGPIPE);
  sigset_t pending;
  sigpending(&pending);
  const bool alreadyPending = sigismember(&pending, SIGPIPE) == 1;
  pthread_sigmask(SIG_BLOCK, &pipeOnly, &old);
  ssize_t n;
  do {
    n = ::write(fd, buffer, size);
  } while (n < 0 && errno == EINTR);
  const int err = errno;
  if (n < 0 && err == EPIPE && !alreadyPending) {
    const timespec zero{0, 0};
    while (::sigtimedwait(&pipeOnly, nullptr, &zero) < 0 && errno == EINTR) {
    }
  }
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  if (n < 0) {
    SetLastError(err == EPIPE ? k_errorBrokenPipe : ErrorFromErrno(err));
    return false;
  }
  done = static_cast<uint32_t>(n);
  return true;
}

int RunShellCommand(const std::string& commandLine) {
  const int status = std::system(commandLine.c_str());
  if (status == -1) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool GetEnvironmentVariable(const std::string& name, std::string& value) {
  const char* v = std::getenv(name.c_str());
  if (v == nullptr) return false;
  value.assign(v);
  return true;
}

int SetEnvironmentVariable(const std::string& name, const std::string& value, bool overwrite) {
  return ::setenv(name.c_str(), value.c_str(), overwrite ? 1 : 0) == 0 ? 0 : errno;
}

std::vector<std::string> GetEnvironmentEntries() {
  std::vector<std::string> entries;
  for (char** e = environ; e != nullptr && *e != nullptr; ++e) entries.emplace_back(*e);
  return entries;
}

std::string GetUserName() {
  long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return {};
  return found->pw_name != nullptr ? found->pw_name : "";
}

std::string GetTempDirectory() {
  const char* dir = std::getenv("TMPDIR");
  std::string path = dir != nullptr && dir[0] == '/' ? dir : "/tmp";
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::string GetExecutableFile() {
  std::string path(PATH_MAX, '\0');
  for (;;) {
    const ssize_t n = ::readlink("/proc/self/exe", path.data(), path.size());
    if (n < 0) return {};
    if (static_cast<size_t>(n) < path.size()) {
      path.resize(static_cast<size_t>(n));
      return path;
    }
    path.resize(path.size() * 2);
  }
}

bool IsDirectory(const std::string& native) {
  struct stat st{};
  return ::stat(native.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

unsigned int GetAffinityProcessorCount() {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (::sched_getaffinity(0, sizeof(set), &set) != 0) return 0;
  return static_cast<unsigned int>(CPU_COUNT(&set));
}

uint32_t GetProcessId() { return static_cast<uint32_t>(::getpid()); }

void* OpenLibrary(const std::string& native) {
  void* library = ::dlopen(native.c_str(), RTLD_NOW);
  if (library == nullptr) {
    const char* why = ::dlerror();
    t_loadError = why != nullptr ? why : "";
    SetLastError(k_errorFileNotFound);
  }
  return library;
}

bool CloseLibrary(void* library) {
  if (library == nullptr) return false;
  if (::dlclose(library) == 0) return true;
  const char* why = ::dlerror();
  t_loadError = why != nullptr ? why : "";
  return false;
}

void* FindSymbol(void* library, const char* name) {
  if (library == nullptr || name == nullptr) return nullptr;
  ::dlerror();
  void* symbol = ::dlsym(library, name);
  if (symbol == nullptr) {
    const char* why = ::dlerror();
    t_loadError = why != nullptr ? why : "";
  }
  return symbol;
}

std::string GetLoadError() { return t_loadError; }

}  // namespace lu::platform
