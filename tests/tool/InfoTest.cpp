// nybase info on generated files: JSON checked against what was written, and every error path.
#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <string>
#include <vector>

#include "../support/TestSupport.h"
#include "ToolRunner.h"
#include "WavBuilder.h"

namespace {

using nytest::ParseLine;
using nytest::Quote;
using nytest::RunTool;

TEST(ToolInfo, ReportsWhatWasWritten) {
  nytest::TempDir dir;
  nytest::TestWav wav;
  wav.sampleRate = 44100;
  wav.channels = 2;
  wav.samples.assign(44100 * 2 / 2, 0);  // 22050 frames
  wav.markers = {{3, 1000, "Kick"}, {9, 22049, ""}, {4, 44, "caf\xC3\xA9 \"quoted\""}};
  wav.loop = true;
  wav.loopStart = 100;
  wav.loopEnd = 20000;
  for (int i = 0; i < 16; ++i) wav.hash.push_back(static_cast<uint8_t>(i * 17));
  const std::string path = dir.Native("marked.wav");
  nytest::WriteFileBytes(path, nytest::BuildWav(wav));

  const auto r = RunTool("info --json " + Quote(path));
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.err, "");
  ASSERT_EQ(r.OutLines().size(), 1u) << r.out;
  const auto d = ParseLine(r.OutLines()[0]);
  EXPECT_EQ(std::string(d["file"].GetString()), path);
  EXPECT_TRUE(d["ok"].GetBool());
  const auto& f = d["format"];
  EXPECT_EQ(f["sampleRate"].GetUint(), 44100u);
  EXPECT_EQ(f["blockAlign"].GetUint(), 4u);
  EXPECT_STREQ(f["channelConfig"]["type"].GetString(), "standard");
  EXPECT_STREQ(f["channelConfig"]["speakers"][1].GetString(), "R");
  EXPECT_EQ(d["frames"].GetUint(), 22050u);
  EXPECT_DOUBLE_EQ(d["duration"].GetDouble(), 0.5);

  const auto& markers = d["markers"];
  ASSERT_EQ(markers.Size(), 3u);
  for (unsigned i = 0; i < 3; ++i) {  // in file order, as written
    EXPECT_EQ(markers[i]["id"].GetUint(), wav.markers[i].id);
    EXPECT_EQ(markers[i]["frame"].GetUint(), wav.markers[i].frame);
    EXPECT_DOUBLE_EQ(markers[i]["time"].GetDouble(), wav.markers[i].frame / 44100.0);
    EXPECT_EQ(markers[i]["label"].GetString(), wav.markers[i].label);
  }
  ASSERT_TRUE(d["loop"].IsObject());
  EXPECT_EQ(d["loop"]["startFrame"].GetUint(), 100u);
  EXPECT_EQ(d["loop"]["endFrame"].GetUint(), 20000u);
  EXPECT_STREQ(d["hash"].GetString(), "00112233445566778899aabbccddeeff");
  EXPECT_TRUE(d["adm"].IsNull());

  // The text form carries the same facts.
  const auto t = RunTool("info " + Quote(path));
  ASSERT_EQ(t.exitCode, 0) << t.err;
  for (const char* piece : {"PCM 16-bit integer, 44100 Hz", "2, 2.0 (L R)", "22050 frames, 0.500 s",
                            "frames 100 to 20000", "00112233445566778899aabbccddeeff", "\"Kick\"", "markers   3"}) {
    EXPECT_NE(t.out.find(piece), std::string::npos) << piece << "\n" << t.out;
  }
}

TEST(ToolInfo, FilesMadeBySox) {
  if (!nytest::HaveProgram("sox")) GTEST_SKIP() << "sox is not installed";
  nytest::TempDir dir;
  struct Case {
    const char* name;
    const char* soxArgs;
    const char* sampleType;
    unsigned rate, bits, channels, frames;
    const char* configName;
  } cases[] = {
      {"stereo24.wav", "-r 44100 -b 24 -c 2", "int", 44100, 24, 2, 22050, "2.0"},
      {"float.wav", "-r 22050 -e floating-point -b 32 -c 1", "float", 22050, 32, 1, 11025, "1.0"},
      {"six.wav", "-r 48000 -b 16 -c 6", "int", 48000, 16, 6, 24000, "5.1"},
      {"u8.wav", "-r 8000 -b 8 -c 1", "int", 8000, 8, 1, 4000, "1.0"},
  };
  std::string args = "info --json";
  for (const Case& c : cases) {
    const std::string path = dir.Native(c.name);
    ASSERT_EQ(nytest::Run("sox -D -n " + std::string(c.soxArgs) + " " + Quote(path) + " synth 0.5 sine 440"), 0);
    args += " " + Quote(path);
  }
  const auto r = RunTool(args);
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto lines = r.OutLines();
  ASSERT_EQ(lines.size(), std::size(cases));
  for (size_t i = 0; i < lines.size(); ++i) {
    const Case& c = cases[i];
    const auto d = ParseLine(lines[i]);
    EXPECT_EQ(std::string(d["file"].GetString()), dir.Native(c.name));  // argument order kept
    const auto& f = d["format"];
    EXPECT_STREQ(f["codec"].GetString(), "PCM") << c.name;
    EXPECT_STREQ(f["sampleType"].GetString(), c.sampleType) << c.name;
    EXPECT_EQ(f["sampleRate"].GetUint(), c.rate) << c.name;
    EXPECT_EQ(f["bitsPerSample"].GetUint(), c.bits) << c.name;
    EXPECT_EQ(f["channels"].GetUint(), c.channels) << c.name;
    EXPECT_EQ(f["channelConfig"]["speakers"].Size(), c.channels) << c.name;
    EXPECT_STREQ(f["channelConfig"]["name"].GetString(), c.configName) << c.name;
    EXPECT_EQ(d["frames"].GetUint(), c.frames) << c.name;
    EXPECT_TRUE(d["loop"].IsNull() && d["hash"].IsNull());
  }
}

// Each bad input fails alone: exit 1, one stderr line naming the file and the reason, and with
// --json an ok:false object in its place among the good files, in argument order.
TEST(ToolInfo, BadFilesFailWithOneLineEach) {
  nytest::TempDir dir;
  nytest::TestWav wav;
  wav.samples.assign(4800, 1000);
  const std::vector<uint8_t> good = nytest::BuildWav(wav);
  nytest::WriteFileBytes(dir.Native("good.wav"), good);
  nytest::WriteFileBytes(dir.Native("text.wav"), {'h', 'e', 'l', 'l', 'o', '\n'});
  nytest::WriteFileBytes(dir.Native("good.bin"), good);
  std::vector<uint8_t> noData(good.begin(), good.begin() + 36);  // RIFF header and fmt only
  noData[4] = 28;
  noData[5] = noData[6] = noData[7] = 0;
  nytest::WriteFileBytes(dir.Native("nodata.wav"), noData);
  std::vector<uint8_t> rifx = good;
  rifx[3] = 'X';
  nytest::WriteFileBytes(dir.Native("rifx.wav"), rifx);
  ASSERT_EQ(nytest::Run("mkdir " + Quote(dir.Native("folder.wav"))), 0);

  struct Case {
    const char* name;
    const char* reason;
  } cases[] = {
      {"missing.wav", "no such file"},
      {"folder.wav", "is a directory"},
      {"text.wav", "not a WAV file"},
      {"nodata.wav", "no data chunk"},
      {"rifx.wav", "RIFX"},
      {"good.bin", "the reader takes only .wav, .amb and .vle"},
  };
  for (const Case& c : cases) {
    for (const char* mode : {"", "--json -j 3 "}) {
      const std::string good1 = dir.Native("good.wav");
      const auto r = RunTool(std::string("info ") + mode + Quote(good1) + " " + Quote(dir.Native(c.name)) + " " + Quote(good1));
      EXPECT_EQ(r.exitCode, 1) << c.name;
      const auto errors = r.ErrLines();
      ASSERT_EQ(errors.size(), 1u) << c.name << "\n" << r.err;
      const std::string prefix = "nybase info: " + dir.Native(c.name) + ": ";
      EXPECT_EQ(errors[0].rfind(prefix, 0), 0u) << errors[0];
      EXPECT_NE(errors[0].find(c.reason), std::string::npos) << errors[0];
      if (*mode == '\0') continue;
      const auto lines = r.OutLines();
      ASSERT_EQ(lines.size(), 3u) << r.out;
      EXPECT_TRUE(ParseLine(lines[0])["ok"].GetBool());
      const auto bad = ParseLine(lines[1]);
      EXPECT_FALSE(bad["ok"].GetBool());
      EXPECT_EQ(std::string(bad["file"].GetString()), dir.Native(c.name));
      EXPECT_NE(std::string(bad["error"].GetString()).find(c.reason), std::string::npos);
      EXPECT_TRUE(ParseLine(lines[2])["ok"].GetBool());
    }
  }
}

// A header that overstates the file's size (often by a few bytes, or a file cut short) is opened
// as the reader opens it: what is there is reported, with a warning, and the exit code is 0.
TEST(ToolInfo, OverstatedSizeIsAWarningNotAFailure) {
  nytest::TempDir dir;
  nytest::TestWav wav;
  wav.samples.assign(4800, 1000);
  std::vector<uint8_t> longer = nytest::BuildWav(wav);
  const uint32_t size = uint32_t(longer.size());
  const std::vector<uint8_t> cut(longer.begin(), longer.begin() + 3000);
  for (int i = 0; i < 4; ++i) longer[4 + i] = uint8_t(size >> (8 * i));  // RIFF size: the file size, 8 too many
  nytest::WriteFileBytes(dir.Native("long.wav"), longer);
  nytest::WriteFileBytes(dir.Native("cut.wav"), cut);
  const struct {
    const char* name;
    unsigned frames;
    std::string warning;
  } cases[] = {
      {"long.wav", 4800, "truncated (the header gives " + std::to_string(size + 8) + " bytes, the file has " +
                             std::to_string(size) + ")"},
      {"cut.wav", (3000 - 44) / 2, "truncated (the header gives " + std::to_string(size) + " bytes, the file has 3000)"},
  };
  for (const auto& c : cases) {
    const auto t = RunTool("info " + Quote(dir.Native(c.name)));
    EXPECT_EQ(t.exitCode, 0) << t.err;
    EXPECT_NE(t.out.find("  warning   " + c.warning + "\n"), std::string::npos) << t.out;
    EXPECT_NE(t.out.find(std::to_string(c.frames) + " frames"), std::string::npos) << t.out;
    const auto r = RunTool("info --json " + Quote(dir.Native(c.name)));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto d = ParseLine(r.OutLines().at(0));
    ASSERT_EQ(d["warnings"].Size(), 1u);
    EXPECT_EQ(std::string(d["warnings"][0].GetString()), c.warning);
    EXPECT_EQ(d["frames"].GetUint(), c.frames);
  }
  const auto g = RunTool("info --json " + Quote(dir.Native("cut.wav")) + " " + Quote(dir.Native("long.wav")));
  EXPECT_EQ(g.err, "");
}

}  // namespace
