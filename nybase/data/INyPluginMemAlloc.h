// NY::INyPluginMemAlloc: the allocator interface that plug-ins are handed.
#pragma once

#include <cstddef>

namespace NY {

// Blocks from one allocator go back to the same allocator. The slot order is fixed: destructor,
// Malloc, Free, Malign, Realloc, ReallocAligned.
class INyPluginMemAlloc {
 public:
  virtual ~INyPluginMemAlloc() = default;
  // `size` bytes aligned to 16; null when memory runs out.
  virtual void* Malloc(size_t size) = 0;
  // Gives a block back; null is ignored.
  virtual void Free(void* block) = 0;
  // `size` bytes aligned to `alignment`, a power of two; null when memory runs out.
  virtual void* Malign(size_t size, unsigned int alignment) = 0;
  // A new block of `size` bytes with the old one's alignment and contents (up to the smaller
  // size); the old block is freed. Null leaves the old block untouched; a null block allocates.
  virtual void* Realloc(void* block, size_t size) = 0;
  // As Realloc, with the given alignment.
  virtual void* ReallocAligned(void* block, size_t size, unsigned int alignment) = 0;
};

}  // namespace NY
