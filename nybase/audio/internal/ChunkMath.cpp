// Position arithmetic shared by the chunk classes that rescale frames.
#include "ChunkMath.h"

#include <cmath>

namespace nybase::audio::detail {

uint32_t ScalePosition(uint32_t position, double ratio) {
  const double p = position * ratio;
  const double rounded = p < 0 ? std::ceil(p - 0.5) : std::floor(p + 0.5);
  // Converting a double outside the 64-bit range is undefined: such a value counts as all ones.
  if (!(rounded >= -9223372036854775808.0 && rounded < 9223372036854775808.0)) return 0xFFFFFFFFu;
  return static_cast<uint32_t>(static_cast<int64_t>(rounded));
}

}  // namespace nybase::audio::detail
