// nybase info -r over folders: every WAV file found (checked against find), sorted, and summed up.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "../support/TestSupport.h"
#include "ToolRunner.h"
#include "WavBuilder.h"

namespace {

using nytest::Quote;
using nytest::RunTool;

void Wav(const std::string& path, uint32_t rate, size_t frames) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  nytest::TestWav wav;
  wav.sampleRate = rate;
  wav.samples.assign(frames, 100);
  nytest::WriteFileBytes(path, nytest::BuildWav(wav));
}

TEST(ToolCatalogue, FindsSortsAndSums) {
  nytest::TempDir dir;
  const std::string root = dir.Native("lib");
  Wav(root + "/z.wav", 48000, 48000);
  Wav(root + "/A/b/deep.WAV", 48000, 24000);
  Wav(root + "/.svn/kept.wav", 44100, 44100);
  Wav(root + "/A-b.wav", 44100, 22050);
  nytest::WriteFileBytes(root + "/A/broken.wav", {'R', 'I', 'F', 'F', 1, 0});
  nytest::WriteFileBytes(root + "/notes.txt", {'x'});

  // Byte order, as LC_ALL=C sort gives it: "A-b.wav" comes before "A/b/deep.WAV".
  std::vector<std::string> expected;
  FILE* find = ::popen(("find " + Quote(root) + " -iname '*.wav' -type f | LC_ALL=C sort").c_str(), "r");
  char buf[4096];
  while (find && std::fgets(buf, sizeof buf, find)) expected.emplace_back(buf, std::strcspn(buf, "\n"));
  if (find) ::pclose(find);
  ASSERT_EQ(expected.size(), 5u);

  for (const char* jobs : {"-j 1", "-j 4"}) {
    const auto r = RunTool(std::string("info -r ") + jobs + " " + Quote(root));
    EXPECT_EQ(r.exitCode, 1) << r.err;  // one file is unreadable
    const auto lines = r.OutLines();
    ASSERT_EQ(lines.size(), 5u + 4u) << r.out;  // files, summary, two formats, one unreadable
    EXPECT_NE(lines[3].find("A/broken.wav  unreadable: truncated"), std::string::npos) << lines[3];
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(lines[i].rfind(expected[i], 0), 0u) << lines[i];
    EXPECT_EQ(lines[5], "summary: 5 files, 4 readable, 1 unreadable, total duration 0:00:03.000 (3.000 s)");
    EXPECT_NE(r.out.find("  2  PCM 16-bit integer, 44100 Hz, 1 ch"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("unreadable  " + root + "/A/broken.wav: "), std::string::npos) << r.out;
  }

  const auto j = RunTool("info --recursive --json " + Quote(root) + " " + Quote(dir.Native("nothing")));
  EXPECT_EQ(j.exitCode, 1);
  EXPECT_NE(j.err.find("nothing: no such file or folder"), std::string::npos) << j.err;
  const auto lines = j.OutLines();
  ASSERT_EQ(lines.size(), 6u);
  const auto s = nytest::ParseLine(lines.back());
  EXPECT_EQ(s["summary"]["files"].GetUint(), 5u);
  EXPECT_DOUBLE_EQ(s["summary"]["duration"].GetDouble(), 3.0);
  EXPECT_EQ(s["summary"]["formats"]["PCM 16-bit integer, 48000 Hz, 1 ch"].GetUint(), 2u);
  EXPECT_STREQ(s["summary"]["unreadableFiles"][0]["file"].GetString(), (root + "/A/broken.wav").c_str());

  std::filesystem::remove(root + "/A/broken.wav");
  EXPECT_EQ(RunTool("info -r " + Quote(root)).exitCode, 0);
}

}  // namespace
