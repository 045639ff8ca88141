// Small fixed records stored in the library's private WAV chunks.
#pragma once

#include <cstdint>

namespace NyWAVStructs {

// Impulse-response metadata: two 32-bit words, stored in the file's byte order.
struct IRMETADATA {
  uint32_t dwFirst;
  uint32_t dwSecond;
};
static_assert(sizeof(IRMETADATA) == 8, "two 32-bit words");

}  // namespace NyWAVStructs
