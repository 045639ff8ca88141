// nybase tone: tones as nybase info reads them, the default tone measured by sox and by FFTHelper,
// and the refused options.
#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <cmath>
#include <sstream>
#include <string>

#include <nybase/analysis/FFTHelper.h>

#include "../support/TestSupport.h"
#include "ToolRunner.h"

namespace {

using nytest::Quote;
using nytest::RunTool;

TEST(ToolTone, InfoShowsWhatWasAsked) {
  nytest::TempDir dir;
  struct Case { std::string options; unsigned rate, channels, bits; const char* layout; const char* sampleType; unsigned frames; };
  const Case cases[] = {
      {"", 48000, 2, 16, "2.0", "int", 48000},
      {"--layout 5.1 --bits 32 --rate 44100 --sustain 0.5 --fade-in 0.25 --fade-out 0.25 --wave noise",
       44100, 6, 32, "5.1", "float", 44100},
      {"--channels 3 --mask 0x4 --level -20 --freq 440 --wave triangle", 48000, 3, 16, nullptr, "int", 48000},
  };
  for (const Case& c : cases) {
    const std::string out = dir.Native("sub/t.wav");  // the folder is made
    const auto t = RunTool("tone " + Quote(out) + " " + c.options);
    ASSERT_EQ(t.exitCode, 0) << c.options << t.err;
    const auto r = RunTool("info --json " + Quote(out));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto d = nytest::ParseLine(r.OutLines().at(0));
    EXPECT_EQ(d["format"]["sampleRate"].GetUint(), c.rate) << c.options;
    EXPECT_EQ(d["format"]["channels"].GetUint(), c.channels) << c.options;
    EXPECT_EQ(d["format"]["bitsPerSample"].GetUint(), c.bits) << c.options;
    // Anonymous channels get the reader's default layout, so only named layouts are compared.
    EXPECT_STREQ(c.layout ? d["format"]["channelConfig"]["name"].GetString() : nullptr, c.layout) << c.options;
    EXPECT_STREQ(d["format"]["sampleType"].GetString(), c.sampleType) << c.options;
    EXPECT_EQ(d["frames"].GetUint(), c.frames) << c.options;
  }
}

// sox reads the default tone with the asked rate, channels, length and RMS; its strongest
// frequency is 1 kHz within a bin through sox's spectrum and through FFTHelper.
TEST(ToolTone, SoxAndFftMeasureTheDefaultTone) {
  if (!nytest::HaveProgram("sox")) GTEST_SKIP() << "sox not installed";
  nytest::TempDir dir;
  ASSERT_EQ(RunTool("tone " + Quote(dir.Native("t.wav"))).exitCode, 0);
  const std::string p = Quote(dir.Native("t.wav")) + " ";
  // Rate, channels and frames; then the strongest line of sox's spectrum and the RMS of channel 1.
  ASSERT_EQ(nytest::Run("(sox --i -r " + p + "; sox --i -c " + p + "; sox --i -s " + p + "; sox " + p +
                        "-n remix 1 stat -freq 2>&1 | awk 'NF == 2 && $2 > m {m = $2; f = $1} "
                        "/^RMS +amp/ {r = $3} END {print f, r}') > " + Quote(dir.Native("out"))), 0);
  const auto bytes = nytest::ReadFileBytes(dir.Native("out"));
  std::istringstream out(std::string(bytes.begin(), bytes.end()));
  unsigned rate = 0, channels = 0, frames = 0;
  double freq = 0, rms = 0;
  out >> rate >> channels >> frames >> freq >> rms;
  EXPECT_TRUE(rate == 48000 && channels == 2 && frames == 48000) << out.str();
  EXPECT_NEAR(freq, 1000.0, 48000.0 / 4096);
  EXPECT_NEAR(rms, std::pow(10.0, -6 / 20.0) / std::sqrt(2.0), 1e-3);
  FFTHelper fft(4096, FFTHelper::Hann);
  std::vector<float> spectrum;
  ASSERT_TRUE(fft.GetSpectrum(lu::Path(dir.Wide("t.wav")), spectrum, rate, nullptr));
  EXPECT_NEAR(FFTHelper::FindMaximumFrequency(spectrum, rate, -1.0), 1000.0, 48000.0 / 4096);
}

TEST(ToolTone, RefusedOptions) {
  nytest::TempDir dir;
  const std::string out = Quote(dir.Native("t.wav"));
  const char* const bad[] = {"--rate 0",      "--freq 24001",       "--sustain 1e9", "--sustain nan",
                             "--fade-in -1",  "--wave saw",         "--bits 24",     "--channels 0",
                             "--channels 2 --layout 5.1", "--layout 9.2", "--mask x"};
  for (const char* options : bad) {
    const auto r = RunTool("tone " + out + " " + options);
    EXPECT_EQ(r.exitCode, 2) << options;
    EXPECT_EQ(r.ErrLines().size(), 1u) << options;
  }
  nytest::WriteFileBytes(dir.Native("file"), {1});
  const auto r = RunTool("tone " + Quote(dir.Native("file/sub/t.wav")));
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_NE(r.err.find("Could not create the directory for "), std::string::npos) << r.err;
}

}  // namespace
