// ExactFmod: std::fmod of floats, bit for bit, without the library call on the common path.
#pragma once

#include <cmath>

namespace nybase::audio::detail {

// The same value as std::fmod(x, y) for every float x and y, y > 0 (fmod is exact, so any exact
// method gives the same bits). When |x / y| is below 2^29 the quotient times y is exact in double,
// and one correction step fixes a quotient rounded up to the next integer; other cases, NaN and
// infinity go to std::fmod.
inline float ExactFmod(float x, float y) {
  const double dx = x, dy = y;
  const double q = dx / dy;
  if (!(std::fabs(q) < 536870912.0)) return std::fmod(x, y);
  const double n = std::trunc(q);
  double r = dx - n * dy;
  if (x >= 0 ? r < 0 : r > 0) r += x >= 0 ? dy : -dy;
  // A zero result keeps the sign of x, as fmod's does.
  return r == 0 ? std::copysign(0.0f, x) : static_cast<float>(r);
}

}  // namespace nybase::audio::detail
