// NyRiffChunk: the outer "RIFF"/"RIFX" header of a WAV file and its form type.
#pragma once

#include <nybase/audio/NyFormatChunkBase.h>

class NyRiffChunk : public NyFormatChunkBase {
 public:
  // Finds the outer header (call with no previous chunk) and reads the form type, which is not
  // compared with "WAVE". False when the file does not start with a RIFF or RIFX header.
  bool Init(const lu::File& file, NyFormatChunkBase* previous) override;
  // Always 12: the header and the form type; the rest of the file is the other chunks.
  unsigned int GetFileChunkSize() const override;
  // "RIFX" for a big-endian file, otherwise "RIFF".
  uint32_t GetChunkID() override;
  // Writes the header with the stored size (patched later by UpdateRiffChunkSize) and the form
  // type. Failure when not valid or a write fails.
  ErrorCode WriteToFile(const lu::File& file, bool swap) override;
  // Rewrites the size field at offset 0 of `file` from its current size, then restores the stored
  // size and the file position. Failure when not valid, or the header write or a seek fails.
  virtual ErrorCode UpdateRiffChunkSize(const lu::File& file, bool swap);

  uint32_t GetFormType() const { return m_formType; }

 private:
  uint32_t m_formType = 0;
};
