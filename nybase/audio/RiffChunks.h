// RIFF byte layouts: the chunk header, cue, sampler and ds64 records, four-character codes and the
// chunk flags reported by the readers and used by the writers.
#pragma once

#include <cstdint>

// A four-character code as one little-endian 32-bit word whose bytes are the letters in file order.
constexpr uint32_t NyFourCC(const char (&id)[5]) {
  return uint32_t(uint8_t(id[0])) | (uint32_t(uint8_t(id[1])) << 8) |
         (uint32_t(uint8_t(id[2])) << 16) | (uint32_t(uint8_t(id[3])) << 24);
}

inline constexpr uint32_t k_fccRIFF = NyFourCC("RIFF");
inline constexpr uint32_t k_fccRIFX = NyFourCC("RIFX");
inline constexpr uint32_t k_fccRF64 = NyFourCC("RF64");
inline constexpr uint32_t k_fccBW64 = NyFourCC("BW64");
inline constexpr uint32_t k_fccWAVE = NyFourCC("WAVE");
inline constexpr uint32_t k_fccFmt = NyFourCC("fmt ");
inline constexpr uint32_t k_fccData = NyFourCC("data");
inline constexpr uint32_t k_fccDs64 = NyFourCC("ds64");
inline constexpr uint32_t k_fccList = NyFourCC("LIST");
inline constexpr uint32_t k_fccAdtl = NyFourCC("adtl");
inline constexpr uint32_t k_fccLabl = NyFourCC("labl");
inline constexpr uint32_t k_fccCue = NyFourCC("cue ");
inline constexpr uint32_t k_fccSmpl = NyFourCC("smpl");
inline constexpr uint32_t k_fccHash = NyFourCC("hash");
inline constexpr uint32_t k_fccAxml = NyFourCC("axml");
inline constexpr uint32_t k_fccChna = NyFourCC("chna");
inline constexpr uint32_t k_fccJunk = NyFourCC("junk");
inline constexpr uint32_t k_fccNydm = NyFourCC("nydm");

// The 8-byte chunk header; the size excludes the header and the pad byte of an odd size.
struct RIFFHEADER {
  uint32_t ckID;
  uint32_t ckSize;
};
static_assert(sizeof(RIFFHEADER) == 8, "RIFF chunk header is 8 bytes");
using NyChunkHeader = RIFFHEADER;
namespace NY::Velmoor::Plugin {
using RiffHeader = ::RIFFHEADER;
}

// One record of a "cue " chunk (after its 32-bit count).
struct WAV_CUE {
  uint32_t dwIdentifier;
  uint32_t dwPosition;  // the position the library reads and writes, in sample frames
  uint32_t fccChunk;
  uint32_t dwChunkStart;
  uint32_t dwBlockStart;
  uint32_t dwSampleOffset;
};
static_assert(sizeof(WAV_CUE) == 24, "cue record is 24 bytes");

// The fixed head of a "smpl" chunk; SAMPLER_LOOP records follow it.
struct SAMPLER {
  uint32_t dwManufacturer;
  uint32_t dwProduct;
  uint32_t dwSamplePeriod;
  uint32_t dwMIDIUnityNote;
  uint32_t dwMIDIPitchFraction;
  uint32_t dwSMPTEFormat;
  uint32_t dwSMPTEOffset;
  uint32_t cSampleLoops;
  uint32_t cbSamplerData;
};
static_assert(sizeof(SAMPLER) == 36, "sampler head is 36 bytes");

struct SAMPLER_LOOP {
  uint32_t dwIdentifier;
  uint32_t dwType;
  uint32_t dwStart;
  uint32_t dwEnd;
  uint32_t dwFraction;
  uint32_t dwPlayCount;
};
static_assert(sizeof(SAMPLER_LOOP) == 24, "sampler loop is 24 bytes");

#pragma pack(push, 1)
// The fixed 28 bytes of a "ds64" chunk; a table of chunk sizes may follow and is skipped.
struct DS64_CHUNK {
  uint64_t riffSize;
  uint64_t dataSize;
  uint64_t sampleCount;
  uint32_t tableLength;
};
#pragma pack(pop)
static_assert(sizeof(DS64_CHUNK) == 28, "ds64 head is 28 bytes");

// Flags of the chunks a reader saw (ChunksRead) or should read (ReadChunks). Bits not named here
// are free for what a reader subclass reports through ReadOptionalChunk.
enum NyChunkFlags : unsigned int {
  ChunkFlag_Fmt = 0x1,
  ChunkFlag_Data = 0x2,
  ChunkFlag_Smpl = 0x4,
  ChunkFlag_Cue = 0x8,
  ChunkFlag_List = 0x10,
  ChunkFlag_Hash = 0x80,
  ChunkFlag_Junk = 0x100,
  ChunkFlag_Chna = 0x200,
  ChunkFlag_Axml = 0x400,
  ChunkFlag_Nydm = 0x800,
};
namespace NY {
using ::NyChunkFlags;
using enum ::NyChunkFlags;
}  // namespace NY
