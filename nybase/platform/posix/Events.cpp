// POSIX backend of events and waits: a state word with a futex for waits on one handle (as fast
// as a condition variable), and an eventfd per handle that poll watches for waits on several.
#include <nybase/platform/Events.h>

#include <errno.h>
#include <linux/futex.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <climits>
#include <new>
#include <vector>

#include <nybase/platform/LastError.h>

#include "WaitHandle.h"

namespace lu {

namespace platform::detail {

namespace {

static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t), "the futex word is the atomic itself");

uint64_t NowMs() {
  timespec ts{};
  ::clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
}

// Milliseconds left of a wait that began at `start`; -1 for no limit, clamped for poll.
int Left(bool infinite, uint64_t start, uint64_t milliseconds) {
  if (infinite) return -1;
  const uint64_t elapsed = NowMs() - start;
  const uint64_t left = elapsed >= milliseconds ? 0 : milliseconds - elapsed;
  return left > static_cast<uint64_t>(INT_MAX) ? INT_MAX : static_cast<int>(left);
}

// Takes the handle's signal when it is set: an auto-reset event's by clearing it.
bool TryTake(WaitHandle* h) {
  if (h->kind == WaitHandle::Kind::AutoEvent) {
    uint32_t one = 1;
    return h->state.compare_exchange_strong(one, 0);
  }
  return h->state.load() == 1;
}

void Drain(int fd) {
  uint64_t value = 0;
  [[maybe_unused]] const ssize_t n = ::read(fd, &value, sizeof value);  // non-blocking
}

void Rearm(int fd) {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t n = ::write(fd, &one, sizeof one);
}

unsigned int WaitSingle(WaitHandle* h, uint64_t milliseconds) {
  const bool infinite = milliseconds == UINT64_MAX;
  const uint64_t start = infinite ? 0 : NowMs();
  for (;;) {
    if (TryTake(h)) return k_waitObject0;
    const int left = Left(infinite, start, milliseconds);
    if (left == 0) return k_waitTimeout;
    timespec limit{left / 1000, static_cast<long>(left % 1000) * 1000000};
    ++h->sleepers;  // before the state is read again, so that a set either is seen or wakes us
    if (h->state.load() == 0) {
      const long r = ::syscall(SYS_futex, reinterpret_cast<uint32_t*>(&h->state), FUTEX_WAIT_PRIVATE, 0u,
                               infinite ? nullptr : &limit, nullptr, 0);
      if (r != 0 && errno != EAGAIN && errno != EINTR && errno != ETIMEDOUT) {
        --h->sleepers;
        return SetLastErrorFromErrno(errno);
      }
    }
    --h->sleepers;
  }
}

}  // namespace

void SetHandle(WaitHandle* h) noexcept {
  if (h->state.exchange(1) == 1) return;  // already set: its waiters were woken then
  if (h->sleepers.load() != 0) {
    ::syscall(SYS_futex, reinterpret_cast<uint32_t*>(&h->state), FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
  }
  if (h->pollers.load() != 0) Rearm(h->fd);
}

unsigned int WaitAny(void* const* handles, size_t count, uint64_t milliseconds, int& index) {
  if (count == 1 && static_cast<WaitHandle*>(handles[0])->kind != WaitHandle::Kind::Readable) {
    const unsigned int r = WaitSingle(static_cast<WaitHandle*>(handles[0]), milliseconds);
    if (r == k_waitObject0) index = 0;
    return r;
  }
  std::vector<pollfd> fds(count);
  for (size_t i = 0; i < count; ++i) {
    auto* h = static_cast<WaitHandle*>(handles[i]);
    fds[i].fd = h->fd;
    fds[i].events = POLLIN;
    ++h->pollers;  // before the states are read, so that a set either is seen or writes the fd
  }
  const bool infinite = milliseconds == UINT64_MAX;
  const uint64_t start = infinite ? 0 : NowMs();
  unsigned int result = k_waitTimeout;
  for (bool polled = false;;) {
    // The lowest position that is signalled wins; a Readable handle counts once poll saw data.
    bool found = false;
    for (size_t i = 0; i < count && !found; ++i) {
      auto* h = static_cast<WaitHandle*>(handles[i]);
      if (h->kind == WaitHandle::Kind::Readable) {
        found = polled && (fds[i].revents & (POLLIN | POLLERR | POLLHUP)) != 0;
      } else {
        // A poller drains an auto-reset event's fd before it tries to take the signal, so a set
        // that comes after the drain is either taken here or writes the fd again.
        if (polled && (fds[i].revents & POLLIN) != 0) {
          if (h->kind == WaitHandle::Kind::AutoEvent) {
            Drain(h->fd);
          } else if (h->state.load() == 0) {
            // A wake left over from a set that a reset undid: drain it so that poll does not spin,
            // and re-arm if a new set came meanwhile, since its wake may be the one drained.
            Drain(h->fd);
            if (h->state.load() == 1) Rearm(h->fd);
          }
        }
        found = TryTake(h);
      }
      if (found) {
        index = static_cast<int>(i);
        result = k_waitObject0;
      }
    }
    if (found) break;
    const int left = Left(infinite, start, milliseconds);
    if (polled && left == 0) break;  // timed out, after one last look at the states
    const int r = ::poll(fds.data(), count, left);
    if (r < 0 && errno != EINTR) {
      result = SetLastErrorFromErrno(errno);
      break;
    }
    bool invalid = false;
    for (const auto& p : fds) invalid = invalid || (p.revents & POLLNVAL) != 0;
    if (invalid) {
      SetLastError(k_errorInvalidHandle);
      result = k_errorInvalidHandle;
      break;
    }
    polled = r >= 0;
  }
  for (size_t i = 0; i < count; ++i) --static_cast<WaitHandle*>(handles[i])->pollers;
  return result;
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
  auto* handle = new (std::nothrow) WaitHandle;
  if (handle == nullptr) {
    ::close(fd);
    platform::SetLastError(platform::k_errorNotEnoughMemory);
    return NYRESULT_FAILURE;
  }
  handle->fd = fd;
  handle->kind = manualReset ? WaitHandle::Kind::ManualEvent : WaitHandle::Kind::AutoEvent;
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
  auto* h = static_cast<WaitHandle*>(event);
  h->state.store(0);
  platform::detail::Drain(h->fd);
}

void SignalEventEx(void* const& event) {
  if (event == nullptr) return;
  platform::detail::SetHandle(static_cast<WaitHandle*>(event));
}

namespace {

unsigned int WaitOne(void* event, uint64_t milliseconds) {
  if (event == nullptr) {
    platform::SetLastError(platform::k_errorInvalidHandle);
    return platform::k_errorInvalidHandle;
  }
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
