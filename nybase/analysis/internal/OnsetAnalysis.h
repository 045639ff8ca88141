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
  // One window of 2048 mono samples (which may be TimeBuffer()): returns its flux over the previous
  // window (meaningless for the very first window, which only serves as the reference).
  float Process(const float* mono) {
    Window(mono);
    Transform();
    return PowerAndFlux();
  }
  // The three steps of Process, apart so that their costs can be measured.
  void Window(const float* mono);
  void Transform();
  float PowerAndFlux();

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

// Receives a detection function one value at a time.
class IFluxSink {
 public:
  virtual void Push(float value) = 0;

 protected:
  ~IFluxSink() = default;
};

// Collects a detection function in a vector.
class VectorFluxSink final : public IFluxSink {
 public:
  explicit VectorFluxSink(std::vector<float>& out) : m_out(out) {}
  void Push(float value) override { m_out.push_back(value); }

 private:
  std::vector<float>& m_out;
};

// Envelope, running mean, peak test and prominence over a detection function fed one value at a
// time. Only the values still within reach of the peak test and of the prominence walks are
// kept, so memory does not grow with the source; only the onsets found do.
class OnsetPicker final : public IFluxSink {
 public:
  // `countLimit` bounds the number of values that will come (and so the reach of the walks).
  OnsetPicker(unsigned int sampleRate, unsigned int hop, size_t countLimit);
  void Push(float value) override;
  // Values received so far.
  size_t Count() const { return m_count; }
  // Completes the values near the end and replaces `onsets` by one scored onset per peak, sorted
  // by strength ascending (stable). Leaves `onsets` alone when no value came.
  void Finish(std::vector<NyOnsetDetector::Onset>& onsets);

 private:
  float At(size_t i) const { return m_ring[i & m_mask]; }
  size_t UpperBound(size_t i, size_t count) const;
  void TestPeak(size_t i, size_t count);
  void Score(size_t p, size_t count);

  unsigned int m_sampleRate;
  unsigned int m_hop;
  size_t m_reach;            // windows either side of a peak in its prominence walks
  std::vector<float> m_ring;  // the last values, indexed modulo its power-of-two size
  std::vector<size_t> m_pending;  // peaks found but not yet scored, same indexing
  size_t m_mask;
  size_t m_count = 0;  // values received
  size_t m_next = 0;   // next index for the peak test
  size_t m_pendingHead = 0, m_pendingTail = 0;
  uint32_t m_envPrevious = 0;  // envelope at m_next - 1
  float m_mean = 0.0f;
  std::vector<NyOnsetDetector::Onset> m_onsets;
};

// Detection function (one spectral-flux value per window after the first) of a source read
// through `source` with a buffer of constant size, pushed to `sink`. Nothing is pushed when the
// source is refused or its first reads deliver nothing.
void StreamDetectionFunction(IFrameSource& source, unsigned int channels, unsigned int frames,
                             unsigned int sampleRate, IFluxSink& sink);

// The same for interleaved samples in memory. Its first windows differ from the streamed form.
void MemoryDetectionFunction(const float* samples, unsigned int channels, unsigned int frames,
                             unsigned int sampleRate, IFluxSink& sink);

// The two forms collected in a vector (cleared first).
inline void StreamDetectionFunction(IFrameSource& source, unsigned int channels, unsigned int frames,
                                    unsigned int sampleRate, std::vector<float>& function) {
  function.clear();
  VectorFluxSink sink(function);
  StreamDetectionFunction(source, channels, frames, sampleRate, sink);
}
inline void MemoryDetectionFunction(const float* samples, unsigned int channels, unsigned int frames,
                                    unsigned int sampleRate, std::vector<float>& function) {
  function.clear();
  VectorFluxSink sink(function);
  MemoryDetectionFunction(samples, channels, frames, sampleRate, sink);
}

// A whole detection function through OnsetPicker: replaces `onsets` unless `function` is empty.
void PickOnsets(const std::vector<float>& function, unsigned int sampleRate, unsigned int hop,
                std::vector<NyOnsetDetector::Onset>& onsets);

// float -> unsigned 32 bits as the envelope stores it: the fraction dropped, the low 32 bits of
// the 64-bit integer kept; NaN and values beyond 64 bits give 0.
uint32_t TruncateToU32(float v);

}  // namespace lu::analysis::detail
