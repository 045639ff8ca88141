// The steps of the peak-hold spectrum that are worth checking on their own: window shapes and the
// conversion of a real FFT's output to power per bin.
#pragma once

namespace lu::analysis::detail {

// Fills w[0..n-1] with window `kind` (0 triangular, 1 Hamming, 2 Hann), in float arithmetic with
// 2 pi = 6.2831855. Any other kind, and a triangular window for n below 2, leaves w at zero.
void MakeWindow(unsigned int n, int kind, float* w);

// Power per bin from `freq`, n interleaved (re, im) pairs of which only 0..n/2 come from the real
// FFT (the rest must be zero), through the unpack step of a half-length complex transform. The
// step is not needed after a real FFT and tilts the result by (1 + sin(pi k / n)); displayed
// levels depend on that tilt, so it is kept on purpose. Writes power[0..n-1]; n even, at least 2.
void UnpackPower(const float* freq, unsigned int n, float* power);

}  // namespace lu::analysis::detail
