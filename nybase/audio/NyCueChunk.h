// NyCueChunk: the "cue " chunk as a vector of WAV_CUE records that can be added, sorted, trimmed
// and rescaled.
#pragma once

#include <functional>
#include <vector>

#include <nybase/audio/NyFormatChunkBase.h>

class NyCueChunk : public NyFormatChunkBase {
 public:
  // Finds "cue " and reads its records (at most as many as the count and the chunk hold). Valid
  // when the count is not 0 and a record could be read; otherwise the size becomes 0. Records are
  // kept as they stand in the file, also in a big-endian file; chunk and block start are zeroed.
  bool Init(const lu::File& file, NyFormatChunkBase* previous) override;
  uint32_t GetChunkID() override;
  // Writes header, count and records (numbers swapped when asked). Failure when not valid or the
  // header write fails; a failed payload write is disk full or failure.
  ErrorCode WriteToFile(const lu::File& file, bool swap) override;
  // Copies the records into `cues`.
  virtual void GetCuesVector(std::vector<WAV_CUE>& cues) const;
  // Appends a cue at `position` (frames) with the next identifier and returns that identifier; an
  // absent chunk comes into being.
  virtual unsigned int AddCue(unsigned int position);
  // Scales every position by `ratio` (rounded half away from zero, kept below `frameCount`) and
  // rewrites the chunk where it lies in its own file, restoring the position. Failure when not
  // valid or the seek fails; else the write's code.
  virtual ErrorCode UpdateCueInfo(double ratio, unsigned int frameCount, bool swap);

  // Stable sort by position.
  void SortCues();
  // Keeps the cues in [first, first + length], moved back by `first`; every other cue is removed
  // and its identifier given to `onRemoved`, which must be callable once a cue is removed.
  void TrimCues(unsigned int first, unsigned int length, std::function<void(unsigned int)> onRemoved);

 private:
  uint32_t m_lastIdentifier = 0;
  std::vector<WAV_CUE> m_cues;
};
