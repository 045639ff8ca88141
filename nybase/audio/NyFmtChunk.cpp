// The fmt chunk: the accepted forms, the private 24-byte image, and the in-place format update.
#include <nybase/audio/NyFmtChunk.h>

#include <algorithm>
#include <cstring>

#include <nybase/audio/WavByteSwapHelpers.h>

#include "internal/WaveFormatRules.h"

namespace {

// The first 16 bytes of the format, as a published WAVEFORMATEX without cbSize.
constexpr unsigned int k_basicFormatSize = 16;

bool ConfigStands(NyChannelConfig config) {
  if (config.GetType() > NyChannelConfigType_Objects) return false;
  return config.GetNumChannels() != 0 || config.GetType() == NyChannelConfigType_Objects;
}

}  // namespace

bool NyFmtChunk::Init(const lu::File& file, NyFormatChunkBase* previous) {
  if (!NyFormatChunkBase::Init(file, previous)) return false;
  // Deliberately, every false return from here on leaves the valid flag set by the scan.
  if (m_header.ckSize < k_basicFormatSize) return false;
  WAVEFORMATEXTENSIBLE image;
  std::memset(&image, 0, sizeof(image));
  image.Format.wFormatTag = WAVE_FORMAT_PCM;
  const unsigned int wanted = std::min<unsigned int>(m_header.ckSize, sizeof(image));
  if (ReadData(&image, wanted, 0) != wanted) return false;
  if (m_swap) WavByteSwapHelpers::Convert(image);

  m_hasUnspecifiedChannelMask = false;
  const uint16_t tag = image.Format.wFormatTag;
  if (tag == WAVE_FORMAT_EXTENSIBLE && wanted == sizeof(WaveFormatExtensible)) {
    // The private form: stored as it stands, but its configuration must agree with nChannels.
    WaveFormatExtensible format;
    std::memcpy(static_cast<void*>(&format), &image, sizeof(format));
    const NyChannelConfig config = format.channelConfig;
    if (!ConfigStands(config) || config.GetNumChannels() != format.nChannels) return false;
    format.cbSize = 6;
    m_format = format;
    return true;
  }
  const uint32_t maskAsRead = image.dwChannelMask;
  if (tag == WAVE_FORMAT_PCM || tag == WAVE_FORMAT_IEEE_FLOAT) {
    image.dwChannelMask = nybase::audio::detail::DefaultChannelMask(image.Format.nChannels);
    image.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
    image.Samples.wValidBitsPerSample = 0;
    // Deliberately PCM for the float tag too: this path keeps no sample type of its own.
    image.SubFormat = KSDATAFORMAT_SUBTYPE_PCM;
  }
  const NyChannelConfig config = nybase::audio::detail::ChannelConfigFromFormat(image);
  if (!ConfigStands(config)) return false;
  const uint16_t channelsAsRead = image.Format.nChannels;
  image.Format.nChannels = static_cast<uint16_t>(config.GetNumChannels());
  const uint16_t minimumAlign =
      static_cast<uint16_t>((config.GetNumChannels() * image.Format.wBitsPerSample) >> 3);
  if (image.Format.nBlockAlign < minimumAlign) image.Format.nBlockAlign = minimumAlign;
  if (image.Format.nBlockAlign == 0) return false;
  if (channelsAsRead > 2 && maskAsRead == 0 && config.GetChannelMask() != 0) {
    m_hasUnspecifiedChannelMask = true;
  }
  WaveFormatExtensible format;
  std::memcpy(static_cast<void*>(&format), &image.Format, sizeof(tWAVEFORMATEX));
  format.cbSize = 6;
  format.wValidBitsPerSample = image.Samples.wValidBitsPerSample;
  format.channelConfig = config;
  m_format = format;
  return true;
}

uint32_t NyFmtChunk::GetChunkID() { return k_fccFmt; }

NyFormatChunkBase::ErrorCode NyFmtChunk::WriteImage(const lu::File& file, bool swap, unsigned int size,
                                                    const void* image) {
  RIFFHEADER header{k_fccFmt, size};
  if (swap) WavByteSwapHelpers::Convert(header);
  if (!file.WriteExact(&header, sizeof(header))) return ErrorCode_Failure;
  return WriteAll(file, image, size) ? ErrorCode_Success : PayloadWriteError();
}

NyFormatChunkBase::ErrorCode NyFmtChunk::WriteToFile(const lu::File& file, bool swap) {
  WaveFormatExtensible image = m_format;
  if (swap) WavByteSwapHelpers::Convert(image);
  return WriteImage(file, swap, sizeof(image), &image);
}

NyFormatChunkBase::ErrorCode NyFmtChunk::WriteToFileNotExtensible(const lu::File& file, bool swap) {
  tWAVEFORMATEX image;
  std::memcpy(&image, static_cast<const void*>(&m_format), sizeof(image));
  // Deliberately PCM even for a float format: the short form is for readers that know only PCM.
  image.wFormatTag = WAVE_FORMAT_PCM;
  if (swap) WavByteSwapHelpers::Convert(image);
  return WriteImage(file, swap, k_basicFormatSize, &image);
}

NyFormatChunkBase::ErrorCode NyFmtChunk::UpdateFormatInfo(WaveFormatExtensible& format, bool swap) {
  if (!m_valid || m_pFile == nullptr || m_dataOffset < 8) return ErrorCode_Failure;
  m_format = format;
  const int64_t position = OwnFilePosition();
  // Deliberately unchecked against the chunk's length: a longer chunk keeps its tail.
  if (position < 0 || !SeekOwnFile(int64_t{m_dataOffset} - 8)) return ErrorCode_Failure;
  ErrorCode result = WriteToFile(*m_pFile, swap);
  // The bytes sit in the stream's buffer until flushed: a write the disk refuses is reported here
  // rather than lost unseen later.
  if (result == ErrorCode_Success && !m_pFile->Flush()) result = PayloadWriteError();
  SeekOwnFile(position);
  return result;
}

bool NyFmtChunk::GetFormatInfo(WaveFormatExtensible* format) const {
  if (m_valid && format != nullptr) *format = m_format;
  return m_valid;
}

void NyFmtChunk::SetFormatInfo(const WaveFormatExtensible* format) {
  if (format != nullptr) m_format = format[0];
}
