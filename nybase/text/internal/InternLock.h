// InternLock: the intern tables' lock, an atomic flag whose waiters spin briefly, then yield.
#pragma once

#include <atomic>
#include <thread>

namespace lu::detail {

// Taking it is one atomic exchange and leaving it one release store, where a std::mutex pays a
// second locked instruction to leave: on the interning paths the lock is most of the cost that
// is not a cache miss. The sections it guards are short (a probe, a compare, a count), so a
// waiter spins a little and then yields its time slice, which lets a preempted holder run.
// Not recursive. Meets BasicLockable, for std::lock_guard.
class InternLock {
 public:
  void lock() noexcept {
    if (!m_held.exchange(true, std::memory_order_acquire)) [[likely]]
      return;
    Wait();
  }
  void unlock() noexcept { m_held.store(false, std::memory_order_release); }

 private:
  void Wait() noexcept {
    for (int spins = 0;; ++spins) {
      if (!m_held.load(std::memory_order_relaxed) && !m_held.exchange(true, std::memory_order_acquire))
        return;
      if (spins < 64) {
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#endif
      } else {
        std::this_thread::yield();
      }
    }
  }

  std::atomic<bool> m_held{false};
};

}  // namespace lu::detail
