// NyWavFileGenerator: the gain and waveform formulas, the file layout, the envelope and channel
// mask, and the limits on bad input. (sox and FFTHelper measure tones in tests/tool/ToneTest.cpp.)
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <random>

#include <nybase/audio/NyWavFileGenerator.h>
#include <nybase/audio/internal/ExactFmod.h>

#include "ChunkTestSupport.h"

namespace {

using namespace nytest;
using Gen = NyWavFileGenerator;

// Writes dir/t.wav (the error must stay null) and returns its bytes.
std::vector<uint8_t> Tone(const TempDir& dir, Gen::Waveform wave, NyChannelConfig config, float sustain,
                          float fadeIn = 0, float fadeOut = 0, unsigned long long mask = ~0ull,
                          Gen::BitDepth bits = Gen::BitDepth_16, float freq = 1000, unsigned rate = 48000,
                          float level = -6) {
  NyError* error = nullptr;
  Gen::WriteTone(lu::Path(dir.Wide("t.wav")), bits, rate, config, level, sustain, fadeIn,
                 fadeOut, wave, freq, mask, error);
  EXPECT_EQ(error, nullptr);
  delete error;
  return ReadFileBytes(dir.Native("t.wav"));
}

int16_t S16(const std::vector<uint8_t>& f, size_t i) { return int16_t(f[92 + 2 * i] | f[93 + 2 * i] << 8); }

TEST(ToneGenerator, FormulasAndFrameCounts) {
  EXPECT_EQ(Gen::LevelToGain(0.0f), 1.0f);
  for (float level : {-800.0f, 800.0f, -740.1f, NAN}) EXPECT_EQ(Gen::LevelToGain(level), 0.0f);
  for (float level : {-739.0f, -60.0f, -6.0f, 3.0f, 700.0f})
    EXPECT_NEAR(Gen::LevelToGain(level) / std::pow(10.0, level / 20.0), 1.0, 2e-3) << level;
  uint32_t noise = 0;
  const struct { int wave; float phase, value; } waves[] = {{7, 0.25f, 0},  {3, 0.49f, 1}, {3, 1.5f, -1},
      {2, 0.25f, 1}, {2, 0.75f, -1}, {1, 0.25f, 1}, {1, 0.75f, -1}, {1, 0.125f, std::sqrt(0.5f)}};
  for (const auto& w : waves) EXPECT_NEAR(Gen::WaveSample(Gen::Waveform(w.wave), w.phase, noise), w.value, 2e-3);
  EXPECT_EQ(Gen::ToneFrames(1, 0.5f, 0.25f, 48000, ~0ull), 84000u);
  for (float bad : {NAN, INFINITY, -2.0f}) EXPECT_EQ(Gen::ToneFrames(bad, 0, 1, 48000, ~0ull), 0u) << bad;
  EXPECT_EQ(Gen::ToneFrames(1e30f, 0, 0, 48000, 1000), 1000u);
}

TEST(ToneGenerator, ExactFmodMatchesFmodBitForBit) {
  std::mt19937 rng(7);
  for (int i = 0; i < 2000000; ++i) {
    // Any bit pattern, or a float next to a multiple of y, where the quotient rounds to an integer.
    const float y = i % 3 ? 6.2831855f : i % 2 ? 1.0f : 4.0f;
    const float x = i % 2 ? std::bit_cast<float>(static_cast<uint32_t>(rng()))
                          : std::nextafter(float(rng() % 40000000) * y, i % 4 ? 1e30f : -1e30f) * (i % 8 ? 1 : -1);
    const float a = nybase::audio::detail::ExactFmod(x, y), b = std::fmod(x, y);
    ASSERT_TRUE(std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b) || (std::isnan(a) && std::isnan(b))) << x;
  }
}

TEST(ToneGenerator, FormatMaskEnvelopeAndPeaks) {
  TempDir dir;
  auto f = Tone(dir, Gen::Waveform_Sine, NyChannelConfig(4, 2, 0), 0.01f, 0, 0, ~0ull, Gen::BitDepth_32);
  ASSERT_EQ(f.size(), 92u + 480 * 16);  // "fmt " of 40, "hash" and "data" before the samples
  // fmt size; tag and channels; bytes per second; block align and bits; sub-format float, ambisonic.
  const uint32_t fmt[][2] = {{16, 40}, {20, 0x0004FFFE}, {28, 48000 * 16}, {32, 0x00200010}, {44, 3},
                             {48, 0x11D30721}, {60, NyFourCC("hash")}, {84, NyFourCC("data")}};
  for (const auto& [at, value] : fmt) EXPECT_EQ(GetU32(f, at), value) << at;
  // 66 channels, mask bit 1: channels 1 and 65 carry the square (the bit index wraps at 64).
  f = Tone(dir, Gen::Waveform_Square, NyChannelConfig(66, 0, 0), 0.01f, 0, 0, 0x2);
  EXPECT_TRUE(GetU32(f, 44) == 1 && GetU32(f, 48) == 0x00100000u);  // the PCM GUID
  const int peak = 16405;  // the fast gain of -6 dB, 0.5006684, x 32767 (checked in numpy float32)
  for (size_t c = 0; c < 66; ++c) EXPECT_EQ(S16(f, c), (c == 1 || c == 65) ? peak : 0) << c;
  EXPECT_EQ(S16(f, 66 * 30 + 1), -peak);  // 30 frames into a 48-frame period
  f = Tone(dir, Gen::Waveform_Sine, NyChannelConfig(1, 0, 0), 0.5f, 0, 0, 0);  // mask 0: silence
  EXPECT_TRUE(f.size() == 92u + 48000 && std::all_of(f.begin() + 92, f.end(), [](uint8_t b) { return b == 0; }));
  // Fade-in 0.5 s and fade-out 0.5 s of a 0 dB square: |x| follows the ramp.
  f = Tone(dir, Gen::Waveform_Square, NyChannelConfig(1, 0, 0), 0, 0.5f, 0.5f, 1, Gen::BitDepth_16, 1000, 48000, 0);
  ASSERT_EQ(f.size(), 92u + 96000);
  for (size_t i : {0, 12000, 24000, 36000, 47999})
    EXPECT_NEAR(std::abs(S16(f, i)), (i < 24000 ? i : 48000 - i) / 24000.0 * 32767, 3) << i;
}

TEST(ToneGenerator, BadInputGivesBoundedFilesOrErrors) {
  TempDir dir;
  const struct { unsigned rate, channels; float sustain, freq; size_t data; } cases[] = {  // no fade-out
      {0, 2, 1, 1000, 0},          {48000, 0, 1, 1000, 0},         {48000, 1, NAN, 1000, 0},
      {48000, 1, -1, 1000, 0},     {1000, 1, 0.1f, 30000, 200},    {1000, 1, 0.1f, INFINITY, 200}};
  for (const auto& c : cases) {
    const auto f = Tone(dir, Gen::Waveform_Sine, c.channels, c.sustain, 0, 0, ~0ull, Gen::BitDepth_16, c.freq, c.rate);
    EXPECT_EQ(f.size(), 92u + c.data) << c.rate << " " << c.channels << " " << c.sustain << " " << c.freq;
  }
  WriteFileBytes(dir.Native("file"), {1});
  for (const auto& [name, message] : {std::pair{"file/sub/t.wav", "Could not create the directory for "},
                                      std::pair{"", "Could not open the file "}}) {
    NyError* error = nullptr;
    Gen::WriteTone(lu::Path(dir.Wide(name)), Gen::BitDepth_16, 48000, 1, 0, 1, 0, 0, Gen::Waveform_Sine, 1000, 1, error);
    ASSERT_NE(error, nullptr) << name;
    EXPECT_TRUE(error->uri == "ny.velmoor.file_error" && error->message.rfind(message, 0) == 0) << error->message;
    EXPECT_TRUE(!name[0] || error->message.ends_with("t.wav")) << error->message;
    delete error;
  }
}

}  // namespace
