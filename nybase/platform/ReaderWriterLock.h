// lu::ReaderWriterLock: a slim reader-writer lock in one 32-bit word.
#pragma once

#include <atomic>
#include <cstdint>

namespace lu {

// Shared (read) and exclusive (write) locking, not recursive, with no owner: a holder releases
// on the thread that acquired. Readers that arrive while a writer waits behind other readers wait
// too, so a stream of readers cannot starve a writer. Copying gives a fresh unlocked lock, and
// assignment does nothing on purpose: a lock protects its own object, never a copied state.
class ReaderWriterLock {
 public:
  ReaderWriterLock() noexcept = default;
  ReaderWriterLock(const ReaderWriterLock&) noexcept {}
  ReaderWriterLock& operator=(const ReaderWriterLock&) noexcept { return *this; }
  ~ReaderWriterLock() = default;

  void LockRead() noexcept;
  void LockWrite() noexcept;
  // Take the lock only if that needs no wait; true when it was taken.
  bool TryLockRead() noexcept;
  bool TryLockWrite() noexcept;
  void UnlockRead() noexcept;
  void UnlockWrite() noexcept;

 private:
  // Bit 0: a writer holds the lock. Bit 1: some thread sleeps on the word and must be woken when
  // the last holder leaves. Bits 2 and up: the number of readers holding it.
  static constexpr uint32_t k_writer = 1;
  static constexpr uint32_t k_sleepers = 2;
  static constexpr uint32_t k_reader = 4;
  std::atomic<uint32_t> m_word{0};
};

}  // namespace lu
