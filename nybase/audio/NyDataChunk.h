// NyDataChunk: the "data" chunk; its samples stay in the source file and are copied on writing.
#pragma once

#include <nybase/audio/NyFormatChunkBase.h>
#include <nybase/base/IProgress.h>

class NyDataChunk : public NyFormatChunkBase {
 public:
  uint32_t GetChunkID() override;
  // Copies the chunk without progress reporting; see the overload below.
  ErrorCode WriteToFile(const lu::File& file, bool swap) override;
  // Writes only the header with the stored size; failure when not valid or the write fails.
  virtual ErrorCode WriteChunkHeaderToFile(const lu::File& file, bool swap);
  // Writes the header and copies the samples from the source file in 16 KiB blocks (inside the
  // kernel, several blocks per call, where it can copy between the two files), reporting
  // SetRange(0, size) and then SetPosition(bytes copied) after each block to `progress` (null: no
  // reporting). A source that ends early is not an error: the size written is patched to what was
  // copied. The sample bytes are copied as they stand, never converted. Failure when not valid or
  // the header write fails; a failed block write is disk full or failure.
  virtual ErrorCode WriteToFile(const lu::File& file, bool swap, IProgress* progress);
  // Sets the stored size and rewrites the header where the chunk lies in its own file, restoring
  // the position. Failure when not valid, or a seek or the write fails.
  virtual ErrorCode UpdateChunkSize(unsigned int size, bool swap);

 protected:
  // Sets the stored size and rewrites the header in `file` before the payload at `dataOffset`,
  // restoring the position.
  ErrorCode _UpdateChunkSize(const lu::File& file, unsigned int dataOffset, unsigned int size, bool swap);
};
