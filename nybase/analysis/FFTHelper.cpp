// FFTHelper: peak-hold spectrum over blocks of a source, on KISS FFT in single precision.
#include <nybase/analysis/FFTHelper.h>

#include <kissfft/kiss_fftr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

#include <nybase/audio/NyAudioFileReader.h>

#include <nybase/analysis/internal/AlignedArray.h>
#include <nybase/analysis/internal/FrameSource.h>
#include <nybase/analysis/internal/SpectrumSteps.h>

namespace detail = lu::analysis::detail;

namespace lu::analysis::detail {

void MakeWindow(unsigned int n, int kind, float* w) {
  std::fill(w, w + n, 0.0f);
  if (kind == FFTHelper::Triangular) {
    if (n < 2) return;
    const unsigned int h = n / 2;
    for (unsigned int i = 0; i < h; ++i) {
      const float r = static_cast<float>(i) / static_cast<float>(h);
      w[i] = r;
      w[i + h] = 1.0f - r;
    }
    return;
  }
  if (kind != FFTHelper::Hamming && kind != FFTHelper::Hann) return;
  const float t = 6.2831855f / static_cast<float>(n - 1);
  for (unsigned int i = 0; i < n; ++i) {
    const float c = std::cos(static_cast<float>(i) * t);
    w[i] = kind == FFTHelper::Hamming ? 0.53836f - 0.46164f * c : (1.0f - c) * 0.5f;
  }
}

void UnpackPower(const float* freq, unsigned int n, float* power) {
  auto re = [freq](unsigned int k) { return freq[2 * k]; };
  auto im = [freq](unsigned int k) { return freq[2 * k + 1]; };
  const float theta = 3.14159265f / static_cast<float>(n);
  const float s = std::sin(theta * 0.5f);
  const float wpr = -2.0f * s * s;
  const float wpi = std::sin(theta);
  float wr = 1.0f + wpr;
  float wi = wpi;
  for (unsigned int k = 1; k < n / 2; ++k) {
    const unsigned int j = n - k;
    const float a = (im(j) + im(k)) * 0.5f;
    const float b = (re(k) - re(j)) * -0.5f;
    const float p = (re(j) + re(k)) * 0.5f;
    const float d = (im(k) - im(j)) * 0.5f;
    const float u = b * wr + d + a * wi;
    const float v = b * wr - d + a * wi;
    const float x = a * wr + p - b * wi;
    const float y = p - a * wr + b * wi;
    power[k] = u * u + x * x;
    power[j] = v * v + y * y;
    const float t = wpi * wr;
    wr = wr + wr * wpr - wi * wpi;
    wi = wi + wi * wpr + t;
  }
  const float d0 = re(0) - im(0);
  const float s0 = im(0) + re(0);
  power[0] = d0 * d0 + s0 * s0;
  power[n / 2] = re(n / 2) * re(n / 2) + im(n / 2) * im(n / 2);
}

}  // namespace lu::analysis::detail

struct FFTHelper::State {
  kiss_fftr_cfg config = nullptr;
  detail::AlignedArray<float> window;
  detail::AlignedArray<float> time;
  // n bins although the real FFT writes only 0..n/2: the unpack step reads the zeros above.
  detail::AlignedArray<kiss_fft_cpx> freq;
  detail::AlignedArray<float> power;
  ~State() { kiss_fftr_free(config); }
};

FFTHelper::FFTHelper(unsigned int size, WindowFunction window) : m_size(size) {
  if (size % 2 != 0) {
    std::fputs("Real FFT optimization must be even.\n", stderr);
    return;
  }
  if (size == 0 || size > (1u << 30)) return;
  auto state = std::make_unique<State>();
  if (!state->window.Allocate(size) || !state->time.Allocate(size) || !state->freq.Allocate(size) ||
      !state->power.Allocate(size)) {
    return;
  }
  state->config = kiss_fftr_alloc(static_cast<int>(size), 0, nullptr, nullptr);
  if (!state->config) return;
  detail::MakeWindow(size, window, state->window.data());
  m_state = std::move(state);
}

FFTHelper::~FFTHelper() = default;

bool FFTHelper::GetSpectrum(const lu::Path& path, std::vector<float>& spectrum, unsigned int& sampleRate,
                            IProgress* progress) {
  std::unique_ptr<NyAudioFileReader> reader(NyAudioFileReader::Create(path, nullptr));
  if (!reader || !reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data)) return false;
  const WaveFormatExtensible& format = reader->GetFormat();
  // The frame count divides by the block align, which a damaged format may leave at 0.
  if (format.nBlockAlign == 0) return false;
  sampleRate = format.nSamplesPerSec;
  detail::ReaderFrameSource source(*reader);
  // The mix runs over nChannels; a read delivers as many samples per frame as the channel
  // configuration says, and the block is sized for the larger of the two.
  return Compute(source, format.nChannels, format.channelConfig.GetNumChannels(), reader->GetNumFrames(),
                 spectrum, progress);
}

bool FFTHelper::GetSpectrum(const float* samples, unsigned int channels, unsigned int frames,
                            std::vector<float>& spectrum, IProgress* progress) {
  detail::MemoryFrameSource source(samples, channels, frames);
  return Compute(source, channels, channels, samples ? frames : 0, spectrum, progress);
}

bool FFTHelper::Compute(detail::IFrameSource& source, unsigned int channels, unsigned int blockChannels,
                        unsigned int frames, std::vector<float>& spectrum, IProgress* progress) {
  if (!m_state) return false;
  const unsigned int n = m_size;
  const unsigned int h = n / 2;
  const float gain = 1.0f / std::sqrt(static_cast<float>(channels));

  spectrum.resize(h, 0.0f);
  // The block holds what the source writes per frame, which may be more than `channels`.
  detail::AlignedArray<float> block;
  if (!block.Allocate(size_t{std::max(channels, blockChannels)} * n)) return false;
  const float* window = m_state->window.data();
  float* time = m_state->time.data();
  float* power = m_state->power.data();

  if (progress) progress->SetRange(0, frames);
  source.SeekToFrame(0);
  uint64_t position = 0;
  do {
    const unsigned int r = std::min(source.ReadFrames(n, block.data()), n);
    if (r == 0) {
      // An empty block transforms to all-zero powers; the peak hold with 0 is all it changes.
      for (unsigned int k = 0; k < h; ++k) spectrum[k] = std::max(spectrum[k], 0.0f);
    } else {
      for (unsigned int i = 0; i < r; ++i) {
        const float* frame = block.data() + size_t{i} * channels;
        float s = 0.0f;
        for (unsigned int k = 0; k < channels; ++k) s += gain * frame[k];
        time[i] = s * window[i];
      }
      std::fill(time + r, time + n, 0.0f);
      kiss_fftr(m_state->config, time, m_state->freq.data());
      detail::UnpackPower(reinterpret_cast<const float*>(m_state->freq.data()), n, power);
      for (unsigned int k = 0; k < h; ++k) spectrum[k] = std::max(spectrum[k], power[k]);
    }
    // The position moves by half a block although a block consumes a whole one, so the loop runs
    // about twice as long as the data; deliberately kept, progress callers see this range.
    position += h;
    if (progress) {
      progress->SetPosition(static_cast<int64_t>(position));
      if (progress->IsCancelled()) return false;
    }
  } while (position <= frames);

  const float fn = static_cast<float>(n);
  float m = -96.3f;
  for (unsigned int k = 0; k < h; ++k) {
    spectrum[k] = 10.0f * std::log10(spectrum[k] / fn);
    m = std::max(m, spectrum[k]);
  }
  // The peak goes to 0 dB and -96.3 stays where it is; no clamp below, so a bin of power 0 stays
  // at -inf. When nothing rises above -96.3 (silence) the gain is infinite and every bin is NaN.
  const float q = 96.3f / (m + 96.3f);
  if (std::isinf(q)) {
    std::fill(spectrum.begin(), spectrum.begin() + h, std::numeric_limits<float>::quiet_NaN());
    return true;
  }
  for (unsigned int k = 0; k < h; ++k) spectrum[k] = (spectrum[k] + 96.3f) * q - 96.3f;
  return true;
}

float FFTHelper::FindMaximumFrequency(const std::vector<float>& spectrum, unsigned int sampleRate,
                                      double threshold) {
  const size_t m = spectrum.size();
  for (size_t i = m; i-- > 0;) {
    if (static_cast<double>(spectrum[i]) > threshold) {
      // The product is taken in 32-bit unsigned arithmetic on purpose, as callers have always seen it.
      const uint32_t product = static_cast<uint32_t>(i) * sampleRate;
      return static_cast<float>(product) / static_cast<float>(2 * m);
    }
  }
  return 0.0f;
}
