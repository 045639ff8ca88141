// FFTHelper: the peak-hold spectrum of a whole audio source in decibels, and its highest frequency
// above a level.
#pragma once

#include <memory>
#include <vector>

#include <nybase/base/IProgress.h>
#include <nybase/files/Path.h>

namespace lu::analysis::detail {
class IFrameSource;
}

// Drives a real-input FFT of one size over consecutive blocks of a source. Built once per size and
// window, usable for any number of sources; one thread at a time.
class FFTHelper {
 public:
  enum WindowFunction : int { Triangular = 0, Hamming = 1, Hann = 2 };

  // Prepares an FFT of `size` points and its window. `size` must be even: an odd size prints
  // "Real FFT optimization must be even." on stderr and leaves an object whose spectra all fail,
  // as do a size of 0 and one beyond 2^30 or the memory available.
  FFTHelper(unsigned int size, WindowFunction window);
  ~FFTHelper();
  FFTHelper(const FFTHelper&) = delete;
  FFTHelper& operator=(const FFTHelper&) = delete;

  // The spectrum of a WAV file, read block by block: size/2 bins, each the highest power it reached
  // in any block, in dB stretched so that the peak is 0 and -96.3 stays fixed (a bin of power 0
  // stays at -inf; a silent file gives NaN throughout). `sampleRate` receives the file's rate.
  // Entries already in `spectrum` take part in the peak hold, so pass it empty. `progress` (may
  // be null) gets SetRange(0, frames) and a position per block; the position grows by half a block
  // per block, so about twice as many blocks run as the data fills. False when the file cannot be opened or
  // its chunks read, when the object is unusable, or when cancelled (`spectrum` then holds raw
  // peak powers).
  bool GetSpectrum(const lu::Path& path, std::vector<float>& spectrum, unsigned int& sampleRate,
                   IProgress* progress);
  // The same for `frames` interleaved frames of `channels` samples in memory, with the result a file
  // of those samples would give. False when the object is unusable or when cancelled.
  bool GetSpectrum(const float* samples, unsigned int channels, unsigned int frames,
                   std::vector<float>& spectrum, IProgress* progress);

  // Highest frequency whose entry is strictly above `threshold`: index i of m entries maps to
  // i x rate / (2 m). 0 when no entry is above it.
  static float FindMaximumFrequency(const std::vector<float>& spectrum, unsigned int sampleRate,
                                    double threshold);

 private:
  struct State;
  // The block loop, the conversion to dB and the stretch, for any source of frames.
  bool Compute(lu::analysis::detail::IFrameSource& source, unsigned int channels, unsigned int blockChannels,
                  unsigned int frames, std::vector<float>& spectrum, IProgress* progress);

  unsigned int m_size;
  std::unique_ptr<State> m_state;
};
