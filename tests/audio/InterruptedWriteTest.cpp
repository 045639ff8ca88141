// Interrupted writes: every path that writes WAV data, cut short by a full disk or by a file size
// limit at several points, reports the failure, leaves the source file byte-identical and leaves
// no file behind in its folder that the caller did not create.
#include <unistd.h>

#include <gtest/gtest.h>

#include <cwchar>
#include <functional>
#include <string>
#include <vector>

#include <nybase/audio/NyWavFileWriter.h>
#include <nybase/platform/NativePath.h>

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
  for (const size_t cut : {size_t(0), size_t(12), size_t(200), fullSize / 2, fullSize - 1}) {
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

// The in-place updates rewrite fields of the file they read; when no write gets through, each
// reports the failure and the file keeps every byte.
TEST(InterruptedWrites, InPlaceUpdatesThatCannotWriteChangeNothing) {
  struct Update {
    const char* name;
    std::function<bool(const lu::File&, NyRiffChunk&)> run;  // true when the update reports success
  };
  const auto ok = [](NyFormatChunkBase::ErrorCode e) { return e == NyFormatChunkBase::ErrorCode_Success; };
  const Update updates[] = {
      {"cue positions", [&](const lu::File& f, NyRiffChunk& riff) {
         NyCueChunk c;
         return c.Init(f, &riff) && ok(c.UpdateCueInfo(2.0, 100000, false));
       }},
      {"loop points", [&](const lu::File& f, NyRiffChunk& riff) {
         NySmplChunk c;
         return c.Init(f, &riff) && ok(c.UpdateLoopInfo(0.5, 100000, false));
       }},
      {"format", [&](const lu::File& f, NyRiffChunk& riff) {
         NyFmtChunk c;
         if (!c.Init(f, &riff)) return false;
         WaveFormatExtensible format = c.GetFormat();
         format.nSamplesPerSec = 22050;
         return ok(c.UpdateFormatInfo(format, false));
       }},
      {"data size", [&](const lu::File& f, NyRiffChunk& riff) {
         NyDataChunk c;
         return c.Init(f, &riff) && ok(c.UpdateChunkSize(8, false));
       }},
      {"riff size", [&](const lu::File& f, NyRiffChunk& riff) { return ok(riff.UpdateRiffChunkSize(f, false)); }},
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
      NyRiffChunk riff;
      ASSERT_TRUE(riff.Init(file, nullptr) && u.run(file, riff));
      ASSERT_EQ(file.Close(), NYRESULT_SUCCESS);
      ASSERT_NE(ReadFileBytes(path), source);
      WriteFileBytes(path, source);
    }
    {
      lu::File file = OpenInPlace(path);
      NyRiffChunk riff;
      ASSERT_TRUE(riff.Init(file, nullptr));
      FileSizeLimit limit(0);
      ASSERT_TRUE(limit.IsSet());
      const bool updated = u.run(file, riff);
      const bool closed = file.Close() == NYRESULT_SUCCESS;
      EXPECT_FALSE(updated && closed);
    }
    EXPECT_EQ(ReadFileBytes(path), source);
    EXPECT_EQ(FolderNames(dir.Native()), (std::vector<std::string>{"file.wav"}));
  }
}

// The writer's safe path: a temporary file beside the target, moved over it only when every step
// succeeded. Cut short anywhere, some step says so, the target keeps every byte, and removing the
// temporary the writer named leaves the folder as it was.
TEST(InterruptedWrites, WriterThroughATemporaryFileCutShortAnywhereKeepsTheTarget) {
  WAVEFORMATEXTENSIBLE format{};
  format.Format = {WAVE_FORMAT_EXTENSIBLE, 2, 48000, 48000 * 4, 4, 16, 22};
  format.Samples.wValidBitsPerSample = 16;
  format.dwChannelMask = 0x3;
  format.SubFormat = KSDATAFORMAT_SUBTYPE_PCM;
  std::vector<short> samples(2 * 6000);
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = short(i * 37);
  char label[] = "marker";
  const std::vector<NY_WAVE_MARKER> markers = {{1, 100, sizeof(label), label}, {2, 5000, 0, nullptr}};

  // Every step of one write; true only when all succeeded. `tempPath` names the file made.
  const auto write = [&](const TempDir& dir, lu::Path& tempPath) {
    NyWavFileWriter writer;
    bool ok = writer.OpenTempFile(lu::Path(dir.Wide()), tempPath, false);
    writer.SetFormat(format);
    writer.SetMarkers(markers);
    writer.SetLoopPoints(10, 4000);
    ok = writer.WriteChunks(ChunkFlag_Cue | ChunkFlag_List | ChunkFlag_Smpl) && ok;
    for (size_t at = 0; at < samples.size(); at += 2 * 1000) {
      ok = writer.WriteInt16AsPCMData(1000, samples.data() + at) && ok;
    }
    return writer.Close() && ok;
  };
  const auto native = [](const lu::Path& path) {
    std::string out;
    EXPECT_TRUE(lu::platform::ToNativePath(path.c_str(), std::wcslen(path.c_str()), out));
    return out;
  };
  const Bytes target = SourceFile();

  size_t fullSize = 0;
  {
    TempDir dir;
    lu::Path temp;
    ASSERT_TRUE(write(dir, temp));
    fullSize = ReadFileBytes(native(temp)).size();
    ASSERT_GT(fullSize, samples.size() * 2);
  }
  for (const size_t cut : {size_t(0), size_t(12), size_t(60), size_t(300), fullSize / 2, fullSize - 1}) {
    SCOPED_TRACE("writes stop at byte " + std::to_string(cut));
    TempDir dir;
    const std::string targetPath = Store(dir, "target.wav", target);
    lu::Path temp;
    bool written = true;
    {
      FileSizeLimit limit(cut);
      ASSERT_TRUE(limit.IsSet());
      written = write(dir, temp);
    }
    EXPECT_FALSE(written);
    EXPECT_EQ(ReadFileBytes(targetPath), target);
    const std::string tempPath = native(temp);
    ASSERT_FALSE(tempPath.empty());
    EXPECT_EQ(FolderNames(dir.Native()).size(), 2u);
    EXPECT_EQ(::unlink(tempPath.c_str()), 0);
    EXPECT_EQ(FolderNames(dir.Native()), std::vector<std::string>{"target.wav"});
  }
}
