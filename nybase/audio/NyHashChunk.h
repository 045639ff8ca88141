// NyHashChunk: the private "hash" chunk of 1 to 16 opaque bytes, copied from the source file.
#pragma once

#include <nybase/audio/NyFormatChunkBase.h>

class NyHashChunk : public NyFormatChunkBase {
 public:
  // Finds "hash"; true only for a payload of 1 to 16 bytes.
  bool Init(const lu::File& file, NyFormatChunkBase* previous) override;
  uint32_t GetChunkID() override;
  // Writes the header and the payload read back from the source file (no pad byte). Failure for a
  // size outside 1 to 16, a failed header write, or a payload that cannot be read whole; a failed
  // payload write is disk full or failure.
  ErrorCode WriteToFile(const lu::File& file, bool swap) override;
};
