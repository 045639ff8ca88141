// The onset detector's pipeline: detection functions of the streamed and in-memory forms, and
// the peak picking that turns a detection function into scored onsets.
#pragma once

#include <cstdint>
#include <vector>

#include <nybase/analysis/NyOnsetDetector.h>
#include <nybase/analysis/internal/FrameSource.h>

namespace lu::analysis::detail {

inline constexpr unsigned int k_onsetWindow = 2048;
inline constexpr unsigned int k_onsetBins = k_onsetWindow / 2 + 1;
inline constexpr unsigned int k_onsetHalfWindow = k_onsetWindow / 2;
// Frames per refill of the streamed form's work buffer, which holds this plus one window.
inline constexpr unsigned int k_onsetRefill = 32768;

// Frames between analysis windows: a hundredth of a second (integer division).
inline unsigned int OnsetHop(unsigned int sampleRate) { return sampleRate / 100; }

// True when a source of these dimensions yields at least one window: enough frames, a non-zero
// hop and at least one channel.
bool OnsetSourceUsable(unsigned int channels, unsigned int frames, unsigned int sampleRate);

// Detection function (one spectral-flux value per window after the first) of a source read
// through `source` with a buffer of constant size. `function` is cleared first and stays empty
// when the source is refused or its first reads deliver nothing.
void StreamDetectionFunction(IFrameSource& source, unsigned int channels, unsigned int frames,
                             unsigned int sampleRate, std::vector<float>& function);

// The same for interleaved samples in memory. Its first windows differ from the streamed form.
void MemoryDetectionFunction(const float* samples, unsigned int channels, unsigned int frames,
                             unsigned int sampleRate, std::vector<float>& function);

// Envelope, running mean, peak test and prominence: replaces `onsets` by one scored onset per
// peak of `function`, sorted by strength ascending (stable). Does nothing for an empty function.
void PickOnsets(const std::vector<float>& function, unsigned int sampleRate, unsigned int hop,
                std::vector<NyOnsetDetector::Onset>& onsets);

// float -> unsigned 32 bits as the envelope stores it: the fraction dropped, the low 32 bits of
// the 64-bit integer kept; NaN and values beyond 64 bits give 0.
uint32_t TruncateToU32(float v);

}  // namespace lu::analysis::detail
