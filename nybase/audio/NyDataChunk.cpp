// The data chunk: the block copy with progress and the size patches.
#include <nybase/audio/NyDataChunk.h>

#include <algorithm>

namespace {
constexpr unsigned int k_copyBlock = 16384;
}

uint32_t NyDataChunk::GetChunkID() { return k_fccData; }

NyFormatChunkBase::ErrorCode NyDataChunk::WriteToFile(const lu::File& file, bool swap) {
  return WriteToFile(file, swap, nullptr);
}

NyFormatChunkBase::ErrorCode NyDataChunk::WriteChunkHeaderToFile(const lu::File& file, bool swap) {
  return WriteChunkHeader(file, swap) ? ErrorCode_Success : ErrorCode_Failure;
}

NyFormatChunkBase::ErrorCode NyDataChunk::WriteToFile(const lu::File& file, bool swap, IProgress* progress) {
  if (!m_valid) return ErrorCode_Failure;
  const unsigned int size = m_header.ckSize;
  if (progress != nullptr) {
    progress->SetRange(0, size);
    progress->SetPosition(0);
  }
  if (!WriteChunkHeader(file, swap)) return ErrorCode_Failure;
  const int64_t newDataOffset = file.SetFilePointer(0, lu::FilePointerCurrent);
  // Asking for the position pushes the buffered header out, so this is where a full disk shows first.
  if (newDataOffset < 0) return PayloadWriteError();
  if (size == 0) return ErrorCode_Success;
  unsigned char block[k_copyBlock];
  unsigned int copied = 0;
  for (;;) {
    const unsigned int got = ReadData(block, k_copyBlock, copied);
    if (got == 0) {
      // The source ended early: what was copied is the chunk.
      return _UpdateChunkSize(file, static_cast<unsigned int>(newDataOffset), copied, swap);
    }
    const unsigned int put = std::min(got, size - copied);
    if (!file.WriteExact(block, put)) return PayloadWriteError();
    copied += put;
    if (progress != nullptr) progress->SetPosition(copied);
    if (copied == size) return ErrorCode_Success;
  }
}

NyFormatChunkBase::ErrorCode NyDataChunk::_UpdateChunkSize(const lu::File& file, unsigned int dataOffset,
                                                           unsigned int size, bool swap) {
  m_header.ckSize = size;
  if (dataOffset < 8) return ErrorCode_Failure;
  const int64_t position = file.SetFilePointer(0, lu::FilePointerCurrent);
  if (position < 0 || file.SetFilePointer(int64_t{dataOffset} - 8, lu::FilePointerBegin) < 0) {
    return ErrorCode_Failure;
  }
  const bool written = WriteChunkHeader(file, swap);
  if (file.SetFilePointer(position, lu::FilePointerBegin) < 0) return ErrorCode_Failure;
  return written ? ErrorCode_Success : ErrorCode_Failure;
}

NyFormatChunkBase::ErrorCode NyDataChunk::UpdateChunkSize(unsigned int size, bool swap) {
  if (m_pFile == nullptr) return ErrorCode_Failure;
  return _UpdateChunkSize(*m_pFile, m_dataOffset, size, swap);
}
