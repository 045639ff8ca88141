// The hash chunk: its payload stays in the source file until it is written.
#include <nybase/audio/NyHashChunk.h>

namespace {
constexpr uint32_t k_maxHashSize = 16;
bool SizeFits(uint32_t size) { return size >= 1 && size <= k_maxHashSize; }
}  // namespace

bool NyHashChunk::Init(const lu::File& file, NyFormatChunkBase* previous) {
  // Deliberately leaves the valid flag of the scan as it is when the size does not fit; the write
  // then fails.
  return NyFormatChunkBase::Init(file, previous) && SizeFits(m_header.ckSize);
}

uint32_t NyHashChunk::GetChunkID() { return k_fccHash; }

NyFormatChunkBase::ErrorCode NyHashChunk::WriteToFile(const lu::File& file, bool swap) {
  if (!SizeFits(m_header.ckSize) || !WriteChunkHeader(file, swap)) return ErrorCode_Failure;
  unsigned char payload[k_maxHashSize];
  if (ReadData(payload, m_header.ckSize, 0) != m_header.ckSize) return ErrorCode_Failure;
  return file.WriteExact(payload, m_header.ckSize) ? ErrorCode_Success : PayloadWriteError();
}
