// Fuzz target: the chunk classes on arbitrary bytes: open, edit, rewrite into a temporary file in
// both byte orders, and apply every in-place update to a temporary copy of the input.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include <nybase/audio/NyWavFile.h>
#include <nybase/platform/NativePath.h>

namespace {

std::string WriteTemp(const uint8_t* data, size_t size) {
  char name[] = "/tmp/nybase-fuzz-chunks-XXXXXX.wav";
  const int fd = ::mkstemps(name, 4);
  if (fd < 0) return {};
  size_t written = 0;
  while (written < size) {
    const ssize_t w = ::write(fd, data + written, size - written);
    if (w <= 0) break;
    written += size_t(w);
  }
  ::close(fd);
  return name;
}

lu::Path ToPath(const std::string& native) { return lu::Path(lu::platform::FromNativePath(native)); }

void Rewrite(NyWavFile& wav, const std::string& target, bool swap) {
  lu::File out;
  if (out.Open(ToPath(target), NyOpenModeWriteOverwrite, 0) != NYRESULT_SUCCESS) return;
  wav.WriteRiffChunk(out, swap);
  wav.WriteFormatChunk(out, swap);
  wav.WriteFormatChunkNotExtensible(out, swap);
  wav.WriteHashChunk(out, swap);
  wav.WriteCueChunk(out, swap);
  wav.WriteListChunk(out, swap);
  wav.WriteSmplChunk(out, swap);
  wav.WriteADMChunk(out, swap);
  wav.WriteJunkChunk(out, swap);
  wav.WriteDataChunk(out, swap);
  wav.UpdateRiffChunkSize(out, swap);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string source = WriteTemp(data, size);
  if (source.empty()) return 0;
  const std::string target = source + ".out";
  {
    NyWavFile wav;
    if (wav.Open(ToPath(source), false)) {
      volatile double sink = wav.GetFileDurationInSeconds() + wav.GetFileDurationInFrames() + wav.GetFileHeaderSize();
      (void)sink;
      NyCueChunk& cues = wav.GetCueChunk();
      cues.AddCue(size > 0 ? data[0] : 0);
      wav.SortCueChunk();
      cues.TrimCues(1, 1000000, [](unsigned int) {});
      wav.GetListChunk().AddLabel(1, "fuzz", 4);
      wav.GetSmplChunk().ForceInitLoop(wav.GetFile(), &wav.GetRiffChunk(), 1, 2);
      Rewrite(wav, target, false);
      Rewrite(wav, target, true);
    }
    NyWavFile formatOnly;
    formatOnly.Open(ToPath(source), true);
  }
  // The in-place updates, on the copy of the input: the chunks read the file they rewrite.
  if (FILE* stream = std::fopen(source.c_str(), "r+b")) {
    lu::File file = lu::File::CreateOwner(stream);
    NyRiffChunk riff;
    if (riff.Init(file, nullptr)) {
      NyFmtChunk fmt;
      NyCueChunk cue;
      NySmplChunk smpl;
      NyDataChunk dataChunk;
      if (fmt.Init(file, &riff)) {
        WaveFormatExtensible format = fmt.GetFormat();
        fmt.UpdateFormatInfo(format, false);
      }
      if (cue.Init(file, &riff)) cue.UpdateCueInfo(0.5, 1000, false);
      if (smpl.Init(file, &riff)) smpl.UpdateLoopInfo(2.0, 1000, true);
      if (dataChunk.Init(file, &riff)) dataChunk.UpdateChunkSize(dataChunk.GetChunkSize(), false);
      riff.UpdateRiffChunkSize(file, false);
    }
  }
  ::unlink(target.c_str());
  ::unlink(source.c_str());
  return 0;
}
