// The chunk classes on files built byte by byte: finding chunks, the editing rules at their
// boundaries, the accepted fmt forms, and malformed files.
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "ChunkTestSupport.h"

namespace {

using namespace nytest;

const Bytes k_fmtStereo16 = FmtPayload(1, 2, 48000, 16);

Bytes CueRecord(uint32_t id, uint32_t position, uint32_t chunkStart, uint32_t sampleOffset) {
  Bytes out;
  PutU32(out, id);
  PutU32(out, position);
  PutFourCC(out, "data");
  PutU32(out, chunkStart);
  PutU32(out, chunkStart);
  PutU32(out, sampleOffset);
  return out;
}

TEST(ChunkCue, AddSortAndIdentifiers) {
  TempDir dir;
  // Eight bytes beyond the two records: the stated size is kept and written back.
  const Bytes cue = Concat({Bytes{2, 0, 0, 0}, CueRecord(5, 300, 7, 0), CueRecord(2, 100, 7, 0), Bytes(8, 0xEE)});
  const std::string path =
      Store(dir, "cues.wav", Riff(Concat({Chunk("fmt ", k_fmtStereo16), Chunk("cue ", cue), Chunk("data", Bytes(40))})));
  NyWavFile wav;
  ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("cues.wav")), false));
  NyCueChunk& chunk = wav.GetCueChunk();
  std::vector<WAV_CUE> cues;
  chunk.GetCuesVector(cues);
  ASSERT_EQ(cues.size(), 2u);
  EXPECT_EQ(cues[0].dwChunkStart, 0u);  // chunk and block start are not kept
  EXPECT_EQ(cues[0].dwBlockStart, 0u);
  EXPECT_EQ(chunk.AddCue(200), 6u);  // one past the largest identifier in the file
  EXPECT_EQ(chunk.AddCue(100), 7u);
  wav.SortCueChunk();
  chunk.GetCuesVector(cues);
  std::vector<uint32_t> ids;
  for (const WAV_CUE& c : cues) ids.push_back(c.dwIdentifier);
  EXPECT_EQ(ids, (std::vector<uint32_t>{2, 7, 6, 5}));  // stable: the file's 100 before the added one
  EXPECT_EQ(cues[1].fccChunk, k_fccData);
  EXPECT_EQ(cues[1].dwSampleOffset, 100u);
  EXPECT_EQ(chunk.GetChunkSize(), 4u + 4 * 24 + 8);
  lu::File out = CreateOutput(dir, "out.bin");
  ASSERT_TRUE(wav.WriteCueChunk(out, false));
  out.Flush();
  const Bytes written = ReadFileBytes(dir.Native("out.bin"));
  ASSERT_EQ(written.size(), 8u + 4 + 4 * 24 + 8);
  EXPECT_EQ(Bytes(written.end() - 8, written.end()), Bytes(8, 0));
}

TEST(ChunkList, FindsTheAdtlListAndWritesItBackUnchanged) {
  TempDir dir;
  Bytes info;
  PutFourCC(info, "INFO");
  const Bytes infoList = Chunk("LIST", Concat({info, Chunk("INAM", Bytes{'x', 0})}));
  const Bytes adtl = AdtlList({Labl(1, "odd"), Labl(2, std::string("even\0\0", 6)), Labl(3, "")});
  const Bytes withNote = AdtlList({Labl(1, "odd"), Chunk("note", Bytes{1, 2, 3, 4}), Labl(2, "b")});
  const std::string path = Store(
      dir, "lists.wav",
      Riff(Concat({Chunk("fmt ", k_fmtStereo16), infoList, adtl, Chunk("data", Bytes(40)), withNote})));
  NyWavFile wav;
  ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("lists.wav")), false));
  const NyListChunk& list = wav.GetListChunk();
  ASSERT_EQ(list.GetLabels().size(), 3u);
  EXPECT_EQ(std::string(list.GetLabels()[0].pData, list.GetLabels()[0].dwSize), "odd");
  EXPECT_EQ(list.GetLabels()[1].dwSize, 6u);
  EXPECT_EQ(list.GetLabels()[2].dwSize, 0u);
  EXPECT_EQ(list.GetChunkSize(), adtl.size() - 8);

  lu::File out = CreateOutput(dir, "out.bin");
  ASSERT_TRUE(wav.WriteListChunk(out, false));
  out.Flush();
  EXPECT_EQ(ReadFileBytes(dir.Native("out.bin")), adtl);

  // Deliberately kept across Close: a second Open appends the labels again.
  ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("lists.wav")), false));
  EXPECT_EQ(wav.GetListChunk().GetLabels().size(), 6u);
}

TEST(ChunkSmpl, FirstLoopOnlyAndAbsentLoops) {
  TempDir dir;
  const Bytes oneLoop = SmplPayload(5, 6);
  struct Case {
    const char* name;
    Bytes smpl;
    bool valid;
    uint32_t start, end;
  };
  const Case cases[] = {
      {"one loop", Chunk("smpl", SmplPayload(10, 90)), true, 10, 90},
      {"three loops", Chunk("smpl", SmplPayload(20, 80, 3)), true, 20, 80},
      {"no loops", Chunk("smpl", SmplPayload(0, 0, 0)), false, 0, 0},
      {"truncated loop", Chunk("smpl", Bytes(oneLoop.begin(), oneLoop.begin() + 50)), false, 0, 0},
  };
  for (const Case& c : cases) {
    Store(dir, "smpl.wav", Riff(Concat({Chunk("fmt ", k_fmtStereo16), c.smpl, Chunk("data", Bytes(400))})));
    NyWavFile wav;
    ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("smpl.wav")), false)) << c.name;
    NySmplChunk& smpl = wav.GetSmplChunk();
    unsigned int start = 1, end = 1;
    EXPECT_EQ(smpl.GetLoopPosition(start, end), c.valid) << c.name;
    if (c.valid) {
      EXPECT_EQ(start, c.start) << c.name;
      EXPECT_EQ(end, c.end) << c.name;
      EXPECT_EQ(smpl.GetChunkSize(), 60u) << c.name;
      SAMPLER sampler;
      smpl.GetSamplerInfo(sampler);
      EXPECT_EQ(sampler.cSampleLoops, 1u) << c.name;
    }
    lu::File out = CreateOutput(dir, "out.bin");
    EXPECT_TRUE(wav.WriteSmplChunk(out, false)) << c.name;
    out.Flush();
    EXPECT_EQ(ReadFileBytes(dir.Native("out.bin")).size(), c.valid ? 68u : 0u) << c.name;

    // A forced loop replaces only an absent one.
    EXPECT_TRUE(smpl.ForceInitLoop(wav.GetFile(), &wav.GetRiffChunk(), 111, 222));
    smpl.GetLoopPosition(start, end);
    EXPECT_EQ(start, c.valid ? c.start : 111u) << c.name;
    EXPECT_EQ(end, c.valid ? c.end : 222u) << c.name;
  }
}

TEST(ChunkFmt, AcceptedFormsAndTheirConfiguration) {
  // A private 24-byte form: the 16 basic bytes, cbSize 6, valid bits, a packed configuration.
  const auto privateForm = [](uint16_t channels, uint32_t config) {
    Bytes out = FmtPayload(0xFFFE, channels, 48000, 16);
    PutU16(out, 6);
    PutU16(out, 16);
    PutU32(out, config);
    return out;
  };
  struct Case {
    const char* name;
    Bytes fmt;
    bool ok;
    uint16_t channels;
    uint32_t config;
    bool unspecifiedMask;
  };
  const Case cases[] = {
      {"pcm stereo", k_fmtStereo16, true, 2, 0x3102, false},
      {"float mono", FmtPayload(3, 1, 48000, 32), true, 1, 0x4101, false},
      {"pcm 5.1 without mask", FmtPayload(1, 6, 48000, 16), true, 6, 0x60F106, true},
      {"extensible 5.1 back pair", FmtExtensible(6, 48000, 16, 0x3F), true, 6, 0x60F106, false},
      {"extensible 6ch mask 0", FmtExtensible(6, 48000, 16, 0), true, 6, 0x60F106, true},
      {"private stereo", privateForm(2, 0x3102), true, 2, 0x3102, false},
      {"private count mismatch", privateForm(2, 0x4101), false, 0, 0, false},
      {"private type 4", privateForm(2, 0x402), false, 0, 0, false},
      {"private objects, no channels", privateForm(0, 0x300), true, 0, 0x300, false},
      {"too short", Bytes(12, 1), false, 0, 0, false},
      {"256 channels", FmtPayload(1, 256, 48000, 16, 4), false, 0, 0, false},
  };
  TempDir dir;
  for (const Case& c : cases) {
    Store(dir, "fmt.wav", Riff(Concat({Chunk("fmt ", c.fmt), Chunk("data", Bytes(8))})));
    NyWavFile wav;
    EXPECT_EQ(wav.Open(lu::Path(dir.Wide("fmt.wav")), false), c.ok) << c.name;
    if (!c.ok) continue;
    WaveFormatExtensible format;
    ASSERT_TRUE(wav.GetFormat(&format)) << c.name;
    EXPECT_EQ(format.wFormatTag, 0xFFFE) << c.name;
    EXPECT_EQ(format.cbSize, 6) << c.name;
    EXPECT_EQ(format.nChannels, c.channels) << c.name;
    EXPECT_EQ(format.channelConfig.Serialize(), c.config) << c.name;
    EXPECT_EQ(wav.GetFmtChunk().HasUnspecifiedChannelMask(), c.unspecifiedMask) << c.name;
  }

  // A rejected fmt leaves the chunk marked valid, on purpose; the short form forces the PCM tag.
  Store(dir, "fmt.wav", Riff(Concat({Chunk("fmt ", privateForm(2, 0x4101)), Chunk("data", Bytes(8))})));
  lu::File source = OpenInPlace(dir.Native("fmt.wav"));
  NyRiffChunk riff;
  NyFmtChunk fmt;
  ASSERT_TRUE(riff.Init(source, nullptr));
  EXPECT_FALSE(fmt.Init(source, &riff));
  EXPECT_TRUE(fmt.IsValid());
  {
    NyWavFile rejected;  // the same state through Open, which stops at that step
    EXPECT_FALSE(rejected.Open(lu::Path(dir.Wide("fmt.wav")), false));
    EXPECT_TRUE(rejected.GetFmtChunk().IsValid());
    EXPECT_TRUE(rejected.GetRiffChunk().IsValid());
    EXPECT_FALSE(rejected.GetDataChunk().IsValid());
  }
  Store(dir, "float.wav", Riff(Concat({Chunk("fmt ", FmtPayload(3, 1, 44100, 32)), Chunk("data", Bytes(8))})));
  NyWavFile wav;
  ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("float.wav")), true));
  lu::File out = CreateOutput(dir, "out.bin");
  ASSERT_TRUE(wav.WriteFormatChunkNotExtensible(out, false));
  out.Flush();
  EXPECT_EQ(ReadFileBytes(dir.Native("out.bin")), Chunk("fmt ", FmtPayload(1, 1, 44100, 32)));
}

// Malformed files: Open gives its failure result, nothing crashes, and the file is not changed.
TEST(ChunkBadInput, OpenRefusesOrBoundsAndNeverWrites) {
  const Bytes fmt = Chunk("fmt ", k_fmtStereo16);
  const Bytes data = Chunk("data", Bytes(64, 7));
  Bytes rf64 = Riff(Concat({Chunk("ds64", Bytes(28)), fmt, data}), "RF64", 0xFFFFFFFF);
  Bytes truncatedFmt = Riff(Concat({Header("fmt ", 16), Bytes(6, 1)}));
  Bytes hugeCount = Riff(Concat({fmt, Chunk("cue ", Concat({Bytes{0xFF, 0xFF, 0xFF, 0x7F}, CueRecord(1, 5, 0, 0)})), data}));
  Bytes cuePastEnd = Riff(Concat({fmt, data, Header("cue ", 0x7FFFFFF0), Bytes{3, 0, 0, 0}, CueRecord(1, 5, 0, 0)}));
  Bytes wrapping = Riff(Concat({Chunk("JUNK", Bytes(4)), Header("big ", 0xFFFFFFF0), fmt, data}));
  Bytes selfLoop = Riff(Concat({Header("loop", 0xFFFFFFF8), fmt, data}));
  Bytes labelPastEnd = Riff(Concat({fmt, data, Chunk("LIST", Concat({Bytes{'a', 'd', 't', 'l'}, Header("labl", 0x7FFFFFFF), Bytes{1, 0, 0, 0, 'h', 'i'}}))}));
  Bytes admPastEnd = Riff(Concat({fmt, data, Header("nydm", 0x7FFFFFFF), Bytes(10, 1)}));
  Bytes smplShort = Riff(Concat({fmt, data, Header("smpl", 60), Bytes(20, 0)}));
  Bytes oddNoPad = Riff(Concat({Chunk("odd ", Bytes{1, 2, 3}, false), fmt, data}));
  struct Case {
    const char* name;
    Bytes file;
    bool opens;
    size_t cues, labels;
    bool smpl, adm;
  };
  const Case cases[] = {
      {"empty", {}, false, 0, 0, false, false},
      {"header only", Riff({}), false, 0, 0, false, false},
      {"RF64", rf64, false, 0, 0, false, false},
      {"BW64", Riff(Concat({fmt, data}), "BW64"), false, 0, 0, false, false},
      {"truncated fmt", truncatedFmt, false, 0, 0, false, false},
      {"no data", Riff(fmt), false, 0, 0, false, false},
      {"size wraps the scan", wrapping, false, 0, 0, false, false},
      {"size wraps onto itself", selfLoop, false, 0, 0, false, false},
      {"cue count beyond its chunk", hugeCount, true, 1, 0, false, false},
      {"cue chunk beyond the file", cuePastEnd, true, 1, 0, false, false},
      {"label beyond its chunk", labelPastEnd, true, 0, 1, false, false},
      {"nydm beyond the file", admPastEnd, true, 0, 0, false, false},
      {"smpl truncated", smplShort, true, 0, 0, false, false},
      {"odd chunk without pad", oddNoPad, true, 0, 0, false, false},
  };
  TempDir dir;
  for (const Case& c : cases) {
    const std::string path = Store(dir, "bad.wav", c.file);
    {
      NyWavFile wav;
      EXPECT_EQ(wav.Open(lu::Path(dir.Wide("bad.wav")), false), c.opens) << c.name;
      std::vector<WAV_CUE> cues;
      wav.GetCueChunk().GetCuesVector(cues);
      EXPECT_EQ(cues.size(), c.cues) << c.name;
      EXPECT_EQ(wav.GetListChunk().GetLabels().size(), c.labels) << c.name;
      EXPECT_EQ(wav.GetSmplChunk().IsValid(), c.smpl) << c.name;
      EXPECT_EQ(wav.GetADMChunk().IsValid(), c.adm) << c.name;
      if (c.opens) {
        // Whatever was found can be written out; what is bounded stays bounded.
        lu::File out = CreateOutput(dir, "out.wav");
        for (auto write : {&NyWavFile::WriteRiffChunk, &NyWavFile::WriteFormatChunk, &NyWavFile::WriteCueChunk,
                           &NyWavFile::WriteListChunk, &NyWavFile::WriteSmplChunk, &NyWavFile::WriteADMChunk,
                           &NyWavFile::WriteJunkChunk, &NyWavFile::WriteDataChunk}) {
          EXPECT_TRUE((wav.*write)(out, false)) << c.name;
        }
        EXPECT_LT(out.GetFileSize(), c.file.size() + 256) << c.name;
      }
    }
    EXPECT_EQ(ReadFileBytes(path), c.file) << c.name;
  }
}

}  // namespace

TEST(ChunkCue, RescaleRoundsHalfAwayAndLimitsToTheFrameCount) {
  struct Case {
    uint32_t position;
    double ratio;
    uint32_t frameCount, expected;
  };
  const Case cases[] = {
      {3, 0.5, 100, 2},         {1, 0.5, 100, 1},   {5, 0.5, 100, 3},           {100, 1.0, 100, 99},
      {7, 1.0, 0, 0xFFFFFFFFu}, {10, -1.0, 100, 99}, {0xFFFFFFFFu, 1e30, 50, 49},
  };
  TempDir dir;
  for (const Case& c : cases) {
    const Bytes file = Riff(Concat({Chunk("fmt ", k_fmtStereo16), Chunk("cue ", Concat({Bytes{1, 0, 0, 0},
                                                                                          CueRecord(1, c.position, 9, 0)})),
                                    Chunk("data", Bytes(40))}));
    lu::File f = OpenInPlace(Store(dir, "rescale.wav", file));
    NyRiffChunk riff;
    NyCueChunk cue;
    ASSERT_TRUE(riff.Init(f, nullptr));
    ASSERT_TRUE(cue.Init(f, &riff));
    EXPECT_EQ(cue.UpdateCueInfo(c.ratio, c.frameCount, false), NyFormatChunkBase::ErrorCode_Success);
    std::vector<WAV_CUE> cues;
    cue.GetCuesVector(cues);
    EXPECT_EQ(cues[0].dwPosition, c.expected) << c.position << " x " << c.ratio;
    EXPECT_EQ(cues[0].dwSampleOffset, c.expected);
  }
}

// Junk written at every offset modulo 16: the next chunk's payload lands on a multiple of 16.
TEST(ChunkJunk, SizesAlignTheNextPayload) {
  TempDir dir;
  for (unsigned offset = 0; offset < 48; ++offset) {
    lu::File out = CreateOutput(dir, "junk.bin");
    const Bytes lead(offset + 1, 0xAA);
    ASSERT_TRUE(out.WriteExact(lead.data(), offset));
    NyJunkChunk junk(16);
    ASSERT_TRUE(junk.Init(out, nullptr));
    out.SetFilePointer(offset, lu::FilePointerBegin);  // the scan moved the shared position
    ASSERT_EQ(junk.WriteToFile(out, false), NyFormatChunkBase::ErrorCode_Success);
    const int64_t end = out.SetFilePointer(0, lu::FilePointerCurrent);
    EXPECT_EQ((end + 8) % 16, 0) << offset;
    const int64_t written = end - offset;
    if (offset % 16 == 8) {
      EXPECT_EQ(written, 0) << "no chunk needed at " << offset;
      continue;
    }
    out.Flush();
    const Bytes bytes = ReadFileBytes(dir.Native("junk.bin"));
    ASSERT_EQ(bytes.size(), size_t(end));
    EXPECT_EQ(std::string(bytes.begin() + offset, bytes.begin() + offset + 4), "junk");
    EXPECT_EQ(GetU32(bytes, offset + 4), uint32_t(written - 8));
    EXPECT_LE(written - 8, 15);
    for (int64_t i = offset + 8; i < end; ++i) EXPECT_EQ(bytes[size_t(i)], 0);
  }
}
