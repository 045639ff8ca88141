// HashBytes: a byte sink that keeps a running 32-bit FNV-1 hash of everything written into it.
#pragma once

#include <cstdint>

#include <nybase/files/ByteStreamInterfaces.h>

// hash = (hash * 16777619) XOR byte for each byte, in 32 bits (FNV-1: multiplication first).
class HashBytes : public NY::IWriteBytes {
 public:
  // The FNV offset basis.
  static constexpr uint32_t k_defaultSeed = 0x811C9DC5u;

  HashBytes() : m_hash(k_defaultSeed) {}
  explicit HashBytes(unsigned int seed) : m_hash(seed) {}
  virtual ~HashBytes() = default;

  // Feeds `size` bytes; a size of 0 or less changes nothing. `written` becomes `size` (also a
  // negative one, which reads nothing). Always true.
  bool WriteBytes(const void* data, int size, int& written) override;
  // The hash so far.
  unsigned int GetHash() const { return m_hash; }

 private:
  uint32_t m_hash;
};
