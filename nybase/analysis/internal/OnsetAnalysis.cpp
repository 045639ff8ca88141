// The onset detector's pipeline: windowed power spectra, spectral flux, envelope and peak picking.
#include <nybase/analysis/internal/OnsetAnalysis.h>

#include <kissfft/kiss_fftr.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace lu::analysis::detail {

void Downmix(const float* in, unsigned int channels, size_t frames, float* out) {
  if (channels == 1) {
    std::memcpy(out, in, frames * sizeof(float));
    return;
  }
  const float scale = 1.0f / static_cast<float>(channels);
  if (channels == 2) {
    for (size_t i = 0; i < frames; ++i) {
      float s = 0.0f;
      s += in[2 * i];
      s += in[2 * i + 1];
      out[i] = s * scale;
    }
    return;
  }
  for (size_t i = 0; i < frames; ++i) {
    const float* frame = in + i * channels;
    float s = 0.0f;
    for (unsigned int k = 0; k < channels; ++k) s += frame[k];
    out[i] = s * scale;
  }
}

SpectralFlux::~SpectralFlux() { kiss_fftr_free(m_config); }

bool SpectralFlux::Init() {
  if (!m_window.Allocate(k_onsetWindow) || !m_time.Allocate(k_onsetWindow) || !m_freq.Allocate(2 * k_onsetBins) ||
      !m_current.Allocate(k_onsetBins) || !m_previous.Allocate(k_onsetBins)) {
    return false;
  }
  m_config = kiss_fftr_alloc(static_cast<int>(k_onsetWindow), 0, nullptr, nullptr);
  if (!m_config) return false;
  // Hamming in float with 2 pi = 6.2831855; the power is normalised by the window's sum.
  const float t = 6.2831855f / static_cast<float>(k_onsetWindow - 1);
  float sum = 0.0f;
  for (unsigned int i = 0; i < k_onsetWindow; ++i) {
    m_window[i] = 0.53836f - 0.46164f * std::cos(static_cast<float>(i) * t);
    sum += m_window[i];
  }
  m_norm = 1.0f / sum;
  return true;
}

void SpectralFlux::Window(const float* mono) {
  float* time = m_time.data();
  const float* window = m_window.data();
  for (unsigned int i = 0; i < k_onsetWindow; ++i) time[i] = mono[i] * window[i];
}

void SpectralFlux::Transform() {
  kiss_fftr(m_config, m_time.data(), reinterpret_cast<kiss_fft_cpx*>(m_freq.data()));
}

void SpectralFlux::PowerAndFlux(bool first, std::vector<float>& function) {
  const kiss_fft_cpx* freq = reinterpret_cast<const kiss_fft_cpx*>(m_freq.data());
  float* cur = m_current.data();
  const float* prev = m_previous.data();
  const float norm = m_norm;
  // Four bins at a time over the first 1024 bins, in four partial sums combined at the end; the
  // last bin is finished by itself.
  constexpr unsigned int wide = k_onsetBins & ~3u;
  float s0 = 0.0f, s1 = 0.0f, s2 = 0.0f, s3 = 0.0f;
  for (unsigned int k = 0; k < wide; k += 4) {
    const float p0 = (freq[k].r * freq[k].r + freq[k].i * freq[k].i) * norm;
    const float p1 = (freq[k + 1].r * freq[k + 1].r + freq[k + 1].i * freq[k + 1].i) * norm;
    const float p2 = (freq[k + 2].r * freq[k + 2].r + freq[k + 2].i * freq[k + 2].i) * norm;
    const float p3 = (freq[k + 3].r * freq[k + 3].r + freq[k + 3].i * freq[k + 3].i) * norm;
    cur[k] = p0;
    cur[k + 1] = p1;
    cur[k + 2] = p2;
    cur[k + 3] = p3;
    const float d0 = p0 - prev[k], d1 = p1 - prev[k + 1], d2 = p2 - prev[k + 2], d3 = p3 - prev[k + 3];
    s0 += (std::fabs(d0) + d0) * 0.5f;
    s1 += (std::fabs(d1) + d1) * 0.5f;
    s2 += (std::fabs(d2) + d2) * 0.5f;
    s3 += (std::fabs(d3) + d3) * 0.5f;
  }
  float flux = (s0 + s1) + (s2 + s3);
  for (unsigned int k = wide; k < k_onsetBins; ++k) {
    cur[k] = (freq[k].r * freq[k].r + freq[k].i * freq[k].i) * norm;
    const float d = cur[k] - prev[k];
    flux += (std::fabs(d) + d) * 0.5f;
  }
  if (!first) function.push_back(flux);
  std::swap(m_current, m_previous);
}

bool OnsetSourceUsable(unsigned int channels, unsigned int frames, unsigned int sampleRate) {
  const unsigned int hop = OnsetHop(sampleRate);
  // A rate below 100 gives a hop of 0 and a division by zero later: refuse it as too short.
  if (hop == 0) return false;
  // Without channels there are no samples to mix, so there is nothing to analyse.
  if (channels == 0) return false;
  return frames >= hop + k_onsetWindow;
}

void StreamDetectionFunction(IFrameSource& source, unsigned int channels, unsigned int frames,
                             unsigned int sampleRate, std::vector<float>& function) {
  function.clear();
  if (!OnsetSourceUsable(channels, frames, sampleRate)) return;
  const unsigned int hop = OnsetHop(sampleRate);
  // A hop beyond one refill reads nothing after the first window, so the function stays empty;
  // refusing it here also keeps the first refill's start inside the buffer.
  if (hop > k_onsetRefill) return;

  SpectralFlux flux;
  if (!flux.Init()) return;
  function.reserve(frames / hop);

  // Work buffer: one refill plus the overlap of one window, interleaved. `mono` mirrors it frame
  // by frame after the mixdown, so each frame is mixed once however many windows cover it.
  constexpr size_t bufferFrames = k_onsetRefill + k_onsetWindow;
  AlignedArray<float> work;
  if (!work.Allocate(bufferFrames * channels)) return;
  AlignedArray<float> monoStore;
  if (channels != 1 && !monoStore.Allocate(bufferFrames)) return;
  float* const buffer = work.data();
  float* const mono = channels == 1 ? buffer : monoStore.data();
  auto mixFrames = [&](size_t from, size_t count) {
    if (channels != 1) Downmix(buffer + from * channels, channels, count, mono + from);
  };

  const unsigned int chunk = k_onsetRefill / hop * hop;
  const unsigned int limit = frames - k_onsetHalfWindow;

  // The priming window: the first 1024 samples land at element 1024 whatever the channel count,
  // so with two channels they begin at frame 512. Deliberately kept: it only shapes the first
  // window, which serves as the reference for the second.
  source.SeekToFrame(0);
  if (source.ReadFrames(k_onsetHalfWindow, buffer + k_onsetHalfWindow) == 0) return;
  Downmix(buffer, channels, k_onsetWindow, flux.TimeBuffer());
  flux.Process(flux.TimeBuffer(), true, function);

  // Frames 32768..34815 get the source frames hop - 1024 .. hop + 1023, zeros before the start.
  source.SeekToFrame(0);
  const size_t primeAt = bufferFrames - k_onsetHalfWindow - hop;
  if (source.ReadFrames(hop + k_onsetHalfWindow, buffer + primeAt * channels) == 0) return;
  mixFrames(k_onsetRefill, k_onsetWindow);

  uint64_t total = uint64_t{hop} + k_onsetHalfWindow;
  size_t advance = k_onsetRefill;
  while (total < limit) {
    const size_t keep = bufferFrames - advance;
    std::memmove(buffer, buffer + advance * channels, keep * channels * sizeof(float));
    if (channels != 1) std::memmove(mono, mono + advance, keep * sizeof(float));
    const unsigned int got = std::min(source.ReadFrames(chunk, buffer + size_t{k_onsetWindow} * channels), chunk);
    if (got == 0) break;
    mixFrames(k_onsetWindow, got);
    for (unsigned int offset = 0; offset < got; offset += hop) flux.Process(mono + offset, false, function);
    advance = got;
    total += got;
  }
}

void MemoryDetectionFunction(const float* samples, unsigned int channels, unsigned int frames,
                             unsigned int sampleRate, std::vector<float>& function) {
  function.clear();
  if (!samples || !OnsetSourceUsable(channels, frames, sampleRate)) return;
  const unsigned int hop = OnsetHop(sampleRate);

  SpectralFlux flux;
  if (!flux.Init()) return;
  function.reserve(frames / hop);

  float* const time = flux.TimeBuffer();
  const int64_t limit = int64_t{frames} - k_onsetWindow;
  int64_t start = -static_cast<int64_t>(k_onsetHalfWindow);
  bool first = true;
  do {
    if (start >= 0) {
      Downmix(samples + static_cast<size_t>(start) * channels, channels, k_onsetWindow, time);
    } else {
      const size_t m = static_cast<size_t>(-start);
      std::memset(time, 0, k_onsetWindow * sizeof(float));
      if (channels == 1) {
        // Deliberately one slot early, and slot 2047 stays 0: the pre-roll's established shape.
        std::memcpy(time + m - 1, samples, (k_onsetWindow - m) * sizeof(float));
      } else {
        // Deliberately spread from slot 2m - 1; frames that would land past the window are
        // dropped. This shapes only the first few windows.
        const size_t at = 2 * m - 1;
        if (at < k_onsetWindow) {
          const size_t n = std::min(k_onsetWindow - m, k_onsetWindow - at);
          Downmix(samples, channels, n, time + at);
        }
      }
    }
    flux.Process(time, first, function);
    first = false;
    start += hop;
  } while (start < limit);
}

uint32_t TruncateToU32(float v) {
  // Beyond the 64-bit range (and for NaN) a conversion is undefined; the hardware answer there
  // has zero low bits, which is what is kept.
  if (!(v > -9.2233720e18f && v < 9.2233720e18f)) return 0;
  return static_cast<uint32_t>(static_cast<uint64_t>(static_cast<int64_t>(v)));
}

void PickOnsets(const std::vector<float>& f, unsigned int sampleRate, unsigned int hop,
                std::vector<NyOnsetDetector::Onset>& onsets) {
  const size_t count = f.size();
  if (count == 0 || hop == 0) return;

  // The envelope keeps whole numbers only: the fraction is dropped at each step on purpose, so an
  // envelope below 1 is 0.
  std::vector<uint32_t> env(count);
  env[0] = TruncateToU32(f[0]);
  for (size_t i = 1; i < count; ++i) {
    const float t = static_cast<float>(env[i - 1]) * 0.9f + f[i] * 0.100000024f;
    env[i] = TruncateToU32(f[i] > t ? f[i] : t);
  }

  // A running mean of twelfths of f over i - 9 .. i + 2. Near the end the upper bound is clamped
  // and the last value is added again at every step: deliberately not corrected.
  float mean = f[0] / 12.0f + (count > 1 ? f[1] / 12.0f : 0.0f);
  std::vector<size_t> peaks;
  for (size_t i = 0; i < count; ++i) {
    const float af = std::max(0.0f, static_cast<float>(i) - 9.0f);
    const float bf = std::min(static_cast<float>(i) + 3.0f, static_cast<float>(count));
    // The bounds go through float; clamped so that float rounding of huge counts stays in range.
    const size_t a = std::min(static_cast<size_t>(af), i);
    const size_t b = std::clamp(static_cast<size_t>(bf), i + 1, count);
    if (a >= 1) mean -= f[a - 1] / 12.0f;
    mean += f[b - 1] / 12.0f;

    const float x = f[i];
    if (!(x >= mean) || !(x >= 1.0f)) continue;
    if (i > 0 && !(x >= static_cast<float>(env[i - 1]))) continue;
    float top = 0.0f;
    for (size_t j = a; j < b; ++j) top = std::max(top, f[j]);
    if (x == top) peaks.push_back(i);
  }

  // Prominence over the higher of the two valleys within about a second each side.
  const size_t w = static_cast<size_t>(std::ceil(static_cast<float>(sampleRate) / static_cast<float>(hop)));
  onsets.clear();
  onsets.reserve(peaks.size());
  for (const size_t p : peaks) {
    const size_t lo = p > w ? p - w : 0;
    const size_t hi = std::min(p + w, count);
    const float x = f[p];
    float left = x;
    for (size_t j = p;; --j) {
      if (x < f[j]) break;
      left = std::min(left, f[j]);
      if (j == lo) break;
    }
    float right = x;
    for (size_t j = p; j < hi; ++j) {
      if (x < f[j]) break;
      right = std::min(right, f[j]);
    }
    float strength;
    if (x == left) {
      strength = x - right;
    } else if (x == right) {
      strength = x - left;
    } else {
      strength = x - std::max(left, right);
    }
    onsets.push_back({strength, static_cast<double>(hop) * static_cast<double>(p) / static_cast<double>(sampleRate)});
  }

  // NaN strengths (from infinite input) sort first, so the order stays a strict weak order.
  std::stable_sort(onsets.begin(), onsets.end(),
                   [](const NyOnsetDetector::Onset& l, const NyOnsetDetector::Onset& r) {
                     if (std::isnan(l.strength)) return !std::isnan(r.strength);
                     return l.strength < r.strength;
                   });
}

}  // namespace lu::analysis::detail
