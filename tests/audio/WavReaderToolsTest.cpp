// The WAV reader on files written by sox and libsndfile: format, length, markers and loop points
// agree with what the tool wrote.
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

struct SoxCase {
  const char* name;
  const char* args;  // sox output options
  uint16_t channels;
  uint32_t rate;
  uint16_t bits;
  uint16_t dataType;
  uint32_t config;
};

TEST(WavTools, SoxFilesReadWithTheirFormatAndLength) {
  if (!HaveProgram("sox")) GTEST_SKIP() << "sox is not installed";
  const SoxCase cases[] = {
      {"m16.wav", "-r 44100 -b 16 -c 1", 1, 44100, 16, 0, 0x4101},
      // sox marks 5.1 with the back pair: read as the side pair.
      {"s6.wav", "-r 48000 -b 24 -c 6", 6, 48000, 24, 0, 0x60F106},
      {"f32.wav", "-r 96000 -b 32 -e floating-point -c 2", 2, 96000, 32, 1, 0x3102},
      {"u8.wav", "-r 8000 -b 8 -e unsigned -c 1", 1, 8000, 8, 0, 0x4101},
  };
  TempDir dir;
  for (const SoxCase& c : cases) {
    const std::string path = dir.Native(c.name);
    ASSERT_EQ(nytest::Run(std::string("sox -n ") + c.args + " " + path + " synth 0.25 sine 440"), 0);
    SF_INFO info{};
    SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
    ASSERT_NE(sf, nullptr);
    sf_close(sf);

    auto reader = OpenWav(dir, c.name);
    ASSERT_NE(reader, nullptr) << c.name;
    ASSERT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data)) << c.name;
    const WaveFormatExtensible& f = reader->GetFormat();
    EXPECT_EQ(f.nChannels, c.channels) << c.name;
    EXPECT_EQ(f.nChannels, unsigned(info.channels)) << c.name;
    EXPECT_EQ(f.nSamplesPerSec, unsigned(info.samplerate)) << c.name;
    EXPECT_EQ(f.nSamplesPerSec, c.rate) << c.name;
    EXPECT_EQ(f.wBitsPerSample, c.bits) << c.name;
    EXPECT_EQ(f.nBlockAlign, c.channels * c.bits / 8) << c.name;
    EXPECT_EQ(reader->GetDataTypeID(), c.dataType) << c.name;
    EXPECT_EQ(f.channelConfig.Serialize(), c.config) << c.name;
    EXPECT_EQ(reader->GetNumFrames(), uint32_t(info.frames)) << c.name;
    EXPECT_DOUBLE_EQ(reader->GetDuration(), double(info.frames) / c.rate) << c.name;
  }
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

// What libsndfile itself reads back: cue ids and positions, the first loop.
struct SfMarkers {
  std::vector<std::pair<uint32_t, uint32_t>> cues;
  uint32_t loopStart = 0, loopEnd = 0;
};
SfMarkers ReadWithSndfile(const std::string& path) {
  SfMarkers out;
  SF_INFO info{};
  SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
  if (!sf) return out;
  SF_CUES cues{};
  if (sf_command(sf, SFC_GET_CUE, &cues, sizeof(cues)) == SF_TRUE) {
    for (uint32_t i = 0; i < cues.cue_count; ++i) {
      out.cues.emplace_back(uint32_t(cues.cue_points[i].indx), cues.cue_points[i].position);
    }
  }
  SF_INSTRUMENT inst{};
  if (sf_command(sf, SFC_GET_INSTRUMENT, &inst, sizeof(inst)) == SF_TRUE && inst.loop_count > 0) {
    out.loopStart = inst.loops[0].start;
    out.loopEnd = inst.loops[0].end;
  }
  sf_close(sf);
  return out;
}

// Moves every chunk but fmt and data behind data, keeping the bytes the tool wrote.
Bytes MoveMetadataAfterData(const Bytes& file) {
  Bytes front, meta, data;
  size_t pos = 12;
  while (pos + 8 <= file.size()) {
    const uint32_t size = uint32_t(file[pos + 4]) | uint32_t(file[pos + 5]) << 8 |
                          uint32_t(file[pos + 6]) << 16 | uint32_t(file[pos + 7]) << 24;
    const size_t end = std::min(file.size(), pos + 8 + size + (size & 1));
    const std::string id(file.begin() + long(pos), file.begin() + long(pos) + 4);
    Bytes& target = id == "fmt " ? front : id == "data" ? data : meta;
    target.insert(target.end(), file.begin() + long(pos), file.begin() + long(end));
    pos = end;
  }
  Bytes out(file.begin(), file.begin() + 12);
  for (const Bytes* part : {&front, &data, &meta}) out.insert(out.end(), part->begin(), part->end());
  return out;
}

TEST(WavTools, SndfileMarkersAndLoopBeforeAndAfterData) {
  TempDir dir;
  const std::string before = dir.Native("before.wav");
  WriteWithMarkers(before, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  WriteFileBytes(dir.Native("after.wav"), MoveMetadataAfterData(ReadFileBytes(before)));
  // Labels for the cue points, after data, as an adtl list.
  Bytes labelled = ReadFileBytes(dir.Native("after.wav"));
  const Bytes list = AdtlList({Labl(20, std::string("first\0", 6)), Labl(22, "third")});
  labelled.insert(labelled.end(), list.begin(), list.end());
  const uint32_t riffSize = uint32_t(labelled.size() - 8);
  std::memcpy(labelled.data() + 4, &riffSize, 4);
  WriteFileBytes(dir.Native("labelled.wav"), labelled);

  const SfMarkers expected = ReadWithSndfile(before);
  ASSERT_EQ(expected.cues.size(), 3u);
  for (const char* name : {"before.wav", "after.wav", "labelled.wav"}) {
    const SfMarkers tool = ReadWithSndfile(dir.Native(name));
    auto reader = OpenWav(dir, name);
    ASSERT_NE(reader, nullptr) << name;
    ASSERT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Cue | ChunkFlag_Smpl |
                                   ChunkFlag_List))
        << name;
    EXPECT_EQ(reader->GetNumFrames(), 6000u) << name;
    ASSERT_EQ(reader->GetNumMarkers(), tool.cues.size()) << name;
    for (size_t i = 0; i < tool.cues.size(); ++i) {
      EXPECT_EQ(reader->GetMarkers()[i].dwIdentifier, tool.cues[i].first) << name;
      EXPECT_EQ(reader->GetMarkers()[i].dwPosition, tool.cues[i].second) << name;
    }
    // libsndfile's loop end is one past the last frame; the file stores the last frame.
    EXPECT_EQ(reader->GetLoopStartFrame(), tool.loopStart) << name;
    EXPECT_EQ(reader->GetLoopEndFrame() + 1, tool.loopEnd) << name;
  }
  auto reader = OpenWav(dir, "labelled.wav");
  ASSERT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Cue | ChunkFlag_List));
  const auto& m = reader->GetMarkers();
  ASSERT_EQ(m.size(), 3u);
  EXPECT_EQ(std::string(m[0].strLabel, m[0].dwLabelSize), std::string("first\0", 6));
  EXPECT_EQ(m[1].strLabel, nullptr);
  EXPECT_EQ(std::string(m[2].strLabel, m[2].dwLabelSize), "third");
}

TEST(WavTools, SndfileRf64IsReadAndRifxRefused) {
  TempDir dir;
  WriteWithMarkers(dir.Native("rf64.wav"), SF_FORMAT_RF64 | SF_FORMAT_PCM_24);
  WriteWithMarkers(dir.Native("rifx.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG);
  const Bytes rf64 = ReadFileBytes(dir.Native("rf64.wav"));
  ASSERT_EQ(std::string(rf64.begin(), rf64.begin() + 4), "RF64");
  auto reader = OpenWav(dir, "rf64.wav");
  ASSERT_NE(reader, nullptr);
  ASSERT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data));
  EXPECT_EQ(reader->GetFormat().wBitsPerSample, 24);
  EXPECT_EQ(reader->GetDataSize(), 6000u * 6);
  EXPECT_EQ(reader->GetNumFrames(), 6000u);

  const Bytes rifx = ReadFileBytes(dir.Native("rifx.wav"));
  ASSERT_EQ(std::string(rifx.begin(), rifx.begin() + 4), "RIFX");
  EXPECT_EQ(OpenWav(dir, "rifx.wav"), nullptr);
  EXPECT_EQ(NyAudioFileReader::Create(lu::Path(dir.Wide("rifx.wav"))), nullptr);
}

}  // namespace
