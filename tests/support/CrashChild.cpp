// A program that installs the crash dump and then crashes on purpose, for the crash tests.
// Usage: nybase_crash_child KIND GUID [OPTION...]
//   KIND: segv | fpe | abort | ill | trap | overflow (endless recursion on the main thread)
//   GUID: the braced session GUID, or "0" for the all-zero one
//   OPTION: cli (command-line mode), nullanon (null anonymous analytics path), open=PATH (keeps
//   PATH open), chain (a handler installed first, which prints "previous handler" and exits 3),
//   fds=N (opens N more descriptors), fsize=N (files larger than N bytes fail), bigstack (crashes
//   on a thread with a 64 MiB stack, 32 MiB of it in use), breakmalloc (calls the preloaded
//   shim's nybase_test_break_malloc before crashing), stamp (prints "stamp NS" with the
//   monotonic clock just before the crash), log=PATH (a buffered stream registered to be closed
//   at the crash), unlog=PATH (the same, registered and then removed again).
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <nybase/NYBase.h>
#include <nybase/files/CrashDump.h>

namespace {

const char* g_kind = "segv";
bool g_stamp = false;

__attribute__((noinline)) void NullWrite() {
  volatile int* p = nullptr;
  *p = 42;
}

volatile int g_zero = 0;

__attribute__((noinline)) int DivideByZero() { return 100 / g_zero; }

__attribute__((noinline)) int Overflow(volatile char* previous) {
  volatile char frame[1024];
  frame[0] = previous != nullptr ? previous[0] : 1;
  if (g_zero != 0) return frame[0];  // never: the recursion runs until the stack is gone
  return Overflow(frame) + frame[1];
}

__attribute__((noinline)) void Crash() {
  if (g_stamp) {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    std::fprintf(stderr, "stamp %lld\n", static_cast<long long>(ts.tv_sec) * 1000000000LL + ts.tv_nsec);
  }
  const std::string kind = g_kind;
  if (kind == "segv") NullWrite();
  if (kind == "fpe") std::printf("%d\n", DivideByZero());
  if (kind == "abort") std::abort();
  if (kind == "ill") __builtin_trap();
  if (kind == "trap") __asm__ volatile("int3");
  if (kind == "overflow") std::printf("%d\n", Overflow(nullptr));
}

__attribute__((noinline)) int Recurse(int depth, volatile char* previous) {
  volatile char frame[4096];
  frame[0] = previous != nullptr ? previous[0] : 1;
  if (depth == 0) {
    Crash();
    return frame[0];
  }
  return Recurse(depth - 1, frame) + frame[1];
}

void* BigStackThread(void*) {
  Recurse(32 * 1024 / 4, nullptr);  // about 32 MiB of frames
  return nullptr;
}

void PreviousHandler(int) {
  const char text[] = "previous handler\n";
  if (write(2, text, sizeof text - 1) < 0) _exit(4);
  _exit(3);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  g_kind = argv[1];
  const std::string guidText = argv[2];
  NyGuid guid{};
  if (guidText != "0") guid = StringHelp::ConvertStringToNyGuid(lu::BasicStringView<char>(guidText.c_str()));
  bool cli = false, nullAnon = false, bigStack = false, breakMalloc = false, stamp = false;
  for (int i = 3; i < argc; ++i) {
    const std::string opt = argv[i];
    if (opt == "cli") cli = true;
    if (opt == "nullanon") nullAnon = true;
    if (opt == "bigstack") bigStack = true;
    if (opt == "breakmalloc") breakMalloc = true;
    if (opt == "stamp") stamp = true;
    if (opt.rfind("open=", 0) == 0 && open(opt.c_str() + 5, O_RDONLY) < 0) return 2;
    if (opt == "chain") {
      struct sigaction sa {};
      sa.sa_handler = PreviousHandler;
      for (int sig : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP}) sigaction(sig, &sa, nullptr);
    }
    if (opt.rfind("fds=", 0) == 0) {
      const long n = std::atol(opt.c_str() + 4);
      struct rlimit rl {};
      getrlimit(RLIMIT_NOFILE, &rl);
      rl.rlim_cur = rl.rlim_max;
      setrlimit(RLIMIT_NOFILE, &rl);
      for (long k = 0; k < n; ++k) {
        if (dup(2) < 0) return 2;
      }
    }
    if (opt.rfind("fsize=", 0) == 0) {
      signal(SIGXFSZ, SIG_IGN);
      struct rlimit rl {};
      rl.rlim_cur = rl.rlim_max = static_cast<rlim_t>(std::atol(opt.c_str() + 6));
      setrlimit(RLIMIT_FSIZE, &rl);
    }
  }
  static CrashDump dump(L"CrashChild", nullAnon ? nullptr : L"Z:\\anon dir", L"Z:\\logs", guid);
  CrashDump::SetIsCommandLine(cli);
  for (int i = 3; i < argc; ++i) {
    const std::string opt = argv[i];
    const bool log = opt.rfind("log=", 0) == 0;
    if (!log && opt.rfind("unlog=", 0) != 0) continue;
    FILE* f = std::fopen(opt.c_str() + (log ? 4 : 6), "w");
    if (f == nullptr) return 2;
    std::setvbuf(f, nullptr, _IOFBF, 4096);
    std::fputs("buffered line\n", f);
    CrashDump::AddFileToFlush(f);
    if (!log) CrashDump::RemoveFileToFlush(f);
  }
  if (breakMalloc) {
    auto fn = reinterpret_cast<void (*)()>(dlsym(RTLD_DEFAULT, "nybase_test_break_malloc"));
    if (fn == nullptr) return 2;
    fn();
  }
  g_stamp = stamp;
  if (bigStack) {
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, 64u * 1024 * 1024);
    pthread_t thread;
    if (pthread_create(&thread, &attr, BigStackThread, nullptr) != 0) return 2;
    pthread_join(thread, nullptr);
    return 0;
  }
  Crash();
  return 0;
}
