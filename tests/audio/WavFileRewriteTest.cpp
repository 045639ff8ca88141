// NyWavFile rewriting real files into new ones (RIFF and RIFX), checked by our reader, by
// libsndfile and byte for byte; the data copy's progress; a full disk.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <memory>
#include <string>
#include <vector>

#include <nybase/audio/NyAudioFileReader.h>
#include <nybase/audio/NyWavFileReader.h>

#include "ChunkTestSupport.h"

namespace {

using namespace nytest;

class RecordingProgress : public IProgress {
 public:
  void SetRange(int64_t min, int64_t max) override { ranges.emplace_back(min, max); }
  void SetPosition(int64_t value) override { positions.push_back(value); }
  bool IsCancelled() override {
    ++cancelQueries;
    return false;
  }
  std::vector<std::pair<int64_t, int64_t>> ranges;
  std::vector<int64_t> positions;
  int cancelQueries = 0;
};

// Every chunk of `wav` into `out`, junk right before the data so the samples start aligned. The
// short PCM fmt form is what other tools (libsndfile) read; the private 24-byte form is the default.
bool WriteAll(NyWavFile& wav, const lu::File& out, bool swap, IProgress* progress = nullptr,
              bool shortFormat = false) {
  return wav.WriteRiffChunk(out, swap) &&
         (shortFormat ? wav.WriteFormatChunkNotExtensible(out, swap) : wav.WriteFormatChunk(out, swap)) &&
         wav.WriteHashChunk(out, swap) &&
         wav.WriteCueChunk(out, swap) && wav.WriteListChunk(out, swap) && wav.WriteSmplChunk(out, swap) &&
         wav.WriteADMChunk(out, swap) && wav.WriteJunkChunk(out, swap) &&
         wav.GetDataChunk().WriteToFile(out, swap, progress) == NyFormatChunkBase::ErrorCode_Success &&
         wav.UpdateRiffChunkSize(out, swap);
}

Bytes DataBytes(const Bytes& file, bool bigEndian = false) {
  const size_t at = FindChunk(file, "data", bigEndian);
  if (at == std::string::npos) return {};
  const uint32_t size = bigEndian ? GetU32BE(file, at + 4) : GetU32(file, at + 4);
  return Bytes(file.begin() + long(at + 8), file.begin() + long(std::min(file.size(), at + 8 + size)));
}

struct SfView {
  SF_INFO info{};
  std::vector<std::pair<uint32_t, uint32_t>> cues;
  int loopCount = 0;
  uint32_t loopStart = 0, loopEnd = 0;
  std::vector<short> samples;
};

SfView ReadWithSndfile(const std::string& path) {
  SfView out;
  SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &out.info);
  if (sf == nullptr) return out;
  SF_CUES cues{};
  if (sf_command(sf, SFC_GET_CUE, &cues, sizeof(cues)) == SF_TRUE) {
    for (uint32_t i = 0; i < cues.cue_count; ++i) {
      out.cues.emplace_back(uint32_t(cues.cue_points[i].indx), cues.cue_points[i].position);
    }
  }
  SF_INSTRUMENT inst{};
  if (sf_command(sf, SFC_GET_INSTRUMENT, &inst, sizeof(inst)) == SF_TRUE) {
    out.loopCount = inst.loop_count;
    out.loopStart = inst.loops[0].start;
    out.loopEnd = inst.loops[0].end;
  }
  out.samples.resize(size_t(out.info.frames * out.info.channels));
  sf_readf_short(sf, out.samples.data(), out.info.frames);
  sf_close(sf);
  return out;
}

// A sox-made stereo file with a hash and a private nydm chunk appended after its data.
std::string MakeSource(const TempDir& dir) {
  const std::string path = dir.Native("sox.wav");
  if (Run("sox -n -r 44100 -c 2 -b 16 " + path + " synth 1.5 sine 440 sine 660 2>/dev/null") != 0) return {};
  Bytes bytes = ReadFileBytes(path);
  Bytes hash(16);
  for (int i = 0; i < 16; ++i) hash[size_t(i)] = uint8_t(0xA0 + i);
  const Bytes extra = Concat({Chunk("hash", hash), Chunk("nydm", Bytes{1, 0, 4, 0, 0, 0, 0, 0, 'o', 'b', 'j', 0})});
  bytes.insert(bytes.end(), extra.begin(), extra.end());
  SetU32(bytes, 4, uint32_t(bytes.size() - 8));
  WriteFileBytes(path, bytes);
  return path;
}

TEST(WavFileRewrite, SoxFileWithAddedMarkersLoopHashAndAlignment) {
  if (!HaveProgram("sox")) GTEST_SKIP() << "sox is not installed";
  TempDir dir;
  const std::string source = MakeSource(dir);
  ASSERT_FALSE(source.empty());
  const Bytes sourceBytes = ReadFileBytes(source);

  // First pass: markers, labels and a loop added to a file that has none.
  {
    NyWavFile wav;
    ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("sox.wav")), false));
    const unsigned int frames = wav.GetFileDurationInFrames();
    ASSERT_EQ(frames, 66150u);
    EXPECT_DOUBLE_EQ(wav.GetFileDurationInSeconds(), 1.5);
    NyCueChunk& cues = wav.GetCueChunk();
    EXPECT_FALSE(cues.IsValid());
    ASSERT_EQ(cues.AddCue(30000), 1u);
    ASSERT_EQ(cues.AddCue(1000), 2u);
    ASSERT_TRUE(wav.GetListChunk().AddLabel(1, "late", 5));
    ASSERT_TRUE(wav.GetListChunk().AddLabel(2, "early", 5));
    wav.SortCueChunk();
    ASSERT_TRUE(wav.GetSmplChunk().ForceInitLoop(wav.GetFile(), &wav.GetRiffChunk(), 4410, 44099));
    lu::File out = CreateOutput(dir, "pass1.wav");
    RecordingProgress progress;
    const unsigned int sourceRiffSize = wav.GetRiffChunk().GetChunkSize();
    ASSERT_TRUE(WriteAll(wav, out, false, &progress));
    EXPECT_EQ(wav.GetRiffChunk().GetChunkSize(), sourceRiffSize);  // only the output's size is patched
    const int64_t size = wav.GetDataChunk().GetChunkSize();
    ASSERT_EQ(progress.ranges, (std::vector<std::pair<int64_t, int64_t>>{{0, size}}));
    std::vector<int64_t> steps;  // from 0 in whole buffers, ending on the size
    for (int64_t at = 0; at < size; at += 16384) steps.push_back(at);
    steps.push_back(size);
    EXPECT_EQ(progress.positions, steps);
    EXPECT_EQ(progress.cancelQueries, 0);  // the copy only reports, it is not cancellable
  }

  // Second pass: the first pass's chunks are read back and one more marker is added.
  {
    NyWavFile wav;
    ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("pass1.wav")), false));
    EXPECT_EQ(wav.GetFileHeaderSize() % 16, 0u);
    EXPECT_EQ(wav.GetCueChunk().AddCue(50000), 3u);
    ASSERT_TRUE(wav.GetListChunk().AddLabel(3, "end", 3));
    lu::File out = CreateOutput(dir, "pass2.wav");
    ASSERT_TRUE(WriteAll(wav, out, false, nullptr, true));
  }
  const std::string result = dir.Native("pass2.wav");
  const Bytes resultBytes = ReadFileBytes(result);
  EXPECT_EQ(ReadFileBytes(source), sourceBytes);  // the source is never written

  // 1. Our reader: what libsndfile cannot show (labels, hash, alignment, the private chunk).
  std::unique_ptr<NyAudioFileReader> reader(NyAudioFileReader::Create(lu::Path(dir.Wide("pass2.wav")), nullptr));
  ASSERT_NE(reader, nullptr);
  ASSERT_TRUE(reader->ReadChunks(~0u));
  EXPECT_EQ(reader->GetFormat().channelConfig.Serialize(), 0x3102u);
  EXPECT_EQ(static_cast<NyWavFileReader&>(*reader).GetDataOffset() % 16, 0u);
  const auto& markers = reader->GetMarkers();
  ASSERT_EQ(markers.size(), 3u);
  const std::string expectedLabels[] = {"early", std::string("late\0", 5), "end"};
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(std::string(markers[i].strLabel, markers[i].dwLabelSize), expectedLabels[i]);
  }
  unsigned char hash[16];
  ASSERT_TRUE(reader->GetHash(hash, 16));
  EXPECT_EQ(Bytes(hash, hash + 16), Bytes(sourceBytes.begin() + long(FindChunk(sourceBytes, "hash") + 8),
                                          sourceBytes.begin() + long(FindChunk(sourceBytes, "hash") + 24)));
  const size_t nydm = FindChunk(resultBytes, "nydm");
  ASSERT_NE(nydm, std::string::npos);
  EXPECT_EQ(GetU32(resultBytes, nydm + 4), 12u);
  EXPECT_EQ(GetU32(resultBytes, 4), resultBytes.size() - 8);

  // 2. libsndfile.
  const SfView expected = ReadWithSndfile(source), actual = ReadWithSndfile(result);
  EXPECT_EQ(actual.info.frames, expected.info.frames);
  EXPECT_EQ(actual.info.samplerate, 44100);
  EXPECT_EQ(actual.samples, expected.samples);
  EXPECT_EQ(actual.cues, (std::vector<std::pair<uint32_t, uint32_t>>{{2, 1000}, {1, 30000}, {3, 50000}}));
  ASSERT_EQ(actual.loopCount, 1);
  EXPECT_EQ(actual.loopStart, 4410u);
  EXPECT_EQ(actual.loopEnd, 44100u);  // libsndfile reports one past the stored last frame

  // 3. The sample bytes themselves.
  const Bytes sourceData = DataBytes(sourceBytes), resultData = DataBytes(resultBytes);
  ASSERT_EQ(sourceData.size(), 66150u * 4);
  EXPECT_TRUE(sourceData == resultData);
}

TEST(WavFileRewrite, ShortSourcePatchesTheDataSize) {
  TempDir dir;
  Bytes samples(40000);
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = uint8_t(i * 7);
  // The data chunk claims more than the file holds.
  const Bytes file = Riff(Concat({Chunk("fmt ", FmtPayload(1, 2, 8000, 16)), Header("data", 100000), samples}));
  Store(dir, "short.wav", file);
  NyWavFile wav;
  ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("short.wav")), false));
  lu::File out = CreateOutput(dir, "out.wav");
  RecordingProgress progress;
  ASSERT_TRUE(WriteAll(wav, out, false, &progress, true));
  out.Flush();
  const Bytes result = ReadFileBytes(dir.Native("out.wav"));
  EXPECT_EQ(GetU32(result, FindChunk(result, "data") + 4), 40000u);
  EXPECT_EQ(DataBytes(result), samples);
  EXPECT_EQ(wav.GetDataChunk().GetChunkSize(), 40000u);
  EXPECT_EQ(progress.positions.back(), 40000);
  EXPECT_EQ(ReadWithSndfile(dir.Native("out.wav")).info.frames, 10000);
}

TEST(WavFileRewrite, FullDiskReportedAndSourceUntouched) {
  TempDir dir;
  Bytes samples(64 * 1024, 0x5A);
  const Bytes file = Riff(Concat({Chunk("fmt ", FmtPayload(1, 2, 8000, 16)), Chunk("data", samples)}));
  const std::string path = Store(dir, "src.wav", file);
  NyWavFile wav;
  ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("src.wav")), false));
  for (int i = 0; i < 400; ++i) wav.GetCueChunk().AddCue(unsigned(i));  // a payload beyond one buffer

  lu::File full;
  ASSERT_EQ(full.Open(lu::Path(L"/dev/full"), NyOpenModeWrite, 0), NYRESULT_SUCCESS);
  EXPECT_EQ(wav.GetDataChunk().WriteToFile(full, false, nullptr), NyFormatChunkBase::ErrorCode_DiskFull);
  EXPECT_EQ(wav.GetCueChunk().WriteToFile(full, false), NyFormatChunkBase::ErrorCode_DiskFull);
  EXPECT_FALSE(wav.WriteDataChunk(full, false));
  full.Close();
  wav.Close();
  EXPECT_EQ(ReadFileBytes(path), file);
}

// A big-endian file made by libsndfile (which itself writes no usable big-endian cue or smpl).
void WriteRifx(const std::string& path) {
  SF_INFO info{};
  info.samplerate = 22050;
  info.channels = 2;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG;
  SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(sf, nullptr) << sf_strerror(nullptr);
  std::vector<short> samples(2 * 5000);
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = short(i * 13 - 20000);
  ASSERT_EQ(sf_writef_short(sf, samples.data(), 5000), 5000);
  sf_close(sf);
}

TEST(WavFileRewrite, RifxRoundTrip) {
  TempDir dir;
  WriteRifx(dir.Native("be.wav"));
  const Bytes source = ReadFileBytes(dir.Native("be.wav"));
  ASSERT_EQ(std::string(source.begin(), source.begin() + 4), "RIFX");
  NyWavFile wav;
  ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("be.wav")), false));
  EXPECT_EQ(wav.GetRiffChunk().GetChunkID(), k_fccRIFX);
  EXPECT_EQ(wav.GetFileDurationInFrames(), 5000u);

  // Format and samples, read back by libsndfile.
  {
    lu::File out = CreateOutput(dir, "plain.wav");
    ASSERT_TRUE(WriteAll(wav, out, true, nullptr, true));
  }
  const Bytes plain = ReadFileBytes(dir.Native("plain.wav"));
  EXPECT_EQ(GetU32BE(plain, 4), plain.size() - 8);
  EXPECT_EQ(GetU32BE(plain, 16), 16u);  // the short fmt form
  EXPECT_EQ(DataBytes(plain, true), DataBytes(source, true));
  const SfView expected = ReadWithSndfile(dir.Native("be.wav")), actual = ReadWithSndfile(dir.Native("plain.wav"));
  EXPECT_EQ(actual.info.format & SF_FORMAT_ENDMASK, SF_ENDIAN_BIG);  // RIFX, as libsndfile sees it
  EXPECT_EQ(actual.info.samplerate, 22050);
  EXPECT_EQ(actual.samples, expected.samples);

  // Markers made in memory are written big-endian like every other number; codes stay as they are.
  EXPECT_EQ(wav.GetCueChunk().AddCue(1234), 1u);
  ASSERT_TRUE(wav.GetListChunk().AddLabel(1, "be", 2));
  ASSERT_TRUE(wav.GetSmplChunk().ForceInitLoop(wav.GetFile(), &wav.GetRiffChunk(), 100, 2000));
  {
    lu::File out = CreateOutput(dir, "marked.wav");
    ASSERT_TRUE(WriteAll(wav, out, true));
  }
  const Bytes marked = ReadFileBytes(dir.Native("marked.wav"));
  EXPECT_EQ(GetU32BE(marked, 16), 24u);  // the private fmt form
  const size_t cue = FindChunk(marked, "cue ", true), list = FindChunk(marked, "LIST", true),
               smpl = FindChunk(marked, "smpl", true);
  ASSERT_NE(cue, std::string::npos);
  ASSERT_NE(list, std::string::npos);
  ASSERT_NE(smpl, std::string::npos);
  EXPECT_EQ(GetU32BE(marked, cue + 8), 1u);      // count
  EXPECT_EQ(GetU32BE(marked, cue + 16), 1234u);  // position
  EXPECT_EQ(std::string(marked.begin() + long(cue) + 20, marked.begin() + long(cue) + 24), "data");
  EXPECT_EQ(std::string(marked.begin() + long(list) + 8, marked.begin() + long(list) + 16), "adtllabl");
  EXPECT_EQ(GetU32BE(marked, list + 16), 6u);
  EXPECT_EQ(GetU32BE(marked, list + 20), 1u);
  EXPECT_EQ(GetU32BE(marked, smpl + 8 + 28), 1u);    // loop count
  EXPECT_EQ(GetU32BE(marked, smpl + 8 + 44), 100u);  // loop start
  EXPECT_EQ(GetU32BE(marked, smpl + 8 + 48), 2000u);
  EXPECT_EQ(DataBytes(marked, true), DataBytes(source, true));

  // Reopened: format, data and labels come back; cue and smpl records are deliberately kept as
  // they stand in the big-endian file.
  NyWavFile again;
  ASSERT_TRUE(again.Open(lu::Path(dir.Wide("marked.wav")), false));
  EXPECT_EQ(again.GetFileDurationInFrames(), 5000u);
  EXPECT_EQ(again.GetFmtChunk().GetFormat().nSamplesPerSec, 22050u);
  EXPECT_EQ(again.GetFmtChunk().GetFormat().channelConfig.Serialize(), 0x3102u);
  ASSERT_EQ(again.GetListChunk().GetLabels().size(), 1u);
  EXPECT_EQ(again.GetListChunk().GetLabels()[0].dwIdentifier, 1u);
  EXPECT_EQ(std::string(again.GetListChunk().GetLabels()[0].pData, 2), "be");
  std::vector<WAV_CUE> cues;
  again.GetCueChunk().GetCuesVector(cues);
  ASSERT_EQ(cues.size(), 1u);
  EXPECT_EQ(cues[0].dwPosition, __builtin_bswap32(1234));
  unsigned int start = 0, end = 0;
  ASSERT_TRUE(again.GetSmplChunk().GetLoopPosition(start, end));
  EXPECT_EQ(start, __builtin_bswap32(100));
}

}  // namespace
