// lu::FixedSizeMemoryPool: blocks from operator new, reused from the back of the queue.
#include <nybase/data/FixedSizeMemoryPool.h>

#include <new>

namespace lu {

FixedSizeMemoryPool::FixedSizeMemoryPool(size_t blockSize, size_t initialBlocks) : m_blockSize(blockSize) {
  try {
    for (size_t i = 0; i < initialBlocks; ++i) m_free.push_back(::operator new(static_cast<size_t>(m_blockSize)));
  } catch (...) {
    for (void* block : m_free) ::operator delete(block);
    throw;
  }
}

FixedSizeMemoryPool::~FixedSizeMemoryPool() {
  for (void* block : m_free) ::operator delete(block);
}

void* FixedSizeMemoryPool::Allocate() {
  if (m_free.empty()) return ::operator new(static_cast<size_t>(m_blockSize));
  void* block = m_free.back();
  m_free.pop_back();
  return block;
}

void FixedSizeMemoryPool::Deallocate(void* block) {
  if (block != nullptr) m_free.push_back(block);
}

}  // namespace lu
