// lu::ReaderWriterLock on one atomic word, sleeping through the word's wait and notify.
#include <nybase/platform/ReaderWriterLock.h>

namespace lu {

// Invariant: a thread sleeps only on a value that shows both the sleepers bit and a holder, and
// the release that leaves the lock free clears the bit and wakes every sleeper. So no wake-up is
// lost: a sleeper either sees the word change before it sleeps or is woken by that release.

namespace {

// Readers must wait while a writer holds the lock, or while sleepers (a writer, likely) wait
// behind readers that hold it; with no holder at all the sleepers bit never blocks a reader.
constexpr bool ReaderMustWait(uint32_t s, uint32_t writer, uint32_t sleepers, uint32_t reader) {
  return (s & writer) != 0 || ((s & sleepers) != 0 && s >= reader);
}

}  // namespace

bool ReaderWriterLock::TryLockRead() noexcept {
  uint32_t s = m_word.load(std::memory_order_relaxed);
  while (!ReaderMustWait(s, k_writer, k_sleepers, k_reader)) {
    if (m_word.compare_exchange_weak(s, s + k_reader, std::memory_order_acquire, std::memory_order_relaxed)) return true;
  }
  return false;
}

void ReaderWriterLock::LockRead() noexcept {
  uint32_t s = m_word.load(std::memory_order_relaxed);
  for (;;) {
    if (!ReaderMustWait(s, k_writer, k_sleepers, k_reader)) {
      if (m_word.compare_exchange_weak(s, s + k_reader, std::memory_order_acquire, std::memory_order_relaxed)) return;
      continue;
    }
    if ((s & k_sleepers) == 0 &&
        !m_word.compare_exchange_weak(s, s | k_sleepers, std::memory_order_relaxed, std::memory_order_relaxed)) {
      continue;
    }
    s |= k_sleepers;
    m_word.wait(s, std::memory_order_relaxed);
    s = m_word.load(std::memory_order_relaxed);
  }
}

void ReaderWriterLock::UnlockRead() noexcept {
  uint32_t s = m_word.fetch_sub(k_reader, std::memory_order_release) - k_reader;
  // The last reader out wakes the sleepers, if any; a new reader may slip in first, and then it
  // becomes the one that wakes them.
  while (s == k_sleepers) {
    if (m_word.compare_exchange_weak(s, 0, std::memory_order_relaxed, std::memory_order_relaxed)) {
      m_word.notify_all();
      return;
    }
  }
}

bool ReaderWriterLock::TryLockWrite() noexcept {
  uint32_t s = m_word.load(std::memory_order_relaxed);
  while ((s & ~k_sleepers) == 0) {
    if (m_word.compare_exchange_weak(s, s | k_writer, std::memory_order_acquire, std::memory_order_relaxed)) return true;
  }
  return false;
}

void ReaderWriterLock::LockWrite() noexcept {
  uint32_t s = m_word.load(std::memory_order_relaxed);
  for (;;) {
    if ((s & ~k_sleepers) == 0) {
      if (m_word.compare_exchange_weak(s, s | k_writer, std::memory_order_acquire, std::memory_order_relaxed)) return;
      continue;
    }
    if ((s & k_sleepers) == 0 &&
        !m_word.compare_exchange_weak(s, s | k_sleepers, std::memory_order_relaxed, std::memory_order_relaxed)) {
      continue;
    }
    s |= k_sleepers;
    m_word.wait(s, std::memory_order_relaxed);
    s = m_word.load(std::memory_order_relaxed);
  }
}

void ReaderWriterLock::UnlockWrite() noexcept {
  if ((m_word.exchange(0, std::memory_order_release) & k_sleepers) != 0) m_word.notify_all();
}

}  // namespace lu
