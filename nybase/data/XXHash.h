// NY::XXHash: a streaming 64-bit XXH3 hash, fed piece by piece, equal to the one-shot hash.
#pragma once

#include <cstddef>
#include <cstdint>

struct XXH3_state_s;

namespace NY {

// Hashes a byte stream that arrives in pieces of any size; the digest depends only on the bytes
// and their order, never on how they were cut. Seed 0, the default XXH3 64-bit form (the one
// `xxhsum -H3` prints). One thread at a time.
class XXHash {
 public:
  // A hash over no bytes yet. If the state cannot be allocated the hash stays inert: Update does
  // nothing and Digest returns 0.
  XXHash();
  ~XXHash();
  XXHash(const XXHash&) = delete;
  XXHash& operator=(const XXHash&) = delete;

  // Starts again over no bytes.
  void Reset();
  // Adds `size` bytes; a null pointer with size 0 is allowed.
  void Update(const void* data, size_t size);
  // The hash of all bytes added since construction or Reset; adding more afterwards continues it.
  uint64_t Digest() const;
  // The total number of bytes added since construction or Reset.
  uint64_t GetLength() const { return m_length; }

 private:
  XXH3_state_s* m_state = nullptr;
  uint64_t m_length = 0;
};

}  // namespace NY
