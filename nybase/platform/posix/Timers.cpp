// POSIX backend of the tick counter (CLOCK_MONOTONIC) and of timers: one detached thread per
// timer, sleeping in poll on a cancel eventfd.
#include <nybase/platform/Timers.h>

#include <errno.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <new>

#include <nybase/platform/LastError.h>

namespace lu {

namespace {

struct Timer {
  int cancelFd = -1;
  platform::TimerCallback callback = nullptr;
  void* parameter = nullptr;
  uint32_t dueMs = 0;
  uint32_t periodMs = 0;
  std::atomic<int> refs{2};  // the timer thread and the handle's owner
};

void Release(Timer* t) {
  if (t->refs.fetch_sub(1) == 1) {
    ::close(t->cancelFd);
    delete t;
  }
}

uint64_t NowMs() {
  timespec ts{};
  ::clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
}

void* TimerMain(void* p) {
  auto* t = static_cast<Timer*>(p);
  uint64_t next = NowMs() + t->dueMs;
  for (;;) {
    const uint64_t now = NowMs();
    pollfd fd{t->cancelFd, POLLIN, 0};
    const int r = ::poll(&fd, 1, next > now ? static_cast<int>(next - now) : 0);
    if (r > 0) break;  // cancelled
    if (r < 0 && errno == EINTR) continue;
    if (r < 0) break;
    if (NowMs() < next) continue;
    t->callback(t->parameter);
    if (t->periodMs == 0) break;
    next += t->periodMs;
  }
  Release(t);
  return nullptr;
}

}  // namespace

unsigned int GetTickCount() { return static_cast<unsigned int>(NowMs()); }

void KillTimer(void*& timer) {
  if (timer == nullptr) return;
  auto* t = static_cast<Timer*>(timer);
  timer = nullptr;
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t n = ::write(t->cancelFd, &one, sizeof one);
  Release(t);
}

namespace platform {

void* CreateTimerQueueTimer(TimerCallback callback, void* parameter, uint32_t dueMs, uint32_t periodMs) noexcept {
  if (callback == nullptr) {
    SetLastError(k_errorInvalidParameter);
    return nullptr;
  }
  const int fd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (fd < 0) {
    SetLastErrorFromErrno(errno);
    return nullptr;
  }
  auto* t = new (std::nothrow) Timer;
  if (t == nullptr) {
    ::close(fd);
    SetLastError(k_errorNotEnoughMemory);
    return nullptr;
  }
  t->cancelFd = fd;
  t->callback = callback;
  t->parameter = parameter;
  t->dueMs = dueMs;
  t->periodMs = periodMs;
  pthread_t thread;
  const int err = ::pthread_create(&thread, nullptr, &TimerMain, t);
  if (err != 0) {
    ::close(fd);
    delete t;
    SetLastErrorFromErrno(err);
    return nullptr;
  }
  ::pthread_detach(thread);
  return t;
}

}  // namespace platform

}  // namespace lu
