// The outer RIFF/RIFX header: form type, rewrite and the final size patch.
#include <nybase/audio/NyRiffChunk.h>

bool NyRiffChunk::Init(const lu::File& file, NyFormatChunkBase* previous) {
  if (!NyFormatChunkBase::Init(file, previous)) return false;
  m_formType = 0;
  return ReadData(&m_formType, sizeof(m_formType), 0) == sizeof(m_formType);
}

unsigned int NyRiffChunk::GetFileChunkSize() const { return 12; }

uint32_t NyRiffChunk::GetChunkID() { return m_swap ? k_fccRIFX : k_fccRIFF; }

NyFormatChunkBase::ErrorCode NyRiffChunk::WriteToFile(const lu::File& file, bool swap) {
  // Deliberately only ever switched to "RIFX": a big-endian source keeps its identifier even when
  // written without swapping.
  if (swap) m_header.ckID = k_fccRIFX;
  if (!WriteChunkHeader(file, swap)) return ErrorCode_Failure;
  return file.WriteExact(&m_formType, sizeof(m_formType)) ? ErrorCode_Success : ErrorCode_Failure;
}

NyFormatChunkBase::ErrorCode NyRiffChunk::UpdateRiffChunkSize(const lu::File& file, bool swap) {
  if (!m_valid) return ErrorCode_Failure;
  // Buffered bytes are part of the file's size: push them out before asking for it. If they
  // cannot be written the file is short, and patching its size would hide that.
  if (!file.Flush()) return PayloadWriteError();
  const int64_t position = file.SetFilePointer(0, lu::FilePointerCurrent);
  const uint32_t storedSize = m_header.ckSize;
  m_header.ckSize = static_cast<uint32_t>(file.GetFileSize()) - 8;
  ErrorCode result = ErrorCode_Failure;
  if (position >= 0 && file.SetFilePointer(0, lu::FilePointerBegin) == 0 && WriteChunkHeader(file, swap)) {
    result = ErrorCode_Success;
  }
  m_header.ckSize = storedSize;
  if (position < 0 || file.SetFilePointer(position, lu::FilePointerBegin) < 0) return ErrorCode_Failure;
  return result;
}
