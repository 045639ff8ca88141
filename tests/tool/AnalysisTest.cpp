// nybase onsets and nybase spectrum on generated files: JSON checked against what was made.
#include <gtest/gtest.h>

#include <libxml/parser.h>
#include <rapidjson/document.h>

#include <cmath>
#include <string>
#include <vector>

#include "../support/TestSupport.h"
#include "ToolRunner.h"
#include "WavBuilder.h"

namespace {

using nytest::ParseLine;
using nytest::Quote;
using nytest::RunTool;

std::string WriteBursts(const nytest::TempDir& dir, const std::string& name, const std::vector<double>& onsets,
                        double seconds = 4.0) {
  nytest::TestWav wav;
  wav.samples = nytest::Bursts(wav.sampleRate, seconds, onsets);
  const std::string path = dir.Native(name);
  nytest::WriteFileBytes(path, nytest::BuildWav(wav));
  return path;
}

// Every burst is found within 25 ms of where it starts, and nothing else is reported.
void ExpectOnsets(const rapidjson::Value& found, const std::vector<double>& expected, unsigned rate) {
  ASSERT_EQ(found.Size(), expected.size());
  for (rapidjson::SizeType i = 0; i < found.Size(); ++i) {
    const double t = found[i]["time"].GetDouble();
    EXPECT_NEAR(t, expected[i], 0.025) << "onset " << i;
    EXPECT_EQ(found[i]["frame"].GetInt64(), std::llround(t * rate));
  }
}

TEST(ToolOnsets, FindsTheBurstsInArgumentOrderWhateverTheJobs) {
  nytest::TempDir dir;
  const std::vector<std::vector<double>> trains = {
      {0.5, 1.2, 2.0, 2.9}, {0.3, 1.7}, {1.0, 1.5, 2.2, 2.6, 3.3}};
  std::string files;
  for (size_t i = 0; i < trains.size(); ++i) {
    files += " " + Quote(WriteBursts(dir, "train" + std::to_string(i) + ".wav", trains[i]));
  }
  const auto serial = RunTool("onsets --json -j 1" + files);
  ASSERT_EQ(serial.exitCode, 0) << serial.err;
  EXPECT_EQ(serial.err, "");
  const auto lines = serial.OutLines();
  ASSERT_EQ(lines.size(), trains.size());
  for (size_t i = 0; i < trains.size(); ++i) {
    const auto d = ParseLine(lines[i]);
    EXPECT_EQ(std::string(d["file"].GetString()), dir.Native("train" + std::to_string(i) + ".wav"));
    EXPECT_TRUE(d["ok"].GetBool());
    EXPECT_TRUE(d["analysed"].GetBool());
    EXPECT_EQ(d["frames"].GetUint(), 4u * 48000u);
    EXPECT_DOUBLE_EQ(d["sensitivity"].GetDouble(), 1.0);
    ExpectOnsets(d["onsets"], trains[i], 48000);
  }
  // The same bytes with several jobs: parallel work never changes or reorders the output.
  const auto parallel = RunTool("onsets --json -j 3" + files);
  EXPECT_EQ(parallel.exitCode, 0);
  EXPECT_EQ(parallel.out, serial.out);
}

TEST(ToolOnsets, SensitivitySelectsFromTheStrongest) {
  nytest::TempDir dir;
  const std::string path = WriteBursts(dir, "train.wav", {0.5, 1.2, 2.0, 2.9});
  size_t previous = 0;
  for (const char* s : {"0", "0.2", "0.5", "1"}) {
    const auto r = RunTool(std::string("onsets --json --sensitivity ") + s + " " + Quote(path));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto d = ParseLine(r.OutLines().at(0));
    const size_t n = d["onsets"].Size();
    if (std::string(s) == "0") EXPECT_EQ(n, 0u);
    else EXPECT_GE(n, std::max<size_t>(previous, 1)) << s;  // more sensitivity never finds fewer
    previous = n;
  }
}

TEST(ToolOnsets, ShortSilentAndUnsupportedFiles) {
  nytest::TempDir dir;
  // Too short for the detector: not an error, but said so.
  const std::string shortFile = WriteBursts(dir, "short.wav", {0.01}, 0.04);
  auto r = RunTool("onsets --json " + Quote(shortFile));
  EXPECT_EQ(r.exitCode, 0) << r.err;
  auto d = ParseLine(r.OutLines().at(0));
  EXPECT_FALSE(d["analysed"].GetBool());
  EXPECT_EQ(d["onsets"].Size(), 0u);
  r = RunTool("onsets " + Quote(shortFile));
  EXPECT_NE(r.out.find("too short to analyse"), std::string::npos) << r.out;

  const std::string silent = WriteBursts(dir, "silent.wav", {});
  r = RunTool("onsets --json " + Quote(silent));
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(ParseLine(r.OutLines().at(0))["onsets"].Size(), 0u);

  if (!nytest::HaveProgram("sox")) GTEST_SKIP() << "sox is not installed";
  // a-law has no float conversion, 8-bit data none either: both are refused, naming the file.
  struct Unsupported {
    const char* name;
    const char* soxArgs;
  } unsupported[] = {{"alaw.wav", "-r 8000 -e a-law -c 1"}, {"u8.wav", "-r 8000 -b 8 -c 1"}};
  for (const Unsupported& u : unsupported) {
    const std::string path = dir.Native(u.name);
    ASSERT_EQ(nytest::Run("sox -D -n " + std::string(u.soxArgs) + " " + Quote(path) + " synth 1 sine 440"), 0);
    for (const char* command : {"onsets ", "spectrum "}) {
      r = RunTool(command + Quote(path));
      EXPECT_EQ(r.exitCode, 1) << command << u.name;
      ASSERT_EQ(r.ErrLines().size(), 1u) << r.err;
      EXPECT_NE(r.ErrLines()[0].find(path + ": unsupported sample format"), std::string::npos) << r.err;
    }
  }
}

TEST(ToolSpectrum, FindsTheToneAndDrawsAPlot) {
  if (!nytest::HaveProgram("sox")) GTEST_SKIP() << "sox is not installed";
  nytest::TempDir dir;
  const std::string tone = dir.Native("tone.wav");
  ASSERT_EQ(nytest::Run("sox -D -n -r 48000 -b 16 -c 2 " + Quote(tone) + " synth 1 sine 3000 gain -6"), 0);
  struct Case {
    const char* options;
    unsigned size;
    const char* window;
  } cases[] = {{"", 4096, "hann"}, {"-n 512 -w triangular", 512, "triangular"}};
  for (const Case& c : cases) {
    const std::string svg = dir.Native("plot.svg");
    const auto r = RunTool("spectrum --json " + std::string(c.options) + " --svg " + Quote(svg) + " " + Quote(tone));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto d = ParseLine(r.OutLines().at(0));
    EXPECT_EQ(d["size"].GetUint(), c.size);
    EXPECT_STREQ(d["window"].GetString(), c.window);
    const double binWidth = 48000.0 / c.size;
    EXPECT_DOUBLE_EQ(d["binWidth"].GetDouble(), binWidth);
    EXPECT_NEAR(d["peakFrequency"].GetDouble(), 3000.0, binWidth) << c.options;
    const auto& levels = d["levels"];
    ASSERT_EQ(levels.Size(), c.size / 2);
    double top = -1000;
    for (const auto& v : levels.GetArray()) {
      if (v.IsNumber()) top = std::max(top, v.GetDouble());
    }
    EXPECT_NEAR(top, 0.0, 1e-3);
    // A plot a browser can open: well-formed XML with the axis titles.
    xmlDocPtr doc = xmlReadFile(svg.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR);
    ASSERT_NE(doc, nullptr) << "the SVG is not well-formed";
    xmlFreeDoc(doc);
    const auto bytes = nytest::ReadFileBytes(svg);
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_NE(text.find("Frequency (Hz"), std::string::npos);
    EXPECT_NE(text.find("Level (dB"), std::string::npos);
    EXPECT_NE(text.find("<polyline"), std::string::npos);
  }
  const auto t = RunTool("spectrum " + Quote(tone));
  EXPECT_EQ(t.exitCode, 0);
  EXPECT_NE(t.out.find(": strongest frequency 3000.0 Hz"), std::string::npos) << t.out;
}

TEST(ToolSpectrum, FailuresNameTheFile) {
  nytest::TempDir dir;
  nytest::WriteFileBytes(dir.Native("notes.wav"), {'n', 'o', 't', 'e', 's'});
  struct Case {
    std::string args;
    std::string line;
  } cases[] = {
      {Quote(dir.Native("none.wav")), "nybase spectrum: " + dir.Native("none.wav") + ": no such file"},
      {Quote(dir.Native("notes.wav")), "nybase spectrum: " + dir.Native("notes.wav") + ": not a WAV file"},
  };
  for (const Case& c : cases) {
    const auto r = RunTool("spectrum " + c.args);
    EXPECT_EQ(r.exitCode, 1);
    ASSERT_EQ(r.ErrLines().size(), 1u) << r.err;
    EXPECT_EQ(r.ErrLines()[0].rfind(c.line, 0), 0u) << r.err;
    EXPECT_EQ(r.out, "");
  }
}

}  // namespace
