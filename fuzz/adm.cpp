// Fuzz target: ADM metadata from arbitrary axml text and chna records, both straight into NyADM and as
// the chunks of a six-channel BW64 file read through the WAV reader with the ADM channel route.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <nybase/audio/NyADM.h>
#include <nybase/audio/NyWavFileReader.h>
#include <nybase/platform/NativePath.h>

namespace {

using Bytes = std::vector<uint8_t>;

void PutU16(Bytes& out, uint16_t v) {
  out.push_back(uint8_t(v));
  out.push_back(uint8_t(v >> 8));
}

void PutU32(Bytes& out, uint32_t v) {
  PutU16(out, uint16_t(v));
  PutU16(out, uint16_t(v >> 16));
}

void PutChunk(Bytes& out, const char* id, const uint8_t* payload, size_t size) {
  out.insert(out.end(), id, id + 4);
  PutU32(out, uint32_t(size));
  out.insert(out.end(), payload, payload + size);
  if (size & 1) out.push_back(0);
}

// Everything a caller may ask of an ADM; the answers only have to stay within their inputs.
void Exercise(const NyADM& adm) {
  std::vector<unsigned char> targets;
  for (unsigned char channels : {0, 2, 6, 16, 255}) {
    adm.GetChannelTargets(targets, channels);
    if (targets.size() != channels) __builtin_trap();
  }
  NyDM dm;
  std::vector<NyDMObject> objects;
  std::vector<NyDMPos> positions;
  std::vector<char> names;
  adm.ToNyDM(dm, objects, positions, names);
  if (objects.size() != adm.GetObjects().size() || positions.size() != dm.numPositions) __builtin_trap();
  for (const NyDMObject& o : objects) {
    if (size_t(o.firstPosition) + o.numPositions > positions.size()) __builtin_trap();
  }
}

}  // namespace

// Input: a mode byte, then 40-byte chna records, then the axml text. Mode bits 0-2 are the number
// of records (cut to what the input holds), bit 7 puts chna before axml, bit 6 the samples before
// both, bit 5 makes the file RIFF instead of BW64, bit 4 adds a remainder byte to the chna chunk.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const uint8_t mode = data[0];
  const size_t records = std::min<size_t>(mode & 7, (size - 1) / sizeof(CHNA_AUDIOID));
  const bool chnaFirst = (mode & 0x80) != 0;
  Bytes chna;
  PutU16(chna, uint16_t(records));
  PutU16(chna, uint16_t(records));
  chna.insert(chna.end(), data + 1, data + 1 + records * sizeof(CHNA_AUDIOID));
  if (mode & 0x10) chna.push_back(0x7F);
  const uint8_t* axml = data + 1 + records * sizeof(CHNA_AUDIOID);
  const size_t axmlSize = size - 1 - records * sizeof(CHNA_AUDIOID);

  // Straight in: the text up to a NUL, and the whole records.
  {
    NyADM adm;
    const std::string text(reinterpret_cast<const char*>(axml), axmlSize);
    std::vector<CHNA_AUDIOID> ids(records);
    if (records != 0) std::memcpy(ids.data(), chna.data() + 4, records * sizeof(CHNA_AUDIOID));
    CHNA counts{uint16_t(records), uint16_t(records)};
    if (chnaFirst) adm.FromCHNA(&counts, ids.data(), unsigned(records));
    adm.FromAXML(text.c_str());
    if (!chnaFirst) adm.FromCHNA(&counts, ids.data(), unsigned(records));
    Exercise(adm);
  }

  // As a file: fmt, then axml, chna and the samples in the order the mode picks.
  Bytes body;
  const char* magic = (mode & 0x20) ? "RIFF" : "BW64";
  Bytes fmt;
  PutU16(fmt, 1);
  PutU16(fmt, 6);
  PutU32(fmt, 48000);
  PutU32(fmt, 48000 * 12);
  PutU16(fmt, 12);
  PutU16(fmt, 16);
  PutChunk(body, "fmt ", fmt.data(), fmt.size());
  Bytes samples;
  for (int i = 0; i < 6 * 8; ++i) PutU16(samples, uint16_t(i * 977));
  if (mode & 0x40) PutChunk(body, "data", samples.data(), samples.size());
  if (chnaFirst) PutChunk(body, "chna", chna.data(), chna.size());
  PutChunk(body, "axml", axml, axmlSize);
  if (!chnaFirst) PutChunk(body, "chna", chna.data(), chna.size());
  if (!(mode & 0x40)) PutChunk(body, "data", samples.data(), samples.size());
  Bytes file(magic, magic + 4);
  PutU32(file, uint32_t(body.size() + 4));
  file.insert(file.end(), {'W', 'A', 'V', 'E'});
  file.insert(file.end(), body.begin(), body.end());

  char name[] = "/tmp/nybase-fuzz-adm-XXXXXX.wav";
  const int fd = ::mkstemps(name, 4);
  if (fd < 0) return 0;
  size_t written = 0;
  while (written < file.size()) {
    const ssize_t w = ::write(fd, file.data() + written, file.size() - written);
    if (w <= 0) break;
    written += size_t(w);
  }
  ::close(fd);
  {
    NyWavFileReader reader;
    if (reader.Open(lu::Path(lu::platform::FromNativePath(name)))) {
      reader.ReadChunks(~0u);
      if (reader.GetADM() != nullptr) Exercise(*reader.GetADM());
      if ((reader.ChunksRead() & ChunkFlag_Data) && reader.GetFormat().nBlockAlign != 0) {
        float out[6 * 8];
        for (bool interleaved : {true, false}) {
          reader.SeekToAudioFrame(0);
          reader.ReadPCMDataAsFloat32(8, reader.GetFormat().channelConfig, NY::ChannelOrdering_Native, out,
                                      interleaved);
        }
      }
    }
  }
  ::unlink(name);
  return 0;
}
