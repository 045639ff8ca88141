// MurmurHash3 in its 32-bit x86 form, the hash of the interned-string tables.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lu::detail {

// The hash of length bytes at data with the seed; blocks of 4 bytes are read little-endian, as
// the reference implementation does on x86, so the value is the same on every machine.
uint32_t MurmurHash3_x86_32(const void* data, size_t length, uint32_t seed) noexcept;

}  // namespace lu::detail
