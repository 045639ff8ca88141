// The data chunk: the block copy with progress and the size patches.
#include <nybase/audio/NyDataChunk.h>
#include <nybase/files/FileRangeCopy.h>

#include <algorithm>

namespace {
constexpr unsigned int k_copyBlock = 16384;
// Bytes handed to the kernel in one go: large enough that the per-call cost vanishes, small
// enough that progress still moves several times a second on a slow disk.
constexpr unsigned int k_kernelSpan = 64 * k_copyBlock;
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
  // The blocks go through the kernel while it can copy between these two files: no pass through
  // user memory, which is what lets a 1 GiB copy keep pace with cp. Where it cannot, they go
  // through `block`. Either way the bytes, the progress calls and the results are the same.
  bool inKernel = m_pFile != nullptr;
  for (;;) {
    if (inKernel) {
      const unsigned int want = std::min(k_kernelSpan, size - copied);
      unsigned int moved = 0;
      switch (lu::CopyFileRange(*m_pFile, uint64_t{m_dataOffset} + copied, file, want, moved)) {
        case lu::FileRangeCopy::Copied:
          if (moved == 0) return _UpdateChunkSize(file, static_cast<unsigned int>(newDataOffset), copied, swap);
          // The positions reported are those of the block-by-block copy: one per 16 KiB block.
          for (const unsigned int end = copied + moved; copied < end;) {
            copied += std::min(k_copyBlock, end - copied);
            if (progress != nullptr) progress->SetPosition(copied);
          }
          if (copied == size) return ErrorCode_Success;
          continue;
        case lu::FileRangeCopy::Failed:
          // The kernel does not say which side failed; the memory path repeats the block and so
          // reports a failed source read as the end of the data and a failed write as an error.
          copied += moved;
          [[fallthrough]];
        case lu::FileRangeCopy::Unsupported:
          inKernel = false;
          break;
      }
    }
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
