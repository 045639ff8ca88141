// The WAVE format records: the published WAVEFORMATEX/WAVEFORMATEXTENSIBLE and the library's 24-byte
// in-memory WaveFormatExtensible, plus the sub-format GUIDs the reader recognises.
#pragma once

#include <cstdint>

#include <nybase/base/NyChannelConfig.h>
#include <nybase/base/NyGuid.h>

inline constexpr uint16_t WAVE_FORMAT_PCM = 0x0001;
inline constexpr uint16_t WAVE_FORMAT_IEEE_FLOAT = 0x0003;
inline constexpr uint16_t WAVE_FORMAT_EXTENSIBLE = 0xFFFE;

#pragma pack(push, 1)
// The published 18-byte format header (the first 18 bytes of a fmt chunk).
struct tWAVEFORMATEX {
  uint16_t wFormatTag;
  uint16_t nChannels;
  uint32_t nSamplesPerSec;
  uint32_t nAvgBytesPerSec;
  uint16_t nBlockAlign;
  uint16_t wBitsPerSample;
  uint16_t cbSize;
};
using WAVEFORMATEX = tWAVEFORMATEX;

// The published 40-byte extensible format, the longest fmt image the reader uses.
struct WAVEFORMATEXTENSIBLE {
  tWAVEFORMATEX Format;
  union {
    uint16_t wValidBitsPerSample;
    uint16_t wSamplesPerBlock;
    uint16_t wReserved;
  } Samples;
  uint32_t dwChannelMask;
  NyGuid SubFormat;
};
#pragma pack(pop)
static_assert(sizeof(tWAVEFORMATEX) == 18, "WAVEFORMATEX is 18 bytes on disk");
static_assert(sizeof(WAVEFORMATEXTENSIBLE) == 40, "WAVEFORMATEXTENSIBLE is 40 bytes on disk");

// The format as the library keeps it: the 18-byte header (cbSize is always 6 after reading), the
// valid bits, and a packed channel configuration where the published form has its channel mask.
// No GUID: this is byte for byte the private 24-byte fmt form the library's writers store.
struct WaveFormatExtensible : tWAVEFORMATEX {
  uint16_t wValidBitsPerSample;
  NyChannelConfig channelConfig;
};
static_assert(sizeof(WaveFormatExtensible) == 24, "WaveFormatExtensible is the 24-byte fmt image");
static_assert(alignof(WaveFormatExtensible) == 4, "the channel configuration sits at offset 20");

// Sub-format GUIDs: integer PCM, IEEE float, and ambisonic B-format (PCM samples).
inline constexpr NyGuid KSDATAFORMAT_SUBTYPE_PCM = {
    0x00000001, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
inline constexpr NyGuid KSDATAFORMAT_SUBTYPE_IEEE_FLOAT = {
    0x00000003, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
inline constexpr NyGuid KSDATAFORMAT_SUBTYPE_AMBISONIC_B_FORMAT_PCM = {
    0x00000001, 0x0721, 0x11D3, {0x86, 0x44, 0xC8, 0xC1, 0xCA, 0x00, 0x00, 0x00}};
