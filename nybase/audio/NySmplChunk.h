// NySmplChunk: the "smpl" chunk reduced to its sampler record and first loop.
#pragma once

#include <nybase/audio/NyFormatChunkBase.h>

class NySmplChunk : public NyFormatChunkBase {
 public:
  // Finds "smpl" and keeps its sampler record and first loop (further loops are dropped, the loop
  // count becomes 1, the sampler data size 0 and the chunk size 60). Records are kept as they
  // stand in the file, also in a big-endian file. False, and not valid, when it has no loop or is
  // truncated.
  bool Init(const lu::File& file, NyFormatChunkBase* previous) override;
  // Also zeroes both records.
  void Reset() override;
  uint32_t GetChunkID() override;
  // Writes header, sampler record and loop (swapped when asked); failure on any error.
  ErrorCode WriteToFile(const lu::File& file, bool swap) override;

  // Copy the records; return the valid flag.
  bool GetSamplerInfo(SAMPLER& sampler) const;
  bool GetLoopInfo(SAMPLER_LOOP& loop) const;
  // Fills in start and end in any case; returns the valid flag.
  bool GetLoopPosition(unsigned int& start, unsigned int& end) const;
  // Sets the loop's start and end; does nothing unless valid.
  void SetLoopPosition(unsigned int start, unsigned int end);
  // Init; only if that fails, makes a one-loop chunk from `start` and `end`. A loop the file
  // already has is kept. Always true.
  bool ForceInitLoop(const lu::File& file, NyFormatChunkBase* previous, unsigned int start, unsigned int end);
  // Scales start and end by `ratio` (rounded half away from zero, end kept below `frameCount`, a
  // start beyond the new end becomes 0) and rewrites the chunk in its own file, restoring the
  // position. Failure when not valid or the seek fails; else the write's code.
  ErrorCode UpdateLoopInfo(double ratio, unsigned int frameCount, bool swap);

 protected:
  bool WriteSampleInfo(const lu::File& file);
  bool WriteSampleInfoSwapped(const lu::File& file);
  bool WriteLoopInfo(const lu::File& file);
  bool WriteLoopInfoSwapped(const lu::File& file);

 private:
  SAMPLER m_sampler{};
  SAMPLER_LOOP m_loop{};
};
