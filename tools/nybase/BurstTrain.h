// A burst train with known onset times: the demo's self-made input.
#pragma once

#include <cstdint>
#include <vector>

namespace nybase::tool {

struct BurstTrain {
  unsigned sampleRate = 0;
  unsigned channels = 0;
  std::vector<double> onsets;  // seconds, ascending
  std::vector<float> samples;  // interleaved
};

// Noise bursts (sharp attack, exponential decay) at irregular known times over silence. The same
// arguments always give the same samples. Every sample lies within [-1, 1].
BurstTrain MakeBurstTrain(unsigned sampleRate, unsigned channels);

}  // namespace nybase::tool
