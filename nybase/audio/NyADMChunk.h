// NyADMChunk: the private "nydm" chunk, carried as an opaque payload.
#pragma once

#include <nybase/audio/NyFormatChunkBase.h>

class NyADMChunk : public NyFormatChunkBase {
 public:
  NyADMChunk() = default;
  // Frees the payload.
  ~NyADMChunk() override;

  // Finds "nydm" and reads its whole payload; false when it is absent or cannot be read whole.
  bool Init(const lu::File& file, NyFormatChunkBase* previous) override;
  // Also frees the payload.
  void Reset() override;
  uint32_t GetChunkID() override;
  // Writes the header and the payload as read (no pad byte). Failure when not valid or the header
  // write fails; a failed payload write is disk full or failure.
  ErrorCode WriteToFile(const lu::File& file, bool swap) override;

  // The payload (GetChunkSize() bytes), null when not valid. Its layout is the compact ADM record
  // set the WAV writer produces; this class does not interpret it.
  const unsigned char* GetPayload() const { return m_valid ? m_pPayload : nullptr; }

 private:
  unsigned char* m_pPayload = nullptr;  // malloc block
};
