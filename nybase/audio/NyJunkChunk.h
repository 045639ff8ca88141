// NyJunkChunk: a "junk" filler written so that the next chunk's payload starts aligned.
#pragma once

#include <nybase/audio/NyFormatChunkBase.h>

class NyJunkChunk : public NyFormatChunkBase {
 public:
  // `alignment` in bytes; 0 means no alignment is ever needed.
  explicit NyJunkChunk(unsigned int alignment);

  // Always true: the chunk is present whatever the file holds, with size 0 until written.
  bool Init(const lu::File& file, NyFormatChunkBase* previous) override;
  uint32_t GetChunkID() override;
  // At the current position of `file`: writes nothing when the next payload will already be
  // aligned, otherwise a header and as many zero bytes as make the next chunk's payload start on
  // a multiple of the alignment (0 to alignment - 1, no pad). Failure when not valid or a write
  // fails.
  ErrorCode WriteToFile(const lu::File& file, bool swap) override;

  unsigned int GetAlignment() const { return m_alignment; }

 protected:
  // Sets the size for a chunk written at `offset`; false when no chunk is needed there.
  virtual bool ComputeJunkSize(long long offset);

 private:
  uint32_t m_alignment;
};
