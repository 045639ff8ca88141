// Fuzz target: the WAV reader on arbitrary bytes: open, walk every chunk, call every accessor and
// read the samples in every form, with and without a decipher, never reading out of bounds.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <nybase/audio/NyWavFileReader.h>
#include <nybase/platform/NativePath.h>

namespace {

// XOR with a 16-byte block: enough to drive the block-aligned raw read.
class XorDecipher : public IDataDecipher {
 public:
  bool SetupFromHeader(const void* header) const override {
    return static_cast<const uint8_t*>(header)[0] == 'X';
  }
  unsigned int GetBlockSize() const override { return 16; }
  void DecryptBlock(const void* source, void* destination) const override {
    for (int i = 0; i < 16; ++i) {
      static_cast<uint8_t*>(destination)[i] = static_cast<const uint8_t*>(source)[i] ^ 0x5A;
    }
  }
};

void Exercise(NyWavFileReader& reader, unsigned int flags, bool chunksOnly) {
  if (chunksOnly) {
    reader.ReadChunksOnly(flags);
  } else {
    reader.ReadChunks(flags);
  }
  const WaveFormatExtensible& format = reader.GetFormat();
  volatile double sink = reader.GetDuration() + reader.GetLoopStart() + reader.GetLoopEnd();
  (void)sink;
  (void)reader.ChunksRead();
  (void)reader.GetDataTypeID();
  (void)reader.GetChannelOrdering();
  (void)reader.GetDataSize();
  (void)reader.GetADM();
  (void)reader.GetLoopStartFrame();
  (void)reader.GetLoopEndFrame();
  (void)reader.GetNumChannels();
  (void)reader.GetDataOffset();
  (void)reader.IsEncrypted();
  uint8_t hash[16];
  (void)reader.GetHash(hash, sizeof(hash));
  size_t labelBytes = 0;
  for (const NY_WAVE_MARKER& m : reader.GetMarkers()) {
    for (uint32_t i = 0; i < m.dwLabelSize && m.strLabel; ++i) labelBytes += uint8_t(m.strLabel[i]);
  }
  (void)labelBytes;
  if (!(reader.ChunksRead() & ChunkFlag_Data) || format.nBlockAlign == 0) return;

  // Every sample form, bounded by a small request whatever the file claims.
  constexpr unsigned int k_frames = 64;
  const unsigned int n = format.channelConfig.GetNumChannels();
  std::vector<float> floats(size_t(k_frames) * (n ? n : 1));
  std::vector<short> shorts(size_t(k_frames) * (format.nChannels ? format.nChannels : 1));
  const NY::NyChannelOrdering orderings[] = {NY::ChannelOrdering_Native,
                                             NY::ChannelOrdering_Pipeline, NY::ChannelOrdering_FuMa};
  for (unsigned int frame : {0u, 1u, reader.GetNumFrames() ? reader.GetNumFrames() - 1 : 0u}) {
    reader.SeekToAudioFrame(frame);
    reader.ReadPCMDataAsFloat32(k_frames, floats.data());
    for (NY::NyChannelOrdering ordering : orderings) {
      for (bool interleaved : {true, false}) {
        reader.SeekToAudioFrame(frame);
        reader.ReadPCMDataAsFloat32(k_frames, format.channelConfig, ordering, floats.data(),
                                    interleaved);
      }
    }
    reader.SeekToAudioFrame(frame);
    reader.ReadPCMDataAsInt16(k_frames, shorts.data());
    unsigned char* data = nullptr;
    unsigned int bytes = 0;
    reader.ReadDataFromFile(frame + 3, 37, data, bytes);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  char name[] = "/tmp/nybase-fuzz-wav-XXXXXX.wav";
  const int fd = ::mkstemps(name, 4);
  if (fd < 0) return 0;
  size_t written = 0;
  while (written < size) {
    const ssize_t w = ::write(fd, data + written, size - written);
    if (w <= 0) break;
    written += size_t(w);
  }
  ::close(fd);
  const lu::Path path(lu::platform::FromNativePath(name));
  static const XorDecipher decipher;
  for (const IDataDecipher* d : {static_cast<const IDataDecipher*>(nullptr),
                                 static_cast<const IDataDecipher*>(&decipher)}) {
    std::unique_ptr<NyAudioFileReader> reader(NyAudioFileReader::Create(path, d));
    if (reader) Exercise(static_cast<NyWavFileReader&>(*reader), ~0u, false);
  }
  NyWavFileReader selecting;
  if (selecting.Open(path)) Exercise(selecting, ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Cue, true);
  ::unlink(name);
  return 0;
}
