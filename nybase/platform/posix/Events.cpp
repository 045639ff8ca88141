// POSIX backend of events and waits: one non-blocking eventfd per event, poll for waits on one
// or several handles.
#include <nybase/platform/Events.h>

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <climits>
#include <new>

#include <nybase/platform/LastError.h>

#include "WaitHandle.h"

namespace lu {

namespace platform::detail {

namespace {

uint64_t NowMs() {
  timespec ts{};
  ::clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
}

}  // namespace

// Takes the signal of an auto-reset event if it is set; true when taken.
bool TryConsume(const WaitHandle* h) {
  uint64_t value = 0;
  return ::read(h->fd, &value, sizeof value) == static_cast<ssize_t>(sizeof value);
}

unsigned int WaitAny(void* const* handles, size_t count, uint64_t milliseconds, int& index) {
  // One handle, the common case, needs no allocation.
  pollfd one{};
  std::vector<pollfd> many;
  pollfd* fds = &one;
  if (count > 1) {
    many.resize(count);
    fds = many.data();
  }
  for (size_t i = 0; i < count; ++i) {
    fds[i].fd = static_cast<WaitHandle*>(handles[i])->fd;
    fds[i].events = POLLIN;
  }
  const bool infinite = milliseconds == UINT64_MAX;
  const uint64_t start = infinite ? 0 : NowMs();
  for (;;) {
    int timeout = -1;
    if (!infinite) {
      const uint64_t elapsed = NowMs() - start;
      const uint64_t left = elapsed >= milliseconds ? 0 : milliseconds - elapsed;
      timeout = left > static_cast<uint64_t>(INT_MAX) ? INT_MAX : static_cast<int>(left);
    }
    const int r = ::poll(fds, count, timeout);
    if (r < 0) {
      if (errno == EINTR) continue;
      return SetLastErrorFromErrno(errno);
    }
    if (r == 0) {
      if (timeout == 0 || NowMs() - start >= milliseconds) return k_waitTimeout;
      continue;
    }
    for (size_t i = 0; i < count; ++i) {
      if ((fds[i].revents & POLLNVAL) != 0) {
        SetLastError(k_errorInvalidHandle);
        return k_errorInvalidHandle;
      }
      if ((fds[i].revents & (POLLIN | POLLERR | POLLHUP)) == 0) continue;
      // The read consumes an auto-reset signal; another waiter may have taken it first.
      const auto* h = static_cast<WaitHandle*>(handles[i]);
      if (h->kind == WaitHandle::Kind::AutoEvent && !TryConsume(h)) continue;
      index = static_cast<int>(i);
      return k_waitObject0;
    }
    // Every signal seen was consumed by other waiters: wait again for what is left of the time.
  }
}

}  // namespace platform::detail

using platform::detail::WaitHandle;

NYRESULT CreateEventExW(void*& event, bool manualReset) {
  event = nullptr;
  const int fd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (fd < 0) {
    platform::SetLastErrorFromErrno(errno);
    return NYRESULT_FAILURE;
  }
  auto* handle = new (std::nothrow) WaitHandle{fd, manualReset ? WaitHandle::Kind::ManualEvent : WaitHandle::Kind::AutoEvent};
  if (handle == nullptr) {
    ::close(fd);
    platform::SetLastError(platform::k_errorNotEnoughMemory);
    return NYRESULT_FAILURE;
  }
  event = handle;
  return NYRESULT_SUCCESS;
}

void DestroyEventEx(void*& event) {
  if (event == nullptr) return;
  auto* handle = static_cast<WaitHandle*>(event);
  ::close(handle->fd);
  delete handle;
  event = nullptr;
}

void ResetEventEx(void* const& event) {
  if (event == nullptr) return;
  uint64_t value = 0;
  // Non-blocking: an unset event gives EAGAIN, which is what reset wants anyway.
  [[maybe_unused]] const ssize_t n = ::read(static_cast<WaitHandle*>(event)->fd, &value, sizeof value);
}

void SignalEventEx(void* const& event) {
  if (event == nullptr) return;
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t n = ::write(static_cast<WaitHandle*>(event)->fd, &one, sizeof one);
}

namespace {

unsigned int WaitOne(void* event, uint64_t milliseconds) {
  if (event == nullptr) {
    platform::SetLastError(platform::k_errorInvalidHandle);
    return platform::k_errorInvalidHandle;
  }
  const auto* h = static_cast<WaitHandle*>(event);
  // A signal already there is taken without a poll.
  if (h->kind == WaitHandle::Kind::AutoEvent && platform::detail::TryConsume(h)) return k_waitObject0;
  int index = 0;
  return platform::detail::WaitAny(&event, 1, milliseconds, index);
}

uint64_t Limit(unsigned int milliseconds) { return milliseconds == k_infinite ? UINT64_MAX : milliseconds; }

}  // namespace

unsigned int WaitForEventEx(void* const& event, unsigned int milliseconds) { return WaitOne(event, Limit(milliseconds)); }

void WaitForEventEx(void* const& event) { WaitOne(event, UINT64_MAX); }

unsigned int WaitForMultipleEventsEx(const std::vector<void*>& events, int& index) {
  return WaitForMultipleEventsEx(events, k_infinite, index);
}

unsigned int WaitForMultipleEventsEx(const std::vector<void*>& events, unsigned int milliseconds, int& index) {
  if (events.empty()) {
    platform::SetLastError(platform::k_errorInvalidParameter);
    return platform::k_errorInvalidParameter;
  }
  for (void* e : events) {
    if (e == nullptr) {
      platform::SetLastError(platform::k_errorInvalidHandle);
      return platform::k_errorInvalidHandle;
    }
  }
  return platform::detail::WaitAny(events.data(), events.size(), Limit(milliseconds), index);
}

namespace priv {

unsigned int WaitForEventEx64(void* const& event, uint64_t milliseconds) {
  constexpr uint64_t k_round = 0xFFFFFFFEu;
  if (milliseconds <= 0xFFFFFFFFu) return WaitOne(event, Limit(static_cast<unsigned int>(milliseconds)));
  uint64_t rounds = milliseconds / k_round;
  unsigned int r = WaitOne(event, milliseconds % k_round);
  while (r == k_waitTimeout && rounds-- > 0) r = WaitOne(event, k_round);
  return r;
}

}  // namespace priv

}  // namespace lu
