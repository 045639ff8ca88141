// luFXMemAlloc: the library's NY::INyPluginMemAlloc, malloc blocks with a 16-byte header.
#pragma once

#include <cstddef>
#include <cstdint>

#include <nybase/data/INyPluginMemAlloc.h>

// Stateless; its one instance is m_instance. Safe on all threads. Each block carries, in the 16
// bytes before the address handed out: the requested size (64 bits, at -16), the alignment (32
// bits, at -8) and the distance from malloc's address to the block (32 bits, at -4). Blocks never
// grow in place: Realloc always copies.
class luFXMemAlloc : public NY::INyPluginMemAlloc {
 public:
  static luFXMemAlloc m_instance;

  ~luFXMemAlloc() override = default;
  void* Malloc(size_t size) override;
  void Free(void* block) override;
  // `alignment` must be a power of two; any other value (0 included) gives null.
  void* Malign(size_t size, unsigned int alignment) override;
  void* Realloc(void* block, size_t size) override;
  void* ReallocAligned(void* block, size_t size, unsigned int alignment) override;

  // Bytes these blocks hold from malloc right now, headers and slack included (process-wide).
  static uint64_t GetAllocatedBytes();
};
