// The WAV reader on files written by libsndfile: length, markers and loop points agree with what
// the tool wrote.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstring>
#include <memory>

#include <nybase/audio/NyWavFileReader.h>

#include "WavTestFiles.h"

using namespace nytest;

namespace {

std::unique_ptr<NyWavFileReader> OpenWav(const TempDir& dir, const std::string& name) {
  auto reader = std::make_unique<NyWavFileReader>();
  if (!reader->Open(lu::Path(dir.Wide(name)))) return nullptr;
  return reader;
}

// Cue points and a loop, written by libsndfile into the header (before data).
void WriteWithMarkers(const std::string& path, int format) {
  SF_INFO info{};
  info.samplerate = 48000;
  info.channels = 2;
  info.format = format;
  SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(sf, nullptr) << sf_strerror(nullptr);
  SF_CUES cues{};
  cues.cue_count = 3;
  for (uint32_t i = 0; i < 3; ++i) {
    cues.cue_points[i].indx = 20 + i;
    cues.cue_points[i].position = 1000 * (i + 1);
    cues.cue_points[i].fcc_chunk = NyFourCC("data");
    cues.cue_points[i].sample_offset = 1000 * (i + 1);
  }
  ASSERT_EQ(sf_command(sf, SFC_SET_CUE, &cues, sizeof(cues)), SF_TRUE);
  SF_INSTRUMENT inst{};
  inst.basenote = 60;
  inst.loop_count = 1;
  inst.loops[0].mode = SF_LOOP_FORWARD;
  inst.loops[0].start = 480;
  inst.loops[0].end = 4800;
  ASSERT_EQ(sf_command(sf, SFC_SET_INSTRUMENT, &inst, sizeof(inst)), SF_TRUE);
  std::vector<short> samples(2 * 6000, 0);
  ASSERT_EQ(sf_writef_short(sf, samples.data(), 6000), 6000);
  sf_close(sf);
}

TEST(WavTools, SndfileMarkersLoopAndAddedLabels) {
  TempDir dir;
  const std::string path = dir.Native("labelled.wav");
  WriteWithMarkers(path, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  // Labels for the cue points as an adtl list behind data.
  Bytes labelled = ReadFileBytes(path);
  const Bytes list = AdtlList({Labl(20, std::string("first\0", 6)), Labl(22, "third")});
  labelled.insert(labelled.end(), list.begin(), list.end());
  const uint32_t riffSize = uint32_t(labelled.size() - 8);
  std::memcpy(labelled.data() + 4, &riffSize, 4);
  WriteFileBytes(path, labelled);

  auto reader = OpenWav(dir, "labelled.wav");
  ASSERT_NE(reader, nullptr);
  ASSERT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Cue | ChunkFlag_Smpl | ChunkFlag_List));
  EXPECT_EQ(reader->GetNumFrames(), 6000u);
  const auto& m = reader->GetMarkers();
  ASSERT_EQ(m.size(), 3u);
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(m[i].dwIdentifier, 20 + i);
    EXPECT_EQ(m[i].dwPosition, 1000 * (i + 1));
  }
  EXPECT_EQ(std::string(m[0].strLabel, m[0].dwLabelSize), std::string("first\0", 6));
  EXPECT_EQ(m[1].strLabel, nullptr);
  EXPECT_EQ(std::string(m[2].strLabel, m[2].dwLabelSize), "third");
  // libsndfile's loop end is one past the last frame; the file stores the last frame.
  EXPECT_EQ(reader->GetLoopStartFrame(), 480u);
  EXPECT_EQ(reader->GetLoopEndFrame(), 4799u);
}

TEST(WavTools, SndfileRf64IsReadAndRifxRefused) {
  TempDir dir;
  WriteWithMarkers(dir.Native("rf64.wav"), SF_FORMAT_RF64 | SF_FORMAT_PCM_24);
  WriteWithMarkers(dir.Native("rifx.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG);
  ASSERT_EQ(ReadFileBytes(dir.Native("rf64.wav"))[1], 'F');  // "RF64", not "RIFF"
  auto reader = OpenWav(dir, "rf64.wav");
  ASSERT_NE(reader, nullptr);
  ASSERT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data));
  EXPECT_EQ(reader->GetDataSize(), 6000u * 6);
  EXPECT_EQ(reader->GetNumFrames(), 6000u);
  ASSERT_EQ(ReadFileBytes(dir.Native("rifx.wav"))[3], 'X');
  EXPECT_EQ(OpenWav(dir, "rifx.wav"), nullptr);
}

}  // namespace
