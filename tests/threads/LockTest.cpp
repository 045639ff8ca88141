// lu::ReaderWriterLock under contention: exclusion of writers, shared readers, try-locks.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include <nybase/platform/ReaderWriterLock.h>

namespace {

TEST(ReaderWriterLock, TryLocksFollowTheHolders) {
  lu::ReaderWriterLock lock;
  EXPECT_TRUE(lock.TryLockRead());
  EXPECT_TRUE(lock.TryLockRead());
  EXPECT_FALSE(lock.TryLockWrite());
  lock.UnlockRead();
  lock.UnlockRead();
  EXPECT_TRUE(lock.TryLockWrite());
  EXPECT_FALSE(lock.TryLockRead());
  EXPECT_FALSE(lock.TryLockWrite());
  lu::ReaderWriterLock copy(lock);
  EXPECT_TRUE(copy.TryLockWrite()) << "a copy is a fresh lock";
  lock.UnlockWrite();
  EXPECT_TRUE(lock.TryLockRead());
  lock.UnlockRead();
}

// Writers keep two plain counters equal; readers check them. Any breach of exclusion shows as an
// unequal pair or a lost increment (and as a race under ThreadSanitizer).
TEST(ReaderWriterLock, ManyReadersAndWritersKeepTheInvariant) {
  lu::ReaderWriterLock lock;
  long a = 0, b = 0;
  std::atomic<int> readersInside{0}, maxReaders{0}, torn{0};
  constexpr int k_writers = 4, k_readers = 8, k_rounds = 3000;
  std::vector<std::thread> threads;
  for (int w = 0; w < k_writers; ++w) {
    threads.emplace_back([&] {
      for (int i = 0; i < k_rounds; ++i) {
        lock.LockWrite();
        ++a;
        ++b;
        lock.UnlockWrite();
      }
    });
  }
  for (int r = 0; r < k_readers; ++r) {
    threads.emplace_back([&] {
      for (int i = 0; i < k_rounds; ++i) {
        if (i % 2 == 0) {
          lock.LockRead();
        } else if (!lock.TryLockRead()) {
          continue;
        }
        const int inside = ++readersInside;
        int seen = maxReaders.load();
        while (inside > seen && !maxReaders.compare_exchange_weak(seen, inside)) {
        }
        if (a != b) ++torn;
        --readersInside;
        lock.UnlockRead();
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(torn.load(), 0);
  EXPECT_EQ(a, long{k_writers} * k_rounds);
  EXPECT_EQ(b, a);
  EXPECT_TRUE(lock.TryLockWrite()) << "all released";
  lock.UnlockWrite();
}

TEST(ReaderWriterLock, WaitingWriterIsWokenByTheLastReader) {
  lu::ReaderWriterLock lock;
  lock.LockRead();
  std::atomic<bool> wrote{false};
  std::thread writer([&] {
    lock.LockWrite();
    wrote = true;
    lock.UnlockWrite();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_FALSE(wrote.load());
  lock.UnlockRead();
  writer.join();
  EXPECT_TRUE(wrote.load());
}

}  // namespace
