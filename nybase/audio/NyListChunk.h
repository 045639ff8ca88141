// NyListChunk: the "LIST" chunk of type "adtl", kept as its "labl" labels.
#pragma once

#include <vector>

#include <nybase/audio/NyFormatChunkBase.h>

class NyListChunk : public NyFormatChunkBase {
 public:
  // One label: the cue it names and its bytes (a malloc block, as they stood in the file).
  struct LabelEntry {
    uint32_t dwIdentifier;
    uint32_t dwSize;
    char* pData;
  };

  NyListChunk() = default;
  // Frees the labels.
  ~NyListChunk() override;

  // Finds the first "LIST" of type "adtl" (lists of other types are passed over) and appends its
  // "labl" entries to the labels held; other sub-chunks are skipped. Valid when a label is held;
  // otherwise the size becomes 0. In a big-endian file sub-chunk sizes and identifiers are swapped.
  bool Init(const lu::File& file, NyFormatChunkBase* previous) override;
  uint32_t GetChunkID() override;
  // Writes "LIST", "adtl" and one "labl" per label (with a zero pad after an odd length); sizes and
  // identifiers swapped when asked. Failure when not valid or the header write fails; a failed
  // payload write is disk full or failure.
  ErrorCode WriteToFile(const lu::File& file, bool swap) override;

  // The labels held, in file order, then in the order added.
  const std::vector<LabelEntry>& GetLabels() const { return m_labels; }
  // Appends a label of `size` bytes for cue `identifier` (the bytes are copied; a NUL counts only
  // if it is within `size`); the chunk becomes valid. False when the chunk would outgrow 4 GiB.
  bool AddLabel(unsigned int identifier, const void* text, unsigned int size);

 protected:
  // The identifier must match and the list type at the payload must be "adtl".
  bool IsValidChunk(const RIFFHEADER& header, unsigned int payloadOffset) override;

 private:
  // 4 (the list type) plus each label's sub-chunk with its pad; false beyond 32 bits.
  bool ComputeSize(uint32_t& size) const;

  std::vector<LabelEntry> m_labels;
};
