// NyOnsetDetector in memory: peak picking, sensitivity, lifecycle and bad input.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <nybase/NYBase.h>
#include <nybase/analysis/internal/OnsetAnalysis.h>

#include "BurstTrain.h"

namespace detail = lu::analysis::detail;
using nytest::Burst;
using nytest::BurstTrain;
using nytest::ExpectMatches;
using nytest::MakeBurstTrain;
using nytest::Markers;

TEST(OnsetSensitivity, WeakBurstsDropOutBeforeStrongOnes) {
  // Every fourth burst is at 0.3 among bursts at 1.0.
  BurstTrain t = MakeBurstTrain(44100, 2, Burst::Tone, 8, {1.0f, 1.0f, 1.0f, 0.3f});
  NyOnsetDetector d;
  d.SetSource(t.samples.data(), 2, t.Frames(), 44100);
  ExpectMatches(Markers(d, 1.0f), t.onsets);
  std::vector<double> strong;
  for (size_t i = 0; i < t.onsets.size(); ++i) {
    if (i % 4 != 3) strong.push_back(t.onsets[i]);
  }
  ExpectMatches(Markers(d, 0.5f), strong);
  // Near zero only the strongest survive, and never nothing.
  const std::vector<double> top = Markers(d, 1e-6f);
  EXPECT_GE(top.size(), 1u);
  EXPECT_LE(top.size(), strong.size());
}

TEST(OnsetLifecycle, UnusableSourcesKeepThePreviousOnsets) {
  BurstTrain t = MakeBurstTrain(48000, 2, Burst::Noise, 3);
  NyOnsetDetector d;
  d.SetSource(t.samples.data(), 2, t.Frames(), 48000);
  const std::vector<double> before = Markers(d, 1.0f);
  ASSERT_EQ(before.size(), 3u);

  std::vector<float> loud(48000 * 2, 0.8f);
  for (size_t i = 0; i < loud.size(); i += 7) loud[i] = -0.8f;
  d.SetSource(loud.data(), 2, 480 + 2047, 48000);  // one frame short of the first window pair
  d.SetSource(loud.data(), 2, 48000, 99);          // hop 0
  d.SetSource(loud.data(), 2, 48000, 0);
  d.SetSource(loud.data(), 0, 48000, 48000);
  d.SetSource(nullptr, 2, 48000, 48000);
  EXPECT_EQ(Markers(d, 1.0f), before);

  // The same source again gives the same onsets; an all-zero source clears them.
  d.SetSource(t.samples.data(), 2, t.Frames(), 48000);
  EXPECT_EQ(Markers(d, 1.0f), before);
  std::vector<float> silence((480 + 2048) * 2, 0.0f);
  d.SetSource(silence.data(), 2, 480 + 2048, 48000);
  EXPECT_TRUE(Markers(d, 1.0f).empty());
}

TEST(OnsetBadInput, NonFiniteSamplesDoNotCrash) {
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::infinity()}) {
    BurstTrain t = MakeBurstTrain(22050, 2, Burst::Noise, 6);
    for (size_t i = t.samples.size() / 2; i < t.samples.size() / 2 + 5000; i += 3) t.samples[i] = bad;
    NyOnsetDetector d;
    d.SetSource(t.samples.data(), 2, t.Frames(), 22050);
    const std::vector<double> m = Markers(d, 1.0f);
    for (const double x : m) EXPECT_TRUE(std::isfinite(x) && x >= 0.0);
    // Bursts before the bad stretch are still found.
    EXPECT_GE(m.size(), 2u);
  }
}

// The streamed form over a frame source, fed the same samples as the in-memory form.
TEST(OnsetForms, StreamedAndInMemoryAgreeAfterTheFirstWindows) {
  for (const unsigned int channels : {1u, 3u}) {
    BurstTrain t = MakeBurstTrain(44100, channels, Burst::Noise, 12, {0.5f}, 0.0);  // sound from frame 0
    std::vector<float> mem, str;
    detail::MemoryDetectionFunction(t.samples.data(), channels, t.Frames(), 44100, mem);
    detail::MemoryFrameSource source(t.samples.data(), channels, t.Frames());
    detail::StreamDetectionFunction(source, channels, t.Frames(), 44100, str);
    ASSERT_GT(mem.size(), 400u);
    ASSERT_LE(mem.size() > str.size() ? mem.size() - str.size() : str.size() - mem.size(), 4u);
    const size_t firstFull = (1024 + 440) / 441;  // windows from here on start inside the source
    bool earlyDiffer = false;
    for (size_t i = 0; i < firstFull; ++i) earlyDiffer |= mem[i] != str[i];
    EXPECT_TRUE(earlyDiffer) << channels;
    for (size_t i = firstFull; i < std::min(mem.size(), str.size()); ++i) {
      ASSERT_EQ(mem[i], str[i]) << "window " << i << ", " << channels << " channels";
    }
  }
}

// A frame source that records how it is read.
class CountingSource : public detail::IFrameSource {
 public:
  CountingSource(const float* s, unsigned int c, unsigned int f) : m_inner(s, c, f) {}
  void SeekToFrame(unsigned int frame) override {
    ++seeks;
    m_inner.SeekToFrame(frame);
  }
  unsigned int ReadFrames(unsigned int count, float* out) override {
    largest = std::max(largest, count);
    const unsigned int got = m_inner.ReadFrames(count, out);
    delivered += got;
    return got;
  }
  int seeks = 0;
  unsigned int largest = 0;
  uint64_t delivered = 0;

 private:
  detail::MemoryFrameSource m_inner;
};

// Peak picking on hand-made detection functions (rate 1000, hop 10: 100 windows a second).
struct PickCase {
  const char* name;
  std::vector<float> f;
  std::vector<NyOnsetDetector::Onset> expected;  // in strength order
};

TEST(OnsetPicking, PeaksAndProminence) {
  auto at = [](size_t i, float value) {
    std::vector<float> f(30, 0.0f);
    f[i] = value;
    return f;
  };
  std::vector<float> twin = at(2, 6.0f);
  twin[3] = 6.0f;
  std::vector<float> afterDecay = at(2, 10.0f);
  afterDecay[13] = 1.5f;  // the whole-number envelope has fallen to 0 by then
  std::vector<float> inDecay = at(2, 100.0f);
  inDecay[12] = 30.0f;  // below the envelope (36) left by the first peak, outside its range
  std::vector<float> valley(30, 0.5f);  // values below 1 never peak
  valley[0] = 20.0f;
  valley[15] = 8.0f;
  for (size_t i = 16; i < 30; ++i) valley[i] = 0.0f;
  const std::vector<PickCase> cases = {
      {"lone peak", at(2, 10.0f), {{10.0f, 0.02}}},
      {"exactly one", at(2, 1.0f), {{1.0f, 0.02}}},
      {"equal maxima are both peaks", twin, {{6.0f, 0.02}, {6.0f, 0.03}}},
      {"envelope keeps whole numbers", afterDecay, {{1.5f, 0.13}, {10.0f, 0.02}}},
      {"envelope masks a later value", inDecay, {{100.0f, 0.02}}},
      // Peak 8 at 15: its left walk stops at the 20 with a valley of 0.5, the right one falls to 0.
      // The 20 at index 0 has no left descent and is scored against its right side alone.
      {"prominence over the higher valley", valley, {{7.5f, 0.15}, {20.0f, 0.0}}},
      {"last value, no right descent", at(29, 5.0f), {{5.0f, 0.29}}},
  };
  for (const PickCase& c : cases) {
    std::vector<NyOnsetDetector::Onset> got{{-1.0f, -1.0}};
    detail::PickOnsets(c.f, 1000, 10, got);
    ASSERT_EQ(got.size(), c.expected.size()) << c.name;
    for (size_t i = 0; i < got.size(); ++i) {
      EXPECT_FLOAT_EQ(got[i].strength, c.expected[i].strength) << c.name;
      EXPECT_DOUBLE_EQ(got[i].time, c.expected[i].time) << c.name;
    }
  }
  std::vector<NyOnsetDetector::Onset> kept{{1.0f, 2.0}};
  detail::PickOnsets({}, 1000, 10, kept);
  EXPECT_EQ(kept.size(), 1u);
}

TEST(OnsetPicking, EnvelopeTruncation) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<std::pair<float, uint32_t>> cases = {
      {7.9f, 7}, {5e9f, 705032704u}, {nan, 0}, {1e30f, 0}, {-2.5f, 0xFFFFFFFEu}};
  for (const auto& [in, out] : cases) EXPECT_EQ(detail::TruncateToU32(in), out) << in;
}
