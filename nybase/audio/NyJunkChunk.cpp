// The junk chunk: alignment filler.
#include <nybase/audio/NyJunkChunk.h>

NyJunkChunk::NyJunkChunk(unsigned int alignment) : m_alignment(alignment) {}

bool NyJunkChunk::Init(const lu::File& file, NyFormatChunkBase* previous) {
  // The scan only attaches the file; a junk chunk found in it is not kept.
  NyFormatChunkBase::Init(file, previous);
  m_header.ckID = k_fccJunk;
  m_header.ckSize = 0;
  m_valid = true;
  return true;
}

uint32_t NyJunkChunk::GetChunkID() { return k_fccJunk; }

bool NyJunkChunk::ComputeJunkSize(long long offset) {
  // With no alignment there is nothing to align to (and nothing to divide by).
  if (m_alignment == 0 || (offset + 8) % m_alignment == 0) {
    m_header.ckSize = 0;
    return false;
  }
  const long long r = (offset + 16) % m_alignment;
  // A remainder of 0 deliberately still writes a bare header: the next payload lands aligned.
  m_header.ckSize = r == 0 ? 0 : static_cast<uint32_t>(m_alignment - r);
  return true;
}

NyFormatChunkBase::ErrorCode NyJunkChunk::WriteToFile(const lu::File& file, bool swap) {
  if (!m_valid) return ErrorCode_Failure;
  const int64_t offset = file.SetFilePointer(0, lu::FilePointerCurrent);
  if (offset < 0) return ErrorCode_Failure;
  if (!ComputeJunkSize(offset)) return ErrorCode_Success;
  if (!WriteChunkHeader(file, swap)) return ErrorCode_Failure;
  static constexpr unsigned char k_zeros[256] = {};
  for (uint32_t left = m_header.ckSize; left != 0;) {
    const uint32_t n = left < sizeof(k_zeros) ? left : static_cast<uint32_t>(sizeof(k_zeros));
    // Deliberately no disk-full code here: any failure is a plain failure.
    if (!file.WriteExact(k_zeros, n)) return ErrorCode_Failure;
    left -= n;
  }
  return ErrorCode_Success;
}
