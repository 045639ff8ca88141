// Byte-order conversion of the WAV records and of sample data.
#include <nybase/audio/WavByteSwapHelpers.h>

#include <cstring>
#include <utility>

namespace WavByteSwapHelpers {
namespace {

inline void Swap16(uint16_t& v) { v = __builtin_bswap16(v); }
inline void Swap32(uint32_t& v) { v = __builtin_bswap32(v); }

// The packed records are assigned field by field: no reference to a packed member is formed.
void SwapWaveFormatEx(tWAVEFORMATEX& f) {
  f.wFormatTag = __builtin_bswap16(f.wFormatTag);
  f.nChannels = __builtin_bswap16(f.nChannels);
  f.nSamplesPerSec = __builtin_bswap32(f.nSamplesPerSec);
  f.nAvgBytesPerSec = __builtin_bswap32(f.nAvgBytesPerSec);
  f.nBlockAlign = __builtin_bswap16(f.nBlockAlign);
  f.wBitsPerSample = __builtin_bswap16(f.wBitsPerSample);
  f.cbSize = __builtin_bswap16(f.cbSize);
}

void ConvertByWidth(unsigned char* data, unsigned int size, unsigned int bits, bool isSigned) {
  if (data == nullptr) return;
  switch (bits) {
    case 8:
      if (!isSigned) {
        for (unsigned int i = 0; i < size; ++i) data[i] = static_cast<unsigned char>(data[i] + 128);
      }
      break;
    case 16:
      for (unsigned int i = 0; i + 1 < size; i += 2) std::swap(data[i], data[i + 1]);
      break;
    case 32:
      for (unsigned int i = 0; i + 3 < size; i += 4) {
        uint32_t v;
        std::memcpy(&v, data + i, 4);
        v = __builtin_bswap32(v);
        std::memcpy(data + i, &v, 4);
      }
      break;
    default:
      break;
  }
}

}  // namespace

void Convert(RIFFHEADER& header) { Swap32(header.ckSize); }

void Convert(NyWAVStructs::IRMETADATA& metadata) {
  Swap32(metadata.dwFirst);
  Swap32(metadata.dwSecond);
}

void Convert(SAMPLER& s) {
  for (uint32_t* f : {&s.dwManufacturer, &s.dwProduct, &s.dwSamplePeriod, &s.dwMIDIUnityNote,
                      &s.dwMIDIPitchFraction, &s.dwSMPTEFormat, &s.dwSMPTEOffset, &s.cSampleLoops,
                      &s.cbSamplerData}) {
    Swap32(*f);
  }
}

void Convert(SAMPLER_LOOP& l) {
  for (uint32_t* f : {&l.dwIdentifier, &l.dwType, &l.dwStart, &l.dwEnd, &l.dwFraction, &l.dwPlayCount}) {
    Swap32(*f);
  }
}

void Convert(WAVEFORMATEXTENSIBLE& format) {
  SwapWaveFormatEx(format.Format);
  format.Samples.wValidBitsPerSample = __builtin_bswap16(format.Samples.wValidBitsPerSample);
  format.dwChannelMask = __builtin_bswap32(format.dwChannelMask);
}

void Convert(WaveFormatExtensible& format) {
  SwapWaveFormatEx(format);
  Swap16(format.wValidBitsPerSample);
  format.channelConfig = NyChannelConfig(__builtin_bswap32(format.channelConfig.Serialize()));
}

void Convert(WAV_CUE& cue) {
  for (uint32_t* f : {&cue.dwIdentifier, &cue.dwPosition, &cue.dwChunkStart, &cue.dwBlockStart,
                      &cue.dwSampleOffset}) {
    Swap32(*f);
  }
}

void Convert(tWAVEFORMATEX& format) { SwapWaveFormatEx(format); }

void ConvertData(unsigned char* data, unsigned int size, const WAVEFORMATEXTENSIBLE& format,
                 bool isSigned) {
  ConvertByWidth(data, size, format.Format.wBitsPerSample, isSigned);
}

void ConvertData(unsigned char* data, unsigned int size, const WaveFormatExtensible& format,
                 bool isSigned) {
  ConvertByWidth(data, size, format.wBitsPerSample, isSigned);
}

}  // namespace WavByteSwapHelpers
