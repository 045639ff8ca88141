// Interrupted writes: every path that writes WAV data, cut short by a full disk or by a file size
// limit at several points, reports the failure, leaves the source file byte-identical and leaves
// no file behind in its folder that the caller did not create.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "ChunkTestSupport.h"
#include "../support/InterruptedWrite.h"

using namespace nytest;

namespace {

Bytes Ramp(size_t bytes) {
  Bytes out(bytes);
  for (size_t i = 0; i < bytes; ++i) out[i] = uint8_t(i * 7 + 3);
  return out;
}

// A source with every chunk the rewrite carries, and more data than one stdio buffer.
Bytes SourceFile() {
  Bytes hash(16);
  for (int i = 0; i < 16; ++i) hash[size_t(i)] = uint8_t(0xA0 + i);
  return Riff(Concat({Chunk("fmt ", FmtPayload(1, 2, 44100, 16)), Chunk("hash", hash),
                      Chunk("cue ", CuePayload({{1, 10}, {2, 900}})), AdtlList({Labl(1, "one"), Labl(2, "two")}),
                      Chunk("smpl", SmplPayload(100, 4000)), Chunk("data", Ramp(4 * 5000))}));
}

// Every chunk writer in file order, then the size patch and the close; true only if all succeed.
bool Rewrite(NyWavFile& wav, lu::File& out) {
  const bool written = wav.WriteRiffChunk(out, false) && wav.WriteFormatChunk(out, false) &&
                       wav.WriteHashChunk(out, false) && wav.WriteCueChunk(out, false) &&
                       wav.WriteListChunk(out, false) && wav.WriteSmplChunk(out, false) &&
                       wav.WriteADMChunk(out, false) && wav.WriteJunkChunk(out, false) &&
                       wav.WriteDataChunk(out, false) && wav.UpdateRiffChunkSize(out, false);
  const bool closed = out.Close() == NYRESULT_SUCCESS;
  return written && closed;
}

}  // namespace

TEST(InterruptedWrites, ChunkRewriteCutShortAnywhereKeepsTheSource) {
  TempDir dir;
  const Bytes source = SourceFile();
  const std::string sourcePath = Store(dir, "source.wav", source);

  // Uninterrupted, the rewrite succeeds: the size every cut below falls short of.
  size_t fullSize = 0;
  {
    NyWavFile wav;
    ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("source.wav")), false));
    wav.GetCueChunk().AddCue(77);
    lu::File out = CreateOutput(dir, "whole.wav");
    ASSERT_TRUE(Rewrite(wav, out));
    fullSize = ReadFileBytes(dir.Native("whole.wav")).size();
    ASSERT_GT(fullSize, source.size() / 2);
  }
  for (const size_t cut : {size_t(0), size_t(11), size_t(12), size_t(50), size_t(200), fullSize / 2, fullSize - 1}) {
    SCOPED_TRACE("writes stop at byte " + std::to_string(cut));
    {
      NyWavFile wav;
      ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("source.wav")), false));
      wav.GetCueChunk().AddCue(77);  // an edit in memory must not reach the source either
      lu::File out = CreateOutput(dir, "cut.wav");
      ASSERT_TRUE(out.IsOpen());
      FileSizeLimit limit(cut);
      ASSERT_TRUE(limit.IsSet());
      EXPECT_FALSE(Rewrite(wav, out));
    }
    EXPECT_EQ(ReadFileBytes(sourcePath), source);
    EXPECT_LE(ReadFileBytes(dir.Native("cut.wav")).size(), cut);
    EXPECT_EQ(FolderNames(dir.Native()), (std::vector<std::string>{"cut.wav", "source.wav", "whole.wav"}));
  }
}

TEST(InterruptedWrites, ChunkRewriteToAFullDiskKeepsTheSource) {
  TempDir dir;
  const Bytes source = SourceFile();
  const std::string sourcePath = Store(dir, "source.wav", source);
  NyWavFile wav;
  ASSERT_TRUE(wav.Open(lu::Path(dir.Wide("source.wav")), false));
  lu::File full;
  ASSERT_EQ(full.Open(lu::Path(L"/dev/full"), NyOpenModeWrite, 0), NYRESULT_SUCCESS);
  EXPECT_FALSE(Rewrite(wav, full));
  wav.Close();
  EXPECT_EQ(ReadFileBytes(sourcePath), source);
  EXPECT_EQ(FolderNames(dir.Native()), (std::vector<std::string>{"source.wav"}));
}

// The in-place updates rewrite fields of the file they read; when no write gets through, each
// reports the failure and the file keeps every byte.
TEST(InterruptedWrites, InPlaceUpdatesThatCannotWriteChangeNothing) {
  struct Update {
    const char* name;
    std::function<bool(const lu::File&)> run;  // true when the update reports success
  };
  const auto chunk = [](auto& c, const lu::File& file, NyRiffChunk& riff) { return riff.Init(file, nullptr) && c.Init(file, &riff); };
  const Update updates[] = {
      {"cue positions",
       [&](const lu::File& f) {
         NyRiffChunk riff;
         NyCueChunk cue;
         return chunk(cue, f, riff) && cue.UpdateCueInfo(2.0, 100000, false) == NyFormatChunkBase::ErrorCode_Success;
       }},
      {"loop points",
       [&](const lu::File& f) {
         NyRiffChunk riff;
         NySmplChunk smpl;
         return chunk(smpl, f, riff) && smpl.UpdateLoopInfo(0.5, 100000, false) == NyFormatChunkBase::ErrorCode_Success;
       }},
      {"format",
       [&](const lu::File& f) {
         NyRiffChunk riff;
         NyFmtChunk fmt;
         if (!chunk(fmt, f, riff)) return false;
         WaveFormatExtensible format = fmt.GetFormat();
         format.nSamplesPerSec = 22050;
         return fmt.UpdateFormatInfo(format, false) == NyFormatChunkBase::ErrorCode_Success;
       }},
      {"data size",
       [&](const lu::File& f) {
         NyRiffChunk riff;
         NyDataChunk data;
         return chunk(data, f, riff) && data.UpdateChunkSize(8, false) == NyFormatChunkBase::ErrorCode_Success;
       }},
      {"riff size",
       [&](const lu::File& f) {
         NyRiffChunk riff;
         return riff.Init(f, nullptr) && riff.UpdateRiffChunkSize(f, false) == NyFormatChunkBase::ErrorCode_Success;
       }},
  };
  Bytes source = SourceFile();
  SetU32(source, 4, 12345);  // a RIFF size the size patch would change
  for (const Update& u : updates) {
    SCOPED_TRACE(u.name);
    TempDir dir;
    const std::string path = Store(dir, "file.wav", source);
    {
      // Unhindered, the update changes the file: the check below is not vacuous.
      lu::File file = OpenInPlace(path);
      ASSERT_TRUE(u.run(file));
      ASSERT_EQ(file.Close(), NYRESULT_SUCCESS);
      ASSERT_NE(ReadFileBytes(path), source);
      WriteFileBytes(path, source);
    }
    {
      lu::File file = OpenInPlace(path);
      FileSizeLimit limit(0);
      ASSERT_TRUE(limit.IsSet());
      const bool updated = u.run(file);
      const bool closed = file.Close() == NYRESULT_SUCCESS;
      EXPECT_FALSE(updated && closed);
    }
    EXPECT_EQ(ReadFileBytes(path), source);
    EXPECT_EQ(FolderNames(dir.Native()), (std::vector<std::string>{"file.wav"}));
  }
}
