// The onset detector's pipeline: windowed power spectra, spectral flux, envelope and peak picking.
#include <nybase/analysis/internal/OnsetAnalysis.h>

#include <kissfft/kiss_fftr.h>

#include <algorithm>
#include <bit>
#include <cstdint>
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

float SpectralFlux::PowerAndFlux() {
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
  std::swap(m_current, m_previous);
  return flux;
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
                             unsigned int sampleRate, IFluxSink& sink) {
  if (!OnsetSourceUsable(channels, frames, sampleRate)) return;
  const unsigned int hop = OnsetHop(sampleRate);
  // A hop beyond one refill reads nothing after the first window, so the function stays empty;
  // refusing it here also keeps the first refill's start inside the buffer.
  if (hop > k_onsetRefill) return;

  SpectralFlux flux;
  if (!flux.Init()) return;

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
  flux.Process(flux.TimeBuffer());  // the reference for the next window; no value of its own

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
    for (unsigned int offset = 0; offset < got; offset += hop) sink.Push(flux.Process(mono + offset));
    advance = got;
    total += got;
  }
}

void MemoryDetectionFunction(const float* samples, unsigned int channels, unsigned int frames,
                             unsigned int sampleRate, IFluxSink& sink) {
  if (!samples || !OnsetSourceUsable(channels, frames, sampleRate)) return;
  const unsigned int hop = OnsetHop(sampleRate);

  SpectralFlux flux;
  if (!flux.Init()) return;

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
    const float value = flux.Process(time);
    if (!first) sink.Push(value);  // the priming window has no value of its own
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

OnsetPicker::OnsetPicker(unsigned int sampleRate, unsigned int hop, size_t countLimit)
    : m_sampleRate(sampleRate), m_hop(hop) {
  // Prominence walks reach about a second either side of a peak.
  const size_t w = hop == 0 ? 0 : static_cast<size_t>(std::ceil(static_cast<float>(sampleRate) / static_cast<float>(hop)));
  m_reach = w;
  // Room for both walks, plus the peak test's range, whose bounds go through float and so may
  // move by up to 256 indices at the largest counts.
  const size_t size = std::bit_ceil(2 * std::min(w, countLimit) + 1024);
  m_ring.assign(size, 0.0f);
  m_pending.assign(size, 0);
  m_mask = size - 1;
}

size_t OnsetPicker::UpperBound(size_t i, size_t count) const {
  // The bound goes through float; clamped so that float rounding of huge counts stays in range.
  const float bf = std::min(static_cast<float>(i) + 3.0f, static_cast<float>(count));
  return std::clamp(static_cast<size_t>(bf), i + 1, count);
}

void OnsetPicker::Push(float value) {
  m_ring[m_count & m_mask] = value;
  ++m_count;
  // Peak tests whose range is now complete (the count is unknown yet, so only i + 3 bounds it).
  while (UpperBound(m_next, SIZE_MAX) <= m_count) TestPeak(m_next++, SIZE_MAX);
  // Peaks whose right walk is now complete.
  while (m_pendingHead != m_pendingTail) {
    const size_t p = m_pending[m_pendingHead & m_mask];
    if (p + m_reach > m_count) break;
    Score(p, SIZE_MAX);
    ++m_pendingHead;
  }
}

void OnsetPicker::Finish(std::vector<NyOnsetDetector::Onset>& onsets) {
  const size_t count = m_count;
  if (count == 0) return;
  while (m_next < count) TestPeak(m_next++, count);
  for (; m_pendingHead != m_pendingTail; ++m_pendingHead) Score(m_pending[m_pendingHead & m_mask], count);
  // NaN strengths (from infinite input) sort first, so the order stays a strict weak order.
  std::stable_sort(m_onsets.begin(), m_onsets.end(),
                   [](const NyOnsetDetector::Onset& l, const NyOnsetDetector::Onset& r) {
                     if (std::isnan(l.strength)) return !std::isnan(r.strength);
                     return l.strength < r.strength;
                   });
  onsets.swap(m_onsets);
  m_onsets.clear();
}

void OnsetPicker::TestPeak(size_t i, size_t count) {
  const float x = At(i);
  if (i == 0) {
    // What the mean starts from when there is a single value is open: the missing one counts 0.
    m_mean = x / 12.0f + (count > 1 ? At(1) / 12.0f : 0.0f);
  }
  // A running mean of twelfths of f over i - 9 .. i + 2. Near the end the upper bound is clamped
  // and the last value is added again at every step: deliberately not corrected.
  const size_t a = std::min(static_cast<size_t>(std::max(0.0f, static_cast<float>(i) - 9.0f)), i);
  const size_t b = UpperBound(i, count);
  if (a >= 1) m_mean -= At(a - 1) / 12.0f;
  m_mean += At(b - 1) / 12.0f;

  bool peak = x >= m_mean && x >= 1.0f && (i == 0 || x >= static_cast<float>(m_envPrevious));
  if (peak) {
    float top = 0.0f;
    for (size_t j = a; j < b; ++j) top = std::max(top, At(j));
    peak = x == top;
  }
  if (peak) m_pending[m_pendingTail++ & m_mask] = i;

  // The envelope keeps whole numbers only: the fraction is dropped at each step on purpose, so an
  // envelope below 1 is 0.
  if (i == 0) {
    m_envPrevious = TruncateToU32(x);
  } else {
    const float t = static_cast<float>(m_envPrevious) * 0.9f + x * 0.100000024f;
    m_envPrevious = TruncateToU32(x > t ? x : t);
  }
}

void OnsetPicker::Score(size_t p, size_t count) {
  // Prominence over the higher of the two valleys within about a second each side; a side with
  // no descent does not count.
  const size_t lo = p > m_reach ? p - m_reach : 0;
  const size_t hi = std::min(p + m_reach, count);
  const float x = At(p);
  float left = x;
  for (size_t j = p;; --j) {
    if (x < At(j)) break;
    left = std::min(left, At(j));
    if (j == lo) break;
  }
  float right = x;
  for (size_t j = p; j < hi; ++j) {
    if (x < At(j)) break;
    right = std::min(right, At(j));
  }
  float strength;
  if (x == left) {
    strength = x - right;
  } else if (x == right) {
    strength = x - left;
  } else {
    strength = x - std::max(left, right);
  }
  const double time = static_cast<double>(m_hop) * static_cast<double>(p) / static_cast<double>(m_sampleRate);
  m_onsets.push_back({strength, time});
}

void PickOnsets(const std::vector<float>& f, unsigned int sampleRate, unsigned int hop,
                std::vector<NyOnsetDetector::Onset>& onsets) {
  if (f.empty() || hop == 0) return;
  OnsetPicker picker(sampleRate, hop, f.size());
  for (const float v : f) picker.Push(v);
  picker.Finish(onsets);
}

}  // namespace lu::analysis::detail
