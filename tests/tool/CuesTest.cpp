// nybase onsets --write-cues / --in-place: the markers and the untouched samples, read back by
// libsndfile; failures leave the file as it was.
#include <gtest/gtest.h>

#include <rapidjson/document.h>
#include <sndfile.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "../support/InterruptedWrite.h"
#include "../support/TestSupport.h"
#include "ToolRunner.h"
#include "WavBuilder.h"

namespace {

using nytest::ParseLine;
using nytest::Quote;
using nytest::RunTool;

using ManyCues = SF_CUES_VAR(256);

struct SndFile {
  SF_INFO info{};
  std::vector<int> samples;
  std::vector<SF_CUE_POINT> cues;
};

// The whole file as libsndfile sees it: format, every sample, every cue with its name.
SndFile ReadWithSndfile(const std::string& path) {
  SndFile f;
  SNDFILE* s = sf_open(path.c_str(), SFM_READ, &f.info);
  EXPECT_NE(s, nullptr) << path << ": " << sf_strerror(nullptr);
  if (s == nullptr) return f;
  f.samples.resize(static_cast<size_t>(f.info.frames * f.info.channels));
  EXPECT_EQ(sf_readf_int(s, f.samples.data(), f.info.frames), f.info.frames);
  uint32_t count = 0;
  if (sf_command(s, SFC_GET_CUE_COUNT, &count, sizeof count) == SF_TRUE && count > 0) {
    auto cues = std::make_unique<ManyCues>();
    if (sf_command(s, SFC_GET_CUE, cues.get(), sizeof *cues) == SF_TRUE) {
      f.cues.assign(cues->cue_points, cues->cue_points + std::min<uint32_t>(cues->cue_count, 256));
    }
  }
  sf_close(s);
  return f;
}

TEST(ToolCues, WrittenMarkersReadBackBySndfileWithSamplesUnchanged) {
  if (!nytest::HaveProgram("sox")) GTEST_SKIP() << "sox is not installed";
  nytest::TempDir dir;
  // Noise bursts at 0.5, 1.5, 2.5 and 3.5 s, stereo, 24-bit.
  const std::string original = dir.Native("bursts.wav");
  ASSERT_EQ(nytest::Run("sox -D -n -r 44100 -b 24 -c 2 " + Quote(original) +
                        " synth 0.08 whitenoise gain -8 pad 0.5 0.42 repeat 3"), 0);
  const SndFile before = ReadWithSndfile(original);
  ASSERT_EQ(before.info.frames, 4 * 44100);

  for (const char* mode : {"write-cues", "in-place"}) {
    const std::string work = dir.Native(std::string("work-") + mode + ".wav");
    nytest::WriteFileBytes(work, nytest::ReadFileBytes(original));
    const std::string out = std::string(mode) == "in-place" ? work : dir.Native("marked.wav");
    const std::string option = std::string(mode) == "in-place" ? "--in-place" : "--write-cues " + Quote(out);
    const auto r = RunTool("onsets --json " + option + " " + Quote(work));
    ASSERT_EQ(r.exitCode, 0) << mode << "\n" << r.err;
    const auto d = ParseLine(r.OutLines().at(0));
    EXPECT_EQ(std::string(d["cuesWritten"].GetString()), out);
    const auto& onsets = d["onsets"];
    ASSERT_EQ(onsets.Size(), 4u) << r.out;

    const SndFile after = ReadWithSndfile(out);
    EXPECT_EQ(after.info.frames, before.info.frames) << mode;
    EXPECT_EQ(after.info.samplerate, 44100);
    EXPECT_EQ(after.info.format, before.info.format) << mode;
    EXPECT_TRUE(after.samples == before.samples) << mode << ": sample data changed";
    ASSERT_EQ(after.cues.size(), 4u) << mode;
    for (rapidjson::SizeType i = 0; i < 4; ++i) {
      EXPECT_EQ(after.cues[i].position, onsets[i]["frame"].GetUint()) << mode;
      EXPECT_EQ(std::string(after.cues[i].name), "Onset " + std::to_string(i + 1)) << mode;
      EXPECT_NEAR(onsets[i]["time"].GetDouble(), 0.5 + i, 0.025);
    }
  }
  // --write-cues leaves its source alone.
  EXPECT_EQ(nytest::ReadFileBytes(dir.Native("work-write-cues.wav")), nytest::ReadFileBytes(original));
  // No temporary file is left behind.
  EXPECT_EQ(nytest::FolderNames(dir.Native()),
            (std::vector<std::string>{"bursts.wav", "marked.wav", "work-in-place.wav", "work-write-cues.wav"}));
}

TEST(ToolCues, InPlaceKeepsExistingMarkersAndEveryOtherChunk) {
  nytest::TempDir dir;
  nytest::TestWav wav;
  wav.samples = nytest::Bursts(wav.sampleRate, 3.0, {0.6, 1.9});
  wav.markers = {{5, 100, "Start"}, {6, 2000, ""}};
  wav.loop = true;
  wav.loopStart = 10;
  wav.loopEnd = 90000;
  for (int i = 0; i < 16; ++i) wav.hash.push_back(static_cast<uint8_t>(255 - i));
  const std::string path = dir.Native("take.wav");
  nytest::WriteFileBytes(path, nytest::BuildWav(wav));

  const auto r = RunTool("onsets --in-place " + Quote(path));
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto info = RunTool("info --json " + Quote(path));
  ASSERT_EQ(info.exitCode, 0) << info.err;
  const auto d = ParseLine(info.OutLines().at(0));
  const auto& markers = d["markers"];
  ASSERT_EQ(markers.Size(), 4u) << info.out;
  EXPECT_STREQ(markers[0]["label"].GetString(), "Start");
  EXPECT_EQ(markers[0]["frame"].GetUint(), 100u);
  EXPECT_EQ(markers[1]["frame"].GetUint(), 2000u);
  EXPECT_STREQ(markers[2]["label"].GetString(), "Onset 1");
  EXPECT_STREQ(markers[3]["label"].GetString(), "Onset 2");
  EXPECT_NEAR(markers[3]["time"].GetDouble(), 1.9, 0.025);
  EXPECT_EQ(d["loop"]["endFrame"].GetUint(), 90000u);
  EXPECT_STREQ(d["hash"].GetString(), "fffefdfcfbfaf9f8f7f6f5f4f3f2f1f0");
  EXPECT_EQ(d["frames"].GetUint(), 3u * 48000u);
}

TEST(ToolCues, AFileThatCannotBeEditedIsLeftAsItWas) {
  nytest::TempDir dir;
  nytest::TestWav wav;
  wav.samples = nytest::Bursts(wav.sampleRate, 2.0, {0.5});
  std::vector<uint8_t> rf64 = nytest::BuildWav(wav);
  // The same chunks under an RF64 header: the reader takes it, the chunk editor does not.
  rf64[0] = 'R', rf64[1] = 'F', rf64[2] = '6', rf64[3] = '4';
  rf64[4] = rf64[5] = rf64[6] = rf64[7] = 0xFF;
  const std::string path = dir.Native("big.wav");
  nytest::WriteFileBytes(path, rf64);

  const auto r = RunTool("onsets --in-place " + Quote(path) + " " + Quote(dir.Native("absent.wav")));
  EXPECT_EQ(r.exitCode, 1);
  const auto errors = r.ErrLines();
  ASSERT_EQ(errors.size(), 2u) << r.err;
  EXPECT_EQ(errors[0].rfind("nybase onsets: " + path + ": ", 0), 0u) << errors[0];
  EXPECT_EQ(errors[1], "nybase onsets: " + dir.Native("absent.wav") + ": no such file");
  EXPECT_EQ(nytest::ReadFileBytes(path), rf64);
  EXPECT_EQ(nytest::FolderNames(dir.Native()), std::vector<std::string>{"big.wav"});
}

}  // namespace

// A cue chunk whose header claims more bytes than its records (trailing padding some editors
// leave) is replaced whole: no stray bytes of it survive between the rewritten file's chunks.
TEST(ToolCues, InPlaceDropsTheWholeOldCueChunkIncludingTrailingBytes) {
  nytest::TempDir dir;
  nytest::TestWav wav;
  wav.samples = nytest::Bursts(wav.sampleRate, 2.0, {0.8});
  std::vector<uint8_t> cue;
  // One record: id 7 at position 50 of the data chunk, sample offset 50.
  for (uint32_t v : {1u, 7u, 50u, 0x61746164u, 0u, 0u, 50u}) nytest::PutU32(cue, v);
  cue.insert(cue.end(), 12, 0xAB);  // trailing bytes inside the chunk
  wav.extraChunks.push_back({"cue ", cue});
  const std::string path = dir.Native("padded.wav");
  nytest::WriteFileBytes(path, nytest::BuildWav(wav));

  const auto r = RunTool("onsets --in-place " + Quote(path));
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const std::vector<uint8_t> bytes = nytest::ReadFileBytes(path);
  ASSERT_GE(bytes.size(), 12u);
  auto u32 = [&](size_t at) {
    return uint32_t(bytes[at]) | uint32_t(bytes[at + 1]) << 8 | uint32_t(bytes[at + 2]) << 16 |
           uint32_t(bytes[at + 3]) << 24;
  };
  EXPECT_EQ(u32(4), bytes.size() - 8);
  std::vector<std::string> ids;
  for (size_t at = 12; at + 8 <= bytes.size();) {
    ids.emplace_back(reinterpret_cast<const char*>(&bytes[at]), 4);
    const uint64_t size = u32(at + 4);
    at += 8 + size + (size & 1);
  }
  for (const std::string& id : ids) {
    EXPECT_TRUE(std::all_of(id.begin(), id.end(), [](char c) { return c >= 0x20 && c < 0x7F; }))
        << "stray bytes read as a chunk";
  }
  EXPECT_EQ(std::count(ids.begin(), ids.end(), "cue "), 1);
  const SndFile f = ReadWithSndfile(path);
  ASSERT_EQ(f.cues.size(), 2u);
  EXPECT_EQ(f.cues[0].sample_offset, 50u);
}
