// POSIX backend of the fatal-signal services: sigaction on an alternate stack, and raw system
// calls (no stdio, no malloc, no locks) for everything the handler does.
#include <nybase/platform/CrashHandler.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

namespace lu::platform {

namespace {

constexpr int k_signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP};
constexpr size_t k_altStackSize = 256 * 1024;

CrashCallback g_callback = nullptr;
struct sigaction g_previous[sizeof(k_signals) / sizeof(k_signals[0])];
// The thread that is inside the callback (0: none), to tell a fault inside it from a first one.
std::atomic<int> g_handlingThread{0};

uint32_t WindowsError(int e) {
  switch (e) {
    case EEXIST: return 80;
    case ENOENT: return 2;
    case ENOTDIR: return 3;
    case EACCES: case EPERM: case EROFS: return 5;
    case ENOSPC: case EDQUOT: return 112;
    case ENOMEM: case EMFILE: case ENFILE: return 1450;
    default: return 87;
  }
}

int IndexOfSignal(int sig) {
  for (size_t i = 0; i < sizeof(k_signals) / sizeof(k_signals[0]); ++i) {
    if (k_signals[i] == sig) return static_cast<int>(i);
  }
  return -1;
}

// Ends the process with `sig`: default action, signal unblocked, raised again. A fault that
// came from the hardware would also repeat when the handler returns.
void DieWith(int sig) {
  struct sigaction dfl;
  std::memset(&dfl, 0, sizeof dfl);
  dfl.sa_handler = SIG_DFL;
  sigemptyset(&dfl.sa_mask);
  sigaction(sig, &dfl, nullptr);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, sig);
  sigprocmask(SIG_UNBLOCK, &set, nullptr);
  raise(sig);
}

void Handler(int sig, siginfo_t* info, void* ucontext) {
  const int savedErrno = errno;
  const int tid = CrashThreadId();
  int expected = 0;
  const bool first = g_handlingThread.compare_exchange_strong(expected, tid);
  if (!first && expected == tid) {
    DieWith(sig);  // a fault inside our own handler: give up at once
    return;
  }
  // A second thread that crashes meanwhile runs the callback too, on purpose: the files it
  // creates exclusively keep the two apart.
  CrashSignal s;
  s.signalNumber = sig;
  s.exceptionCode = ExceptionCodeForSignal(sig);
  s.threadId = tid;
  s.context = ucontext;
  if (ucontext != nullptr) {
    const auto* uc = static_cast<const ucontext_t*>(ucontext);
#if defined(__x86_64__)
    s.programCounter = static_cast<uint64_t>(uc->uc_mcontext.gregs[REG_RIP]);
#elif defined(__aarch64__)
    s.programCounter = uc->uc_mcontext.pc;
#endif
  }
  s.faultAddress = s.programCounter;
  if ((sig == SIGSEGV || sig == SIGBUS) && info != nullptr) {
    s.faultAddress = reinterpret_cast<uint64_t>(info->si_addr);
  }
  const long result = g_callback != nullptr ? g_callback(s) : 1;
  if (first) g_handlingThread.store(0);
  errno = savedErrno;
  const int index = IndexOfSignal(sig);
  if (result == 0 && index >= 0) {
    // Continue the search: the handler that was there before ours, if any.
    const struct sigaction& prev = g_previous[index];
    if ((prev.sa_flags & SA_SIGINFO) != 0 && prev.sa_sigaction != nullptr) {
      prev.sa_sigaction(sig, info, ucontext);
      return;
    }
    if ((prev.sa_flags & SA_SIGINFO) == 0 && prev.sa_handler != SIG_DFL && prev.sa_handler != SIG_IGN) {
      prev.sa_handler(sig);
      return;
    }
  }
  DieWith(sig);
}

// Appends the UTF-8 of one code point; false when it does not fit.
bool PutUtf8(uint32_t cp, char* out, size_t size, size_t& pos) {
  char b[4];
  size_t n;
  if (cp < 0x80) { b[0] = static_cast<char>(cp); n = 1; }
  else if (cp < 0x800) { b[0] = static_cast<char>(0xC0 | (cp >> 6)); b[1] = static_cast<char>(0x80 | (cp & 0x3F)); n = 2; }
  else if (cp < 0x10000) {
    b[0] = static_cast<char>(0xE0 | (cp >> 12)); b[1] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    b[2] = static_cast<char>(0x80 | (cp & 0x3F)); n = 3;
  } else {
    b[0] = static_cast<char>(0xF0 | (cp >> 18)); b[1] = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    b[2] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F)); b[3] = static_cast<char>(0x80 | (cp & 0x3F)); n = 4;
  }
  if (pos + n > size) return false;
  for (size_t i = 0; i < n; ++i) out[pos++] = b[i];
  return true;
}

// Reads the code point of UTF-16 units at `i`, advancing it; lone surrogates give U+FFFD.
uint32_t NextUnit(const wchar_t* text, size_t count, size_t& i) {
  const uint32_t u = static_cast<uint32_t>(text[i++]) & 0xFFFF;
  if (u >= 0xD800 && u < 0xDC00 && i < count) {
    const uint32_t v = static_cast<uint32_t>(text[i]) & 0xFFFF;
    if (v >= 0xDC00 && v < 0xE000) {
      ++i;
      return 0x10000 + ((u - 0xD800) << 10) + (v - 0xDC00);
    }
  }
  return (u >= 0xD800 && u < 0xE000) ? 0xFFFD : u;
}

const char* KindOf(mode_t mode) {
  if (S_ISREG(mode)) return "File";
  if (S_ISDIR(mode)) return "Directory";
  if (S_ISFIFO(mode)) return "Pipe";
  if (S_ISSOCK(mode)) return "Socket";
  if (S_ISCHR(mode) || S_ISBLK(mode)) return "Device";
  return "Other";
}

uint64_t ParseHex(const char*& p, const char* end) {
  uint64_t v = 0;
  while (p < end) {
    const char c = *p;
    int d;
    if (c >= '0' && c <= '9') d = c - '0';
    else if (c >= 'a' && c <= 'f') d = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F') d = c - 'A' + 10;
    else break;
    v = (v << 4) | static_cast<uint64_t>(d);
    ++p;
  }
  return v;
}

}  // namespace

uint32_t ExceptionCodeForSignal(int signalNumber) {
  switch (signalNumber) {
    case SIGSEGV: case SIGBUS: return 0xC0000005u;
    case SIGFPE: return 0xC0000094u;
    case SIGILL: return 0xC000001Du;
    case SIGABRT: return 0xC0000409u;
    case SIGTRAP: return 0x80000003u;
    default: return 0;
  }
}

bool InstallCrashHandler(CrashCallback callback) {
  g_callback = callback;
  // The alternate stack is mapped once and kept for the life of the process.
  static void* s_stack = nullptr;
  if (s_stack == nullptr) {
    void* p = mmap(nullptr, k_altStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p != MAP_FAILED) s_stack = p;
  }
  if (s_stack != nullptr) {
    stack_t ss;
    std::memset(&ss, 0, sizeof ss);
    ss.ss_sp = s_stack;
    ss.ss_size = k_altStackSize;
    sigaltstack(&ss, nullptr);
  }
  bool ok = true;
  for (size_t i = 0; i < sizeof(k_signals) / sizeof(k_signals[0]); ++i) {
    struct sigaction sa;
    std::memset(&sa, 0, sizeof sa);
    sa.sa_sigaction = Handler;
    sa.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&sa.sa_mask);
    struct sigaction prev;
    if (sigaction(k_signals[i], &sa, &prev) != 0) {
      ok = false;
      continue;
    }
    // A second install keeps the handler that was there before the first one.
    if (prev.sa_sigaction != Handler) g_previous[i] = prev;
  }
  return ok;
}

void CrashWriteStderr(const char* text, size_t size) {
  while (size > 0) {
    const ssize_t n = write(2, text, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    text += n;
    size -= static_cast<size_t>(n);
  }
}

int CrashCreateNewFile(const char* path, uint32_t& error) {
  const int fd = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  error = fd < 0 ? WindowsError(errno) : 0;
  return fd;
}

bool CrashWriteFile(int fd, const void* data, size_t size, uint32_t& error) {
  const char* p = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t n = write(fd, p, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      error = n < 0 ? WindowsError(errno) : 112;
      return false;
    }
    p += n;
    size -= static_cast<size_t>(n);
  }
  error = 0;
  return true;
}

bool CrashWriteMemory(int fd, uint64_t address, size_t size, uint32_t& error) {
  // write(2) reads the source in the kernel, so an unmapped page gives EFAULT, not a fault.
  return CrashWriteFile(fd, reinterpret_cast<const void*>(static_cast<uintptr_t>(address)), size, error);
}

bool CrashCloseFile(int fd, uint32_t& error) {
  error = 0;
  if (fsync(fd) != 0 && errno != EINVAL) error = WindowsError(errno);
  if (close(fd) != 0 && error == 0) error = WindowsError(errno);
  return error == 0;
}

void CrashDeleteFile(const char* path) { unlink(path); }

void CrashCreateDirectory(const char* path) { mkdir(path, 0755); }

bool CrashToNativePath(const wchar_t* path, char* out, size_t size) {
  size_t count = 0;
  while (path[count] != 0) ++count;
  size_t i = 0;
  if (count >= 4 && path[0] == L'\\' && (path[1] == L'\\' || path[1] == L'?') && path[2] == L'?' &&
      path[3] == L'\\') {
    i = 4;
  }
  if (count - i >= 2 && (path[i] == L'Z' || path[i] == L'z') && path[i + 1] == L':') i += 2;
  size_t pos = 0;
  while (i < count) {
    uint32_t cp = NextUnit(path, count, i);
    if (cp == '\\') cp = '/';
    if (!PutUtf8(cp, out, size, pos)) return false;
  }
  if (pos >= size) return false;
  out[pos] = '\0';
  return true;
}

size_t CrashUtf8ToUtf16(const char* text, size_t count, wchar_t* out, size_t size) {
  size_t pos = 0;
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  const auto* end = p + count;
  while (p < end) {
    uint32_t cp = 0xFFFD;
    int extra = 0;
    const unsigned char c = *p++;
    if (c < 0x80) { cp = c; }
    else if ((c & 0xE0) == 0xC0) { cp = c & 0x1F; extra = 1; }
    else if ((c & 0xF0) == 0xE0) { cp = c & 0x0F; extra = 2; }
    else if ((c & 0xF8) == 0xF0) { cp = c & 0x07; extra = 3; }
    else { extra = -1; }
    for (int k = 0; k < extra; ++k) {
      if (p >= end || (*p & 0xC0) != 0x80) { extra = -1; break; }
      cp = (cp << 6) | (*p++ & 0x3F);
    }
    if (extra < 0 || cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) cp = 0xFFFD;
    const size_t need = cp >= 0x10000 ? 2 : 1;
    if (pos + need >= size) break;
    if (cp >= 0x10000) {
      out[pos++] = static_cast<wchar_t>(0xD800 + ((cp - 0x10000) >> 10));
      out[pos++] = static_cast<wchar_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      out[pos++] = static_cast<wchar_t>(cp);
    }
  }
  out[pos] = 0;
  return pos;
}

bool CrashFromNativePath(const char* path, wchar_t* out, size_t size) {
  size_t count = 0;
  while (path[count] != '\0') ++count;
  const bool absolute = count > 0 && path[0] == '/';
  const size_t skip = absolute ? 2 : 0;
  if (size <= skip + 1) return false;
  const size_t n = CrashUtf8ToUtf16(path, count, out + skip, size - skip);
  // A result that reaches the last unit may have been cut short: treated as not fitting.
  if (skip + n + 2 >= size) return false;
  if (absolute) {
    out[0] = L'Z';
    out[1] = L':';
  }
  for (size_t i = skip; i < skip + n; ++i) {
    if (out[i] == L'/') out[i] = L'\\';
  }
  return true;
}

size_t CrashUtf16ToUtf8(const wchar_t* text, size_t count, char* out, size_t size) {
  size_t pos = 0;
  size_t i = 0;
  while (i < count) {
    if (!PutUtf8(NextUnit(text, count, i), out, size, pos)) break;
  }
  return pos;
}

int CrashListDescriptors(void* buffer, size_t size, DescriptorFn fn, void* user) {
  const int dir = open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) return 1;
  char* buf = static_cast<char*>(buffer);
  size_t used = 0;
  for (;;) {
    const long n = syscall(SYS_getdents64, dir, buf + used, size - used);
    if (n == 0) break;
    if (n < 0) {
      const int e = errno;
      close(dir);
      return e == EINVAL ? 2 : 3;  // EINVAL: the next entry does not fit what is left
    }
    used += static_cast<size_t>(n);
    if (used == size) {
      char probe[512];
      const long more = syscall(SYS_getdents64, dir, probe, sizeof probe);
      if (more != 0) {
        close(dir);
        return more > 0 ? 2 : 3;
      }
      break;
    }
  }
  struct Dirent64 {
    uint64_t ino;
    int64_t off;
    unsigned short reclen;
    unsigned char type;
    char name[1];
  };
  size_t off = 0;
  while (off + offsetof(Dirent64, name) < used) {
    const auto* d = reinterpret_cast<const Dirent64*>(buf + off);
    if (d->reclen == 0) break;
    off += d->reclen;
    int fd = 0;
    const char* q = d->name;
    if (*q < '0' || *q > '9') continue;
    while (*q >= '0' && *q <= '9') fd = fd * 10 + (*q++ - '0');
    if (fd == dir) continue;
    struct stat st;
    const char* kind = fstat(fd, &st) == 0 ? KindOf(st.st_mode) : "Other";
    char target[4096];
    const ssize_t len = readlinkat(dir, d->name, target, sizeof target);
    fn(user, fd, kind, len < 0 ? nullptr : target, len < 0 ? 0 : static_cast<size_t>(len));
  }
  close(dir);
  return 0;
}

size_t CrashReadMaps(char* buffer, size_t size) {
  const int fd = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  size_t used = 0;
  while (used < size) {
    const ssize_t n = read(fd, buffer + used, size - used);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    used += static_cast<size_t>(n);
  }
  close(fd);
  // Keep whole lines only.
  while (used > 0 && buffer[used - 1] != '\n') --used;
  return used;
}

bool CrashFindModule(uint64_t address, void* buffer, size_t size, char* out, size_t outSize) {
  char* text = static_cast<char*>(buffer);
  const size_t used = CrashReadMaps(text, size);
  const char* p = text;
  const char* end = text + used;
  while (p < end) {
    const char* lineEnd = p;
    while (lineEnd < end && *lineEnd != '\n') ++lineEnd;
    const char* q = p;
    const uint64_t start = ParseHex(q, lineEnd);
    if (q < lineEnd && *q == '-') ++q;
    const uint64_t stop = ParseHex(q, lineEnd);
    if (address >= start && address < stop) {
      const char* path = q;
      while (path < lineEnd && *path != '/') ++path;  // the path is the first field that starts with '/'
      const size_t n = static_cast<size_t>(lineEnd - path);
      if (n == 0 || n + 1 > outSize) return false;
      std::memcpy(out, path, n);
      out[n] = '\0';
      return true;
    }
    p = lineEnd + 1;
  }
  return false;
}

bool CrashExecutablePath(char* out, size_t size) {
  const ssize_t n = readlink("/proc/self/exe", out, size);
  if (n <= 0 || static_cast<size_t>(n) >= size) return false;
  out[n] = '\0';
  return true;
}

int CrashProcessId() { return static_cast<int>(syscall(SYS_getpid)); }
int CrashThreadId() { return static_cast<int>(syscall(SYS_gettid)); }

}  // namespace lu::platform
