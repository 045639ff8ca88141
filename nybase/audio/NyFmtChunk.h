// NyFmtChunk: the "fmt " chunk, kept as the library's 24-byte WaveFormatExtensible.
#pragma once

#include <nybase/audio/NyFormatChunkBase.h>
#include <nybase/audio/WaveFormat.h>

class NyFmtChunk : public NyFormatChunkBase {
 public:
  // Finds "fmt " and reads it into the in-memory format (PCM and float tags become extensible with
  // the default mask for their channel count). False for a chunk below 16 bytes, a truncated
  // chunk, or a channel configuration that cannot stand (unknown type, no channels, a private
  // form whose count disagrees with nChannels, a block align of 0).
  bool Init(const lu::File& file, NyFormatChunkBase* previous) override;
  uint32_t GetChunkID() override;
  // Writes a 24-byte "fmt " chunk: the private extensible form holding the in-memory format.
  // Failure when the header write fails; a failed payload write is disk full or failure.
  ErrorCode WriteToFile(const lu::File& file, bool swap) override;
  // Writes a 16-byte "fmt " chunk: the first 16 bytes with the tag forced to PCM (1).
  virtual ErrorCode WriteToFileNotExtensible(const lu::File& file, bool swap);
  // Stores `format` and rewrites the chunk where it lies in its own file as a 24-byte chunk, then
  // restores the file position. Failure when not valid or the seek fails; else the write's code.
  virtual ErrorCode UpdateFormatInfo(WaveFormatExtensible& format, bool swap);

  // The in-memory format.
  const WaveFormatExtensible& GetFormat() const { return m_format; }
  // Copies the format into `format` when valid; returns the valid flag.
  bool GetFormatInfo(WaveFormatExtensible* format) const;
  // Replaces the in-memory format (a null pointer is ignored).
  void SetFormatInfo(const WaveFormatExtensible* format);
  // True when a file of more than two channels gave no channel mask and a default was assumed.
  bool HasUnspecifiedChannelMask() const { return m_hasUnspecifiedChannelMask; }

 private:
  ErrorCode WriteImage(const lu::File& file, bool swap, unsigned int size, const void* image);

  WaveFormatExtensible m_format{};
  bool m_hasUnspecifiedChannelMask = false;
};
