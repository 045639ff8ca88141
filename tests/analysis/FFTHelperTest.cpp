// FFTHelper: windows, the unpack step, peak bins, the dB stretch, progress and cancel.
#include <gtest/gtest.h>

#include <kissfft/kiss_fftr.h>

#include <cmath>
#include <complex>
#include <random>

#include <nybase/NYBase.h>
#include <nybase/analysis/internal/SpectrumSteps.h>

namespace detail = lu::analysis::detail;

namespace {

// Records the progress calls; cancels at the `cancelAt`-th position (0: never).
class RecordingProgress : public IProgress {
 public:
  explicit RecordingProgress(size_t cancelAt = 0) : m_cancelAt(cancelAt) {}
  void SetRange(int64_t min, int64_t max) override { ranges.emplace_back(min, max); }
  void SetPosition(int64_t value) override { positions.push_back(value); }
  bool IsCancelled() override { return m_cancelAt != 0 && positions.size() >= m_cancelAt; }
  std::vector<std::pair<int64_t, int64_t>> ranges;
  std::vector<int64_t> positions;

 private:
  size_t m_cancelAt;
};

std::vector<float> Sine(unsigned int channels, unsigned int frames, double cyclesPerFrame, float amplitude) {
  std::vector<float> s(size_t{frames} * channels);
  for (unsigned int i = 0; i < frames; ++i) {
    for (unsigned int c = 0; c < channels; ++c) {
      s[size_t{i} * channels + c] = amplitude * static_cast<float>(std::sin(2 * M_PI * cyclesPerFrame * i));
    }
  }
  return s;
}

}  // namespace

TEST(FFTWindow, Shapes) {
  struct Case {
    unsigned int n;
    int kind;
    std::vector<float> expected;
  };
  const std::vector<Case> cases = {
      {8, FFTHelper::Triangular, {0, 0.25f, 0.5f, 0.75f, 1, 0.75f, 0.5f, 0.25f}},
      {5, FFTHelper::Hann, {0, 0.5f, 1, 0.5f, 0}},
      {5, FFTHelper::Hamming, {0.07672f, 0.53836f, 1, 0.53836f, 0.07672f}},
      {4, 3, {0, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    std::vector<float> w(c.n, -1.0f);
    detail::MakeWindow(c.n, c.kind, w.data());
    for (unsigned int i = 0; i < c.n; ++i) EXPECT_NEAR(w[i], c.expected[i], 1e-6) << c.kind << " " << i;
  }
}

// The unpack step after a real FFT gives 0.5 |F[k]|^2 (1 + sin(pi k / n)) inside, 2 Re(F[0])^2
// at bin 0 and |F[n/2]|^2 at n/2; checked against a direct DFT in double precision.
TEST(FFTUnpack, MatchesTheTiltedPowerOfADirectTransform) {
  for (const unsigned int n : {2u, 16u, 64u}) {
    std::mt19937 gen(n);
    std::uniform_real_distribution<float> u(-1, 1);
    std::vector<float> x(n);
    for (float& v : x) v = u(gen);
    std::vector<kiss_fft_cpx> freq(n, kiss_fft_cpx{0, 0});
    kiss_fftr_cfg cfg = kiss_fftr_alloc(static_cast<int>(n), 0, nullptr, nullptr);
    kiss_fftr(cfg, x.data(), freq.data());
    kiss_fftr_free(cfg);
    std::vector<float> power(n, -1.0f);
    detail::UnpackPower(reinterpret_cast<const float*>(freq.data()), n, power.data());
    for (unsigned int k = 0; k <= n / 2; ++k) {
      std::complex<double> f = 0;
      for (unsigned int i = 0; i < n; ++i) f += double{x[i]} * std::polar(1.0, -2 * M_PI * k * i / n);
      double expected = 0.5 * std::norm(f) * (1 + std::sin(M_PI * k / n));
      if (k == 0) expected = 2 * f.real() * f.real();
      if (k == n / 2) expected = std::norm(f);
      EXPECT_NEAR(power[k], expected, 1e-4 * (1 + expected)) << "n " << n << " bin " << k;
    }
  }
}

TEST(FFTSpectrum, SinePeakBinAndMaximumFrequency) {
  // 3000 Hz at 48 kHz with n = 1024 sits on bin 64; leakage stays within some bins at -60 dB.
  const std::vector<float> s = Sine(1, 20480, 3000.0 / 48000, 0.5f);
  std::vector<float> spectrum;
  ASSERT_TRUE(FFTHelper(1024, FFTHelper::Hamming).GetSpectrum(s.data(), 1, 20480, spectrum, nullptr));
  ASSERT_EQ(spectrum.size(), 512u);
  const size_t peak = std::max_element(spectrum.begin(), spectrum.end()) - spectrum.begin();
  EXPECT_EQ(peak, 64u);
  EXPECT_NEAR(spectrum[peak], 0.0f, 1e-4);
  EXPECT_FLOAT_EQ(FFTHelper::FindMaximumFrequency(spectrum, 48000, -0.5), 3000.0f);
  const float f60 = FFTHelper::FindMaximumFrequency(spectrum, 48000, -60.0);
  EXPECT_GT(f60, 3000.0f);
  EXPECT_LT(f60, 3000.0f + 40 * 46.875f);
}

TEST(FFTSpectrum, StereoInPhaseEqualsMonoTimesRootTwo) {
  const std::vector<float> stereo = Sine(2, 5000, 0.05, 0.5f);
  const std::vector<float> mono = Sine(1, 5000, 0.05, 0.5f * std::sqrt(2.0f));
  FFTHelper fft(512, FFTHelper::Hamming);
  std::vector<float> a, b;
  ASSERT_TRUE(fft.GetSpectrum(stereo.data(), 2, 5000, a, nullptr));
  ASSERT_TRUE(fft.GetSpectrum(mono.data(), 1, 5000, b, nullptr));
  for (size_t k = 0; k < a.size(); ++k) EXPECT_NEAR(a[k], b[k], 0.05f) << k;
}

TEST(FFTSpectrum, ProgressRunsHalfABlockPerStepAndCancelStops) {
  const std::vector<float> s = Sine(2, 10000, 0.01, 0.5f);
  FFTHelper fft(1024, FFTHelper::Hann);
  struct Case {
    unsigned int frames;
    size_t cancelAt;
    bool result;
    size_t positions;
  };
  // 10000 frames: positions 512, 1024, ... 10240 (the first above 10000); 0 frames: one block.
  for (const Case& c : {Case{10000, 0, true, 20}, Case{10000, 3, false, 3}, Case{0, 0, true, 1}}) {
    RecordingProgress progress(c.cancelAt);
    std::vector<float> spectrum;
    EXPECT_EQ(fft.GetSpectrum(s.data(), 2, c.frames, spectrum, &progress), c.result);
    ASSERT_EQ(progress.ranges.size(), 1u);
    EXPECT_EQ(progress.ranges[0], std::make_pair(int64_t{0}, int64_t{c.frames}));
    ASSERT_EQ(progress.positions.size(), c.positions);
    for (size_t i = 0; i < c.positions; ++i) EXPECT_EQ(progress.positions[i], int64_t(512 * (i + 1)));
  }
}

TEST(FFTSpectrum, OddAndTinySizes) {
  testing::internal::CaptureStderr();
  FFTHelper odd(513, FFTHelper::Hann);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Real FFT optimization must be even.\n");
  const std::vector<float> s = Sine(1, 100, 0.2, 0.5f);
  std::vector<float> spectrum;
  EXPECT_FALSE(odd.GetSpectrum(s.data(), 1, 100, spectrum, nullptr));
  EXPECT_FALSE(FFTHelper(0, FFTHelper::Hann).GetSpectrum(s.data(), 1, 100, spectrum, nullptr));

  FFTHelper two(2, FFTHelper::Triangular);
  spectrum.clear();
  EXPECT_TRUE(two.GetSpectrum(s.data(), 1, 100, spectrum, nullptr));
  EXPECT_EQ(spectrum.size(), 1u);
}
