// A burst train with known onset times: the demo's self-made input.
#include "BurstTrain.h"

#include <cmath>

namespace nybase::tool {

BurstTrain MakeBurstTrain(unsigned sampleRate, unsigned channels) {
  BurstTrain t;
  t.sampleRate = sampleRate;
  t.channels = channels;
  // Irregular gaps, so that a detector that merely finds a period does not pass.
  t.onsets = {0.50, 1.10, 1.55, 2.30, 2.80, 3.65, 4.20, 5.05};
  const double length = 6.0;
  const auto frames = static_cast<size_t>(length * sampleRate);
  t.samples.assign(frames * channels, 0.0f);

  uint32_t noise = 0x12345678u;  // a fixed seed: the demo is reproducible
  const double attack = 0.002, decay = 0.060, span = 0.300;
  for (size_t b = 0; b < t.onsets.size(); ++b) {
    const auto start = static_cast<size_t>(std::llround(t.onsets[b] * sampleRate));
    const auto n = static_cast<size_t>(span * sampleRate);
    const double level = b % 2 == 0 ? 0.8 : 0.5;
    for (size_t i = 0; i < n && start + i < frames; ++i) {
      const double time = static_cast<double>(i) / sampleRate;
      const double envelope = time < attack ? time / attack : std::exp(-(time - attack) / decay);
      for (unsigned c = 0; c < channels; ++c) {
        noise = noise * 1664525u + 1013904223u;
        const double white = static_cast<double>(noise >> 8) / static_cast<double>(1u << 23) - 1.0;
        t.samples[(start + i) * channels + c] = static_cast<float>(level * envelope * white);
      }
    }
  }
  return t;
}

}  // namespace nybase::tool
