// The onset detector's pipeline: detection functions of the streamed and in-memory forms, and
// the peak picking that turns a detection function into scored onsets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <nybase/analysis/NyOnsetDetector.h>
#include <nybase/analysis/internal/AlignedArray.h>
#include <nybase/analysis/internal/FrameSource.h>

// The FFT configuration type, opaque here.
struct kiss_fftr_state;

namespace lu::analysis::detail {

inline constexpr unsigned int k_onsetWindow = 2048;
inline constexpr unsigned int k_onsetBins = k_onsetWindow / 2 + 1;
inline constexpr unsigned int k_onsetHalfWindow = k_onsetWindow / 2;
// Frames per refill of the streamed form's work buffer, which holds this plus one window.
inline constexpr unsigned int k_onsetRefill = 32768;

// Frames between analysis windows: a hundredth of a second (integer division).
inline unsigned int OnsetHop(unsigned int sampleRate) { return sampleRate / 100; }

// Mono mixdown of interleaved frames: the c samples of a frame summed in channel order from 0,
// times 1/c in float; one channel is copied as it stands.
void Downmix(const float* in, unsigned int channels, size_t frames, float* out);

// The per-window stage: Hamming window, real FFT of 2048 points, power spectrum normalised by the
// window's sum, and the half-wave rectified flux against the previous window. All arrays are
// 16-byte aligned; the two power spectra trade places after every window.
class SpectralFlux {
 public:
  SpectralFlux() = default;
  ~SpectralFlux();
  SpectralFlux(const SpectralFlux&) = delete;
  SpectralFlux& operator=(const SpectralFlux&) = delete;

  // False when memory runs out.
  bool Init();
  // Scratch of one window's mono samples, for callers that assemble a window in place.
  float* TimeBuffer() { return m_time.data(); }
  // One window of 2048 mono samples (which may be TimeBuffer()): every window but the first
  // appends its flux over the previous one to `function`.
  void Process(const float* mono, bool first, std::vector<float>& function) {
    Window(mono);
    Transform();
    PowerAndFlux(first, function);
  }
  // The three steps of Process, apart so that their costs can be measured.
  void Window(const float* mono);
  void Transform();
  void PowerAndFlux(bool first, std::vector<float>& function);

 private:
  ::kiss_fftr_state* m_config = nullptr;
  float m_norm = 0.0f;
  AlignedArray<float> m_window;
  AlignedArray<float> m_time;
  AlignedArray<float> m_current;
  AlignedArray<float> m_previous;
  AlignedArray<float> m_freq;  // 1025 (re, im) pairs as the FFT writes them
};

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
