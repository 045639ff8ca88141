// luFXMemAlloc: header bookkeeping and the process-wide byte counter.
#include <nybase/data/luFXMemAlloc.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

luFXMemAlloc luFXMemAlloc::m_instance;

namespace {

std::atomic<uint64_t> g_allocatedBytes{0};

constexpr size_t k_header = 16;

// The compare-and-swap loop of the counter.
void AddToCounter(uint64_t delta, bool subtract) {
  uint64_t old = g_allocatedBytes.load(std::memory_order_relaxed);
  while (!g_allocatedBytes.compare_exchange_weak(old, subtract ? old - delta : old + delta,
                                                 std::memory_order_relaxed)) {
  }
}

struct Header {
  uint64_t size;
  uint32_t alignment;
  uint32_t offset;
};
static_assert(sizeof(Header) == k_header);

Header ReadHeader(const void* block) {
  Header h;
  std::memcpy(&h, static_cast<const char*>(block) - k_header, sizeof h);
  return h;
}

void* Allocate(size_t size, unsigned int alignment) {
  if (alignment == 0 || (alignment & (alignment - 1)) != 0) return nullptr;
  // The raw size must hold the header and the worst slack; refuse what would wrap around.
  if (size > SIZE_MAX - k_header - alignment) return nullptr;
  const size_t total = size + k_header + alignment - 1;
  void* raw = std::malloc(total);
  if (raw == nullptr) return nullptr;
  const uintptr_t base = reinterpret_cast<uintptr_t>(raw);
  const uintptr_t aligned = (base + alignment + 15) & ~static_cast<uintptr_t>(alignment - 1);
  // base + 16 <= aligned <= base + alignment + 15: the header fits before the block and the
  // block ends inside the raw allocation.
  void* block = reinterpret_cast<void*>(aligned);
  const Header h{size, alignment, static_cast<uint32_t>(aligned - base)};
  std::memcpy(static_cast<char*>(block) - k_header, &h, sizeof h);
  AddToCounter(total, false);
  return block;
}

void Release(void* block) {
  const Header h = ReadHeader(block);
  const uint64_t total = h.size + k_header + h.alignment - 1;
  std::free(static_cast<char*>(block) - h.offset);
  AddToCounter(total, true);
}

void* Reallocate(void* block, size_t size, unsigned int alignment) {
  void* fresh = Allocate(size, alignment);
  if (fresh == nullptr) return nullptr;
  const uint64_t oldSize = ReadHeader(block).size;
  std::memcpy(fresh, block, static_cast<size_t>(oldSize < size ? oldSize : size));
  Release(block);
  return fresh;
}

}  // namespace

void* luFXMemAlloc::Malloc(size_t size) { return Allocate(size, 16); }

void luFXMemAlloc::Free(void* block) {
  if (block != nullptr) Release(block);
}

void* luFXMemAlloc::Malign(size_t size, unsigned int alignment) { return Allocate(size, alignment); }

void* luFXMemAlloc::Realloc(void* block, size_t size) {
  if (block == nullptr) return Malloc(size);
  return Reallocate(block, size, ReadHeader(block).alignment);
}

void* luFXMemAlloc::ReallocAligned(void* block, size_t size, unsigned int alignment) {
  if (block == nullptr) return Malign(size, alignment);
  return Reallocate(block, size, alignment);
}

uint64_t luFXMemAlloc::GetAllocatedBytes() { return g_allocatedBytes.load(std::memory_order_relaxed); }
