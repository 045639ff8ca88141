// Builds small WAV files byte by byte for the tool's tests, with optional cue, label, sampler and
// hash chunks, so that what the tool reports can be checked against what was written.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace nytest {

struct TestMarker {
  uint32_t id;
  uint32_t frame;
  std::string label;  // written as a "labl" with its NUL when not empty
};

struct TestWav {
  uint32_t sampleRate = 48000;
  uint16_t channels = 1;
  std::vector<int16_t> samples;  // interleaved 16-bit PCM
  std::vector<TestMarker> markers;
  bool loop = false;
  uint32_t loopStart = 0, loopEnd = 0;
  std::vector<uint8_t> hash;  // 16 bytes, or empty for no hash chunk
  // Further chunks written as they are after the others: four-character code and payload.
  std::vector<std::pair<std::string, std::vector<uint8_t>>> extraChunks;
};

std::vector<uint8_t> BuildWav(const TestWav& wav);

// Noise bursts of `seconds` total length at the given onset times (16-bit, mono).
std::vector<int16_t> Bursts(uint32_t sampleRate, double seconds, const std::vector<double>& onsets);

}  // namespace nytest
