// Position arithmetic shared by the chunk classes that rescale frames.
#pragma once

#include <cstdint>

namespace nybase::audio::detail {

// position x ratio rounded half away from zero and truncated to 32 bits. A product beyond the
// 64-bit range, or not a number, gives all ones.
uint32_t ScalePosition(uint32_t position, double ratio);

// A frame not below `frameCount` becomes frameCount - 1 (which wraps to 0xFFFFFFFF for a count of 0).
inline uint32_t LimitToFrames(uint32_t frame, uint32_t frameCount) {
  return frame < frameCount ? frame : frameCount - 1;
}

}  // namespace nybase::audio::detail
