// Synthetic burst trains with known onsets, the reference input of the onset tests.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <nybase/analysis/NyOnsetDetector.h>

namespace nytest {

enum class Burst { Noise, Tone };

struct BurstTrain {
  unsigned int rate = 48000;
  unsigned int channels = 1;
  std::vector<float> samples;  // interleaved
  std::vector<double> onsets;  // seconds
  unsigned int Frames() const { return static_cast<unsigned int>(samples.size() / channels); }
};

// Bursts of `length` seconds starting at `start` + k * `spacing`, amplitudes taken in turn from
// `levels`, with a 20 ms linear release; silence between. Channel k of a stereo train is the same
// burst at 0.8^k of the level, so the mixdown is not a plain copy.
inline BurstTrain MakeBurstTrain(unsigned int rate, unsigned int channels, Burst kind, unsigned int count,
                                 std::vector<float> levels = {0.5f}, double start = 0.25,
                                 double spacing = 0.4, double length = 0.12, uint32_t seed = 1) {
  BurstTrain t;
  t.rate = rate;
  t.channels = channels;
  const double total = start + spacing * count + 0.3;
  const size_t frames = static_cast<size_t>(total * rate);
  t.samples.assign(frames * channels, 0.0f);
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
  const size_t len = static_cast<size_t>(length * rate);
  const size_t release = rate / 50;
  for (unsigned int b = 0; b < count; ++b) {
    const size_t at = static_cast<size_t>((start + spacing * b) * rate);
    t.onsets.push_back(static_cast<double>(at) / rate);
    const float level = levels[b % levels.size()];
    for (size_t i = 0; i < len && at + i < frames; ++i) {
      const float env = i + release > len ? static_cast<float>(len - i) / release : 1.0f;
      const float v = kind == Burst::Noise
                          ? noise(gen)
                          : static_cast<float>(std::sin(2 * M_PI * 660.0 * static_cast<double>(i) / rate));
      for (unsigned int c = 0; c < channels; ++c) {
        t.samples[(at + i) * channels + c] = v * level * env * std::pow(0.8f, static_cast<float>(c));
      }
    }
  }
  return t;
}

inline std::vector<double> Markers(NyOnsetDetector& d, float sensitivity = 1.0f) {
  std::vector<double> times{-1.0};  // must be replaced, not appended to
  d.GetMarkerTimes(times, sensitivity);
  return times;
}

// Every true onset has exactly one marker in [-30 ms, +5 ms], and there is no other marker.
inline void ExpectMatches(const std::vector<double>& markers, const std::vector<double>& onsets) {
  ASSERT_EQ(markers.size(), onsets.size());
  for (const double onset : onsets) {
    int hits = 0;
    for (const double m : markers) hits += (m - onset >= -0.030 && m - onset <= 0.005) ? 1 : 0;
    EXPECT_EQ(hits, 1) << "onset at " << onset;
  }
}

}  // namespace nytest
