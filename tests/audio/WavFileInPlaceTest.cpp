// The in-place updates change exactly their own bytes of the file, and restore the file position.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "ChunkTestSupport.h"

namespace {

using namespace nytest;

Bytes CueRecord(uint32_t id, uint32_t position) {
  Bytes out;
  for (uint32_t v : {id, position, NyFourCC("data"), 9u, 9u, position}) PutU32(out, v);
  return out;
}

// RIFF size deliberately wrong; fmt is the 40-byte extensible form; chunk start and block start of
// the cues are not 0 in the file.
Bytes MakeFile() {
  return Riff(Concat({Chunk("fmt ", FmtExtensible(2, 48000, 16, 0x3)),
                      Chunk("cue ", Concat({Bytes{2, 0, 0, 0}, CueRecord(1, 10), CueRecord(2, 201)})),
                      AdtlList({Labl(1, "x")}), Chunk("smpl", SmplPayload(100, 901)), Chunk("data", Bytes(1000, 0x33)),
                      Chunk("tail", Bytes{1, 2, 3, 4})}),
              "RIFF", 4);
}

struct Chunks {
  NyRiffChunk riff;
  NyFmtChunk fmt;
  NyCueChunk cue;
  NySmplChunk smpl;
  NyDataChunk data;
};

struct Case {
  const char* name;
  int64_t position;  // where the file stands when the update is called
  std::function<NyFormatChunkBase::ErrorCode(Chunks&, const lu::File&)> update;
  std::function<void(Bytes&)> expect;  // applied to the original bytes
};

void PutAt(Bytes& b, size_t at, const Bytes& what) { std::copy(what.begin(), what.end(), b.begin() + long(at)); }

TEST(WavFileInPlace, UpdatesTouchOnlyTheirOwnBytes) {
  const Bytes original = MakeFile();
  const size_t fmt = FindChunk(original, "fmt "), cue = FindChunk(original, "cue "),
               smpl = FindChunk(original, "smpl"), data = FindChunk(original, "data");
  const auto smplImage = [&](uint32_t start, uint32_t end) {
    Bytes image(original.begin() + long(smpl), original.begin() + long(smpl) + 68);
    SetU32(image, 8 + 44, start);
    SetU32(image, 8 + 48, end);
    return image;
  };
  const Case cases[] = {
      {"cue x 2.0 limited to 300 frames", 123,
       [](Chunks& c, const lu::File&) { return c.cue.UpdateCueInfo(2.0, 300, false); },
       [&](Bytes& b) {
         PutAt(b, cue + 12, CueRecord(1, 20));
         PutAt(b, cue + 36, CueRecord(2, 299));
         for (size_t r : {cue + 12, cue + 36}) SetU32(b, r + 12, 0), SetU32(b, r + 16, 0);  // not kept
       }},
      {"loop x 0.5 from position 0", 0,
       [](Chunks& c, const lu::File&) { return c.smpl.UpdateLoopInfo(0.5, 400, false); },
       [&](Bytes& b) { PutAt(b, smpl, smplImage(50, 399)); }},
      // Deliberately relative: from position 10 the chunk lands 10 bytes further on.
      {"loop x 1.0 from position 10", 10,
       [](Chunks& c, const lu::File&) { return c.smpl.UpdateLoopInfo(1.0, 400, false); },
       [&](Bytes& b) { PutAt(b, smpl + 10, smplImage(100, 399)); }},
      {"loop start beyond the new end", 0,
       [](Chunks& c, const lu::File&) { return c.smpl.UpdateLoopInfo(2.0, 150, false); },
       [&](Bytes& b) { PutAt(b, smpl, smplImage(0, 149)); }},
      {"format", 77,
       [](Chunks& c, const lu::File&) {
         WaveFormatExtensible f = c.fmt.GetFormat();
         f.nSamplesPerSec = 22050;
         return c.fmt.UpdateFormatInfo(f, false);
       },
       [&](Bytes& b) {
         // A 24-byte chunk over the 40-byte one: its GUID tail stays behind, on purpose.
         SetU32(b, fmt + 4, 24);
         SetU32(b, fmt + 8 + 4, 22050);
         PutAt(b, fmt + 8 + 16, Bytes{6, 0, 16, 0});
         SetU32(b, fmt + 8 + 20, 0x3102);
       }},
      {"data size", 5,
       [](Chunks& c, const lu::File&) { return c.data.UpdateChunkSize(500, false); },
       [&](Bytes& b) { SetU32(b, data + 4, 500); }},
      {"data size big-endian", 5,
       [](Chunks& c, const lu::File&) { return c.data.UpdateChunkSize(500, true); },
       [&](Bytes& b) { SetU32(b, data + 4, __builtin_bswap32(500)); }},
      {"riff size", 300,
       [](Chunks& c, const lu::File& f) { return c.riff.UpdateRiffChunkSize(f, false); },
       [&](Bytes& b) { SetU32(b, 4, uint32_t(b.size() - 8)); }},
  };
  TempDir dir;
  for (const Case& c : cases) {
    const std::string path = Store(dir, "edit.wav", original);
    {
      lu::File f = OpenInPlace(path);
      Chunks chunks;
      ASSERT_TRUE(chunks.riff.Init(f, nullptr) && chunks.fmt.Init(f, &chunks.riff) && chunks.cue.Init(f, &chunks.riff) &&
                  chunks.smpl.Init(f, &chunks.riff) && chunks.data.Init(f, &chunks.riff))
          << c.name;
      ASSERT_EQ(f.SetFilePointer(c.position, lu::FilePointerBegin), c.position);
      EXPECT_EQ(c.update(chunks, f), NyFormatChunkBase::ErrorCode_Success) << c.name;
      EXPECT_EQ(f.SetFilePointer(0, lu::FilePointerCurrent), c.position) << c.name << ": position restored";
    }
    Bytes expected = original;
    c.expect(expected);
    EXPECT_EQ(ReadFileBytes(path), expected) << c.name;
  }
}

TEST(WavFileInPlace, UpdatesOfAbsentChunksFailWithoutWriting) {
  TempDir dir;
  const Bytes original = Riff(Concat({Chunk("fmt ", FmtPayload(1, 1, 8000, 8)), Chunk("data", Bytes(10))}));
  const std::string path = Store(dir, "plain.wav", original);
  {
    lu::File f = OpenInPlace(path);
    NyRiffChunk riff;
    ASSERT_TRUE(riff.Init(f, nullptr));
    NyCueChunk cue;
    NySmplChunk smpl;
    NyFmtChunk fmt;
    NyDataChunk data;
    EXPECT_FALSE(cue.Init(f, &riff));
    EXPECT_FALSE(smpl.Init(f, &riff));
    EXPECT_EQ(cue.UpdateCueInfo(1.0, 10, false), NyFormatChunkBase::ErrorCode_Failure);
    EXPECT_EQ(smpl.UpdateLoopInfo(1.0, 10, false), NyFormatChunkBase::ErrorCode_Failure);
    WaveFormatExtensible format{};
    EXPECT_EQ(fmt.UpdateFormatInfo(format, false), NyFormatChunkBase::ErrorCode_Failure);
    EXPECT_EQ(data.UpdateChunkSize(3, false), NyFormatChunkBase::ErrorCode_Failure);
    // Made in memory, cue and loop have no place in the file to be rewritten.
    cue.AddCue(1);
    smpl.ForceInitLoop(f, &riff, 1, 2);
    EXPECT_EQ(cue.UpdateCueInfo(1.0, 10, false), NyFormatChunkBase::ErrorCode_Failure);
    EXPECT_EQ(smpl.UpdateLoopInfo(1.0, 10, false), NyFormatChunkBase::ErrorCode_Failure);
  }
  EXPECT_EQ(ReadFileBytes(path), original);
}

}  // namespace
