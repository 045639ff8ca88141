// NyWavFileGenerator: the gain and waveform formulas, the file layout, the envelope and channel
// mask, the limits on bad input, and tones measured by sox and by our FFT.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>
#include <string>

#include <nybase/analysis/FFTHelper.h>
#include <nybase/audio/NyWavFileGenerator.h>

#include "ChunkTestSupport.h"

namespace {

using namespace nytest;
using Gen = NyWavFileGenerator;
constexpr float k_nan = std::numeric_limits<float>::quiet_NaN();

std::string Capture(const std::string& command) {
  std::string out;
  if (FILE* pipe = popen((command + " 2>&1").c_str(), "r")) {
    char buf[4096];
    for (size_t n; (n = fread(buf, 1, sizeof buf, pipe)) > 0;) out.append(buf, n);
    pclose(pipe);
  }
  return out;
}

// Writes a tone into `dir` and returns its bytes; the error record must stay null.
std::vector<uint8_t> Tone(const TempDir& dir, Gen::Waveform wave, NyChannelConfig config,
                          float sustain, float fadeIn = 0, float fadeOut = 0,
                          unsigned long long mask = ~0ull, Gen::BitDepth depth = Gen::BitDepth_16,
                          float freq = 1000, unsigned rate = 48000, float level = -6) {
  NyError* error = nullptr;
  Gen::WriteTone(lu::Path(dir.Wide("t.wav")), depth, rate, config, level, sustain, fadeIn,
                 fadeOut, wave, freq, mask, error);
  EXPECT_EQ(error, nullptr);
  delete error;
  return ReadFileBytes(dir.Native("t.wav"));
}

uint32_t GetU16(const std::vector<uint8_t>& f, size_t at) { return f[at] | (f[at + 1] << 8); }

int16_t S16(const std::vector<uint8_t>& f, size_t sample) {
  return static_cast<int16_t>(f[92 + 2 * sample] | (f[93 + 2 * sample] << 8));
}

TEST(ToneGenerator, GainAndWaveFormulas) {
  EXPECT_EQ(Gen::LevelToGain(0.0f), 1.0f);
  for (float level : {-800.0f, 800.0f, -740.1f, k_nan}) EXPECT_EQ(Gen::LevelToGain(level), 0.0f);
  for (float level : {-739.0f, -60.0f, -6.0f, 3.0f, 700.0f}) {
    EXPECT_NEAR(Gen::LevelToGain(level) / std::pow(10.0, level / 20.0), 1.0, 2e-3) << level;
  }
  uint32_t state = 0;
  EXPECT_EQ(Gen::WaveSample(Gen::Waveform(7), 0.25f, state), 0.0f);
  EXPECT_EQ(Gen::WaveSample(Gen::Waveform_Square, 0.49f, state), 1.0f);
  EXPECT_EQ(Gen::WaveSample(Gen::Waveform_Square, 1.5f, state), -1.0f);
  EXPECT_EQ(Gen::WaveSample(Gen::Waveform_Triangle, 0.25f, state), 1.0f);
  EXPECT_EQ(Gen::WaveSample(Gen::Waveform_Triangle, 0.75f, state), -1.0f);
  for (float p = 0; p < 2; p += 0.01f) {
    EXPECT_NEAR(Gen::WaveSample(Gen::Waveform_Sine, p, state), std::sin(2 * M_PI * p), 2e-3) << p;
  }
  EXPECT_EQ(state, 0u);  // only noise advances the state
  double sum = 0;
  for (int i = 0; i < 10000; ++i) {
    const float v = Gen::WaveSample(Gen::Waveform_Noise, 0, state);
    ASSERT_TRUE(v >= -0.5f && v <= 0.5f);
    sum += v;
  }
  EXPECT_NEAR(sum / 10000, 0.0, 0.01);
}

TEST(ToneGenerator, FrameCountLimits) {
  EXPECT_EQ(Gen::ToneFrames(1, 0.5f, 0.25f, 48000, ~0ull), 84000u);
  for (float bad : {k_nan, std::numeric_limits<float>::infinity(), -2.0f}) {
    EXPECT_EQ(Gen::ToneFrames(bad, 0, 1, 48000, ~0ull), 0u) << bad;
  }
  EXPECT_EQ(Gen::ToneFrames(1e30f, 0, 0, 48000, 1000), 1000u);
  EXPECT_EQ(Gen::ToneFrames(1, 1, 1, 0, ~0ull), 0u);
}

TEST(ToneGenerator, FormatRecordAndChunks) {
  TempDir dir;
  auto f = Tone(dir, Gen::Waveform_Sine, NyChannelConfig(4, 2, 0), 0.01f, 0, 0, ~0ull,
                Gen::BitDepth_32);
  ASSERT_EQ(f.size(), 92u + 480 * 16);
  EXPECT_EQ(std::string(f.begin() + 12, f.begin() + 16), "fmt ");
  EXPECT_EQ(GetU32(f, 16), 40u);
  EXPECT_EQ(GetU16(f, 20), 0xFFFEu);
  EXPECT_EQ(GetU16(f, 22), 4u);
  EXPECT_EQ(GetU32(f, 28), 48000u * 16);  // nAvgBytesPerSec
  EXPECT_EQ(GetU16(f, 32), 16u);          // nBlockAlign
  EXPECT_EQ(GetU16(f, 34), 32u);
  EXPECT_EQ(GetU32(f, 44), 3u);           // sub-format word: float
  EXPECT_EQ(GetU16(f, 48), 0x0721u);      // the rest of the ambisonic GUID
  EXPECT_EQ(std::string(f.begin() + 60, f.begin() + 64), "hash");
  EXPECT_EQ(std::string(f.begin() + 84, f.begin() + 88), "data");
  f = Tone(dir, Gen::Waveform_Sine, NyChannelConfig(2, 1, 0x3), 0.01f);
  EXPECT_EQ(GetU32(f, 40), 0x3u);
  EXPECT_EQ(GetU32(f, 44), 1u);
  EXPECT_EQ(GetU16(f, 48), 0u);
}

TEST(ToneGenerator, MaskEnvelopeAndSquarePeaks) {
  TempDir dir;
  // 66 channels, mask bit 1 only: channels 1 and 65 carry the square (the bit index wraps).
  auto f = Tone(dir, Gen::Waveform_Square, NyChannelConfig(66, 0, 0), 0.01f, 0, 0, 0x2);
  const int peak = static_cast<int>(Gen::LevelToGain(-6) * 32767);
  EXPECT_EQ(peak, 16405);  // the fast gain of -6 dB, 0.5006684, x 32767 (checked in numpy float32)
  for (size_t c = 0; c < 66; ++c) EXPECT_EQ(S16(f, c), (c == 1 || c == 65) ? peak : 0) << c;
  EXPECT_EQ(S16(f, 66 * 30 + 1), -peak);  // 30 frames into a 48-frame period
  f = Tone(dir, Gen::Waveform_Sine, NyChannelConfig(1, 0, 0), 0.5f, 0, 0, 0);  // mask 0
  ASSERT_EQ(f.size(), 92u + 48000);
  for (size_t i = 0; i < 24000; ++i) ASSERT_EQ(S16(f, i), 0);
  // A square through fade-in 0.5 s, no sustain, fade-out 0.5 s with 0 dB: |x| follows the ramp.
  f = Tone(dir, Gen::Waveform_Square, NyChannelConfig(1, 0, 0), 0, 0.5f, 0.5f, 1,
           Gen::BitDepth_16, 1000, 48000, 0);
  ASSERT_EQ(f.size(), 92u + 96000);
  for (size_t i : {0, 12000, 24000, 36000, 47999}) {
    const double env = i < 24000 ? i / 24000.0 : (48000 - i) / 24000.0;
    EXPECT_NEAR(std::abs(S16(f, i)), env * 32767, 3) << i;
  }
}

TEST(ToneGenerator, BadInputGivesBoundedFiles) {
  TempDir dir;
  struct Case { unsigned rate; unsigned channels; float sustain, fadeOut, freq; size_t data; };
  const Case cases[] = {
      {0, 2, 1, 0, 1000, 0},       {48000, 0, 1, 0, 1000, 0}, {48000, 1, k_nan, 0, 1000, 0},
      {48000, 1, -1, 0, 1000, 0},  {1000, 1, 0.1f, 0, 30000, 200},
      {1000, 1, 0.1f, 0, std::numeric_limits<float>::infinity(), 200},
  };
  for (const Case& c : cases) {
    auto f = Tone(dir, Gen::Waveform_Sine, NyChannelConfig(c.channels, 0, 0), c.sustain, 0,
                  c.fadeOut, ~0ull, Gen::BitDepth_16, c.freq, c.rate);
    EXPECT_EQ(f.size(), 92u + c.data) << c.rate << " " << c.channels << " " << c.sustain;
  }
  NyError* error = nullptr;
  WriteFileBytes(dir.Native("file"), {1});
  Gen::WriteTone(lu::Path(dir.Wide("file/sub/t.wav")), Gen::BitDepth_16, 48000, 1, 0, 1, 0, 0,
                 Gen::Waveform_Sine, 1000, 1, error);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->uri, "ny.velmoor.file_error");
  EXPECT_EQ(error->message.rfind("Could not create the directory for ", 0), 0u);
  delete error;
  error = nullptr;
  Gen::WriteTone(lu::Path(dir.Wide()), Gen::BitDepth_16, 48000, 1, 0, 1, 0, 0, Gen::Waveform_Sine,
                 1000, 1, error);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->message.rfind("Could not open the file ", 0), 0u);
  delete error;
}

// sox reads the default tone with the asked rate, channels, length and RMS; the sine's strongest
// frequency is 1 kHz through sox's spectrum and through FFTHelper.
TEST(ToneGenerator, SoxAndFftAgree) {
  if (!HaveProgram("sox")) GTEST_SKIP() << "sox not installed";
  TempDir dir;
  Tone(dir, Gen::Waveform_Sine, NyChannelConfig(2, 1, 0x3), 1);
  const std::string path = dir.Native("t.wav");
  EXPECT_EQ(Capture("sox --i -r '" + path + "'"), "48000\n");
  EXPECT_EQ(Capture("sox --i -c '" + path + "'"), "2\n");
  EXPECT_EQ(Capture("sox --i -s '" + path + "'"), "48000\n");
  std::istringstream stat(Capture("sox '" + path + "' -n remix 1 stat -freq"));
  double bestFreq = 0, bestPower = -1, rms = 0;
  for (std::string line; std::getline(stat, line);) {
    double freq = 0, power = 0;
    if (std::sscanf(line.c_str(), "%lf %lf", &freq, &power) == 2 && power > bestPower) {
      bestFreq = freq;
      bestPower = power;
    }
    std::sscanf(line.c_str(), "RMS amplitude: %lf", &rms);
  }
  EXPECT_NEAR(bestFreq, 1000.0, 48000.0 / 4096);
  EXPECT_NEAR(rms, std::pow(10.0, -6 / 20.0) / std::sqrt(2.0), 1e-3);
  FFTHelper fft(4096, FFTHelper::Hann);
  std::vector<float> spectrum;
  unsigned rate = 0;
  ASSERT_TRUE(fft.GetSpectrum(lu::Path(dir.Wide("t.wav")), spectrum, rate, nullptr));
  EXPECT_NEAR(FFTHelper::FindMaximumFrequency(spectrum, rate, -1.0), 1000.0, 48000.0 / 4096);
}

}  // namespace
