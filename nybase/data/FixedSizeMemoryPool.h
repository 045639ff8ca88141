// lu::FixedSizeMemoryPool: a last-in first-out free list of equal-sized blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

namespace lu {

// Blocks come from operator new, one at a time on demand; the pool never shrinks. One thread at a
// time. Copying copies the block size and the free list, so both pools then hold the same free
// blocks: only one of them may be destroyed while the blocks are in it.
class FixedSizeMemoryPool {
 public:
  // Allocates `initialBlocks` blocks of `blockSize` bytes up front; std::bad_alloc passes through.
  FixedSizeMemoryPool(size_t blockSize, size_t initialBlocks);
  FixedSizeMemoryPool(const FixedSizeMemoryPool&) = default;
  FixedSizeMemoryPool& operator=(const FixedSizeMemoryPool&) = delete;
  // Deletes the free blocks; blocks still handed out stay with their holders (operator delete).
  ~FixedSizeMemoryPool();

  // The most recently returned free block, or a new one when none is free.
  void* Allocate();
  // Queues `block` as free (null is ignored). Nothing about the block is checked.
  void Deallocate(void* block);
  // The number of free blocks.
  size_t Size() const { return m_free.size(); }

 private:
  uint64_t m_blockSize;
  std::deque<void*> m_free;
};

}  // namespace lu
