// MurmurHash3 x86_32: 4-byte blocks mixed into one 32-bit state, then the tail and a final mix.
#include <nybase/text/internal/MurmurHash3.h>

namespace lu::detail {

namespace {

inline uint32_t Rotl(uint32_t x, int r) { return (x << r) | (x >> (32 - r)); }

inline uint32_t LoadLE32(const unsigned char* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
         (static_cast<uint32_t>(p[3]) << 24);
}

}  // namespace

uint32_t MurmurHash3_x86_32(const void* data, size_t length, uint32_t seed) noexcept {
  constexpr uint32_t c1 = 0xcc9e2d51;
  constexpr uint32_t c2 = 0x1b873593;
  const auto* p = static_cast<const unsigned char*>(data);
  const size_t blocks = length / 4;
  uint32_t h = seed;
  for (size_t i = 0; i < blocks; ++i) {
    uint32_t k = LoadLE32(p + i * 4);
    k *= c1;
    k = Rotl(k, 15);
    k *= c2;
    h ^= k;
    h = Rotl(h, 13);
    h = h * 5 + 0xe6546b64;
  }
  const unsigned char* tail = p + blocks * 4;
  uint32_t k = 0;
  switch (length & 3) {
    case 3: k ^= static_cast<uint32_t>(tail[2]) << 16; [[fallthrough]];
    case 2: k ^= static_cast<uint32_t>(tail[1]) << 8; [[fallthrough]];
    case 1:
      k ^= tail[0];
      k *= c1;
      k = Rotl(k, 15);
      k *= c2;
      h ^= k;
  }
  // The length is mixed in as 32 bits, as the reference does with its int length.
  h ^= static_cast<uint32_t>(length);
  h ^= h >> 16;
  h *= 0x85ebca6b;
  h ^= h >> 13;
  h *= 0xc2b2ae35;
  h ^= h >> 16;
  return h;
}

}  // namespace lu::detail
