// The file forms of NyOnsetDetector and FFTHelper on WAV files written by libsndfile or by hand.
#include <gtest/gtest.h>

#include <sndfile.h>

#include <cmath>
#include <filesystem>

#include <nybase/NYBase.h>
#include <nybase/analysis/internal/OnsetAnalysis.h>

#include "../audio/WavTestFiles.h"
#include "BurstTrain.h"

namespace detail = lu::analysis::detail;
using nytest::Burst;
using nytest::BurstTrain;
using nytest::ExpectMatches;
using nytest::MakeBurstTrain;
using nytest::Markers;

namespace {

// Writes interleaved samples with libsndfile; `format` is SF_FORMAT_PCM_16, SF_FORMAT_FLOAT, ...
void WriteWav(const std::string& native, const BurstTrain& t, int format) {
  SF_INFO info{};
  info.samplerate = static_cast<int>(t.rate);
  info.channels = static_cast<int>(t.channels);
  info.format = SF_FORMAT_WAV | format;
  SNDFILE* f = sf_open(native.c_str(), SFM_WRITE, &info);
  ASSERT_NE(f, nullptr) << sf_strerror(nullptr);
  ASSERT_EQ(sf_writef_float(f, t.samples.data(), t.Frames()), sf_count_t{t.Frames()});
  sf_close(f);
}

// A 16-bit PCM file assembled byte by byte, for headers no tool would write.
void WriteRawWav(const std::string& native, uint16_t channels, uint32_t rate, uint32_t frames) {
  using namespace nytest;
  Bytes data;
  for (uint32_t i = 0; i < frames * channels; ++i) PutU16(data, static_cast<uint16_t>((i * 7919u) % 20000u));
  WriteFileBytes(native, Riff(Concat({Chunk("fmt ", FmtPayload(1, channels, rate, 16)), Chunk("data", data)})));
}

}  // namespace

// Burst trains written as 16-bit files by libsndfile, analysed from the file and from memory.
TEST(OnsetFile, EachBurstGetsOneMarkerOnTheHopGrid) {
  nytest::TempDir dir;
  struct Case {
    unsigned int rate, channels;
    Burst kind;
  };
  for (const Case& c : {Case{44100, 1, Burst::Noise}, Case{22050, 2, Burst::Tone}, Case{48000, 6, Burst::Noise}}) {
    // Onsets off the hop grid, levels from 0.3 to 1, long enough for several refills of the buffer.
    BurstTrain t = MakeBurstTrain(c.rate, c.channels, c.kind, 16, {0.3f, 1.0f, 0.6f}, 0.2537, 0.3313);
    const std::string name = "t" + std::to_string(c.rate) + "_" + std::to_string(c.channels) + ".wav";
    SCOPED_TRACE(name);
    WriteWav(dir.Native(name), t, SF_FORMAT_PCM_16);
    NyOnsetDetector file, memory;
    file.SetSource(lu::Path(dir.Wide(name)));
    memory.SetSource(t.samples.data(), c.channels, t.Frames(), c.rate);
    const std::vector<double> markers = Markers(file);
    ExpectMatches(markers, t.onsets);
    ExpectMatches(Markers(memory), t.onsets);
    const double hop = c.rate / 100;
    for (size_t i = 0; i < markers.size(); ++i) {
      const double windows = markers[i] * c.rate / hop;
      EXPECT_NEAR(windows, std::round(windows), 1e-9);
      EXPECT_TRUE(i == 0 || markers[i - 1] < markers[i]);
    }
  }
}

TEST(OnsetFile, FileFormIsTheStreamedPipelineOnTheFileSamples) {
  nytest::TempDir dir;
  // Sound from the first frame, so that the forms differ in their first windows.
  BurstTrain t = MakeBurstTrain(48000, 2, Burst::Noise, 30, {0.5f, 1.0f, 0.3f}, 0.0, 0.29);
  WriteWav(dir.Native("f.wav"), t, SF_FORMAT_FLOAT);
  NyOnsetDetector file;
  file.SetSource(lu::Path(dir.Wide("f.wav")));

  std::vector<float> f;
  detail::MemoryFrameSource source(t.samples.data(), 2, t.Frames());
  detail::StreamDetectionFunction(source, 2, t.Frames(), 48000, f);
  std::vector<NyOnsetDetector::Onset> onsets;
  detail::PickOnsets(f, 48000, 480, onsets);
  std::vector<double> expected;
  for (const auto& o : onsets) expected.push_back(o.time);
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(Markers(file), expected);
  EXPECT_GE(expected.size(), 29u);
}

TEST(OnsetFile, UnusableFilesKeepThePreviousOnsets) {
  nytest::TempDir dir;
  BurstTrain t = MakeBurstTrain(44100, 1, Burst::Tone, 3);
  WriteWav(dir.Native("good.wav"), t, SF_FORMAT_PCM_16);
  nytest::WriteFileBytes(dir.Native("junk.wav"), std::vector<uint8_t>(100, 0x41));
  WriteRawWav(dir.Native("slow.wav"), 1, 99, 50000);  // hop 0
  WriteRawWav(dir.Native("nochannels.wav"), 0, 48000, 50000);
  WriteRawWav(dir.Native("short.wav"), 2, 48000, 480 + 2047);
  WriteWav(dir.Native("good.aiff"), t, SF_FORMAT_PCM_16);  // not chosen by its extension

  NyOnsetDetector d;
  d.SetSource(lu::Path(dir.Wide("good.wav")));
  const std::vector<double> before = Markers(d);
  ASSERT_EQ(before.size(), 3u);
  FFTHelper fft(512, FFTHelper::Hann);
  for (const char* name : {"", "missing.wav", "junk.wav", "slow.wav", "nochannels.wav", "short.wav", "good.aiff"}) {
    const lu::Path path(*name ? dir.Wide(name) : std::wstring());
    d.SetSource(path);
    EXPECT_EQ(Markers(d), before) << name;
    // The spectrum fails where the file cannot be read, and otherwise has its 256 bins.
    std::vector<float> spectrum;
    unsigned int rate = 7;
    const bool readable = std::string("slow.wav short.wav").find(name) != std::string::npos && *name;
    EXPECT_EQ(fft.GetSpectrum(path, spectrum, rate, nullptr), readable) << name;
    EXPECT_EQ(spectrum.size(), readable ? 256u : 0u) << name;
    EXPECT_TRUE(readable || rate == 7u) << name;  // a failed read leaves the rate alone
  }
}

TEST(OnsetFile, TruncatedFileIsAnalysedUpToItsEnd) {
  nytest::TempDir dir;
  BurstTrain t = MakeBurstTrain(48000, 2, Burst::Noise, 10);
  WriteWav(dir.Native("cut.wav"), t, SF_FORMAT_PCM_16);
  // Cut the data after 2.15 s (five bursts); the header still claims all of it.
  std::filesystem::resize_file(dir.Native("cut.wav"), 44 + 4 * static_cast<size_t>(2.15 * 48000));
  NyOnsetDetector d;
  d.SetSource(lu::Path(dir.Wide("cut.wav")));
  const std::vector<double> m = Markers(d);
  ASSERT_EQ(m.size(), 5u);
  for (size_t i = 0; i < m.size(); ++i) EXPECT_NEAR(m[i], t.onsets[i] - 0.0125, 0.0175);
}
