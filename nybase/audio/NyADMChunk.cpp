// The nydm chunk: its payload read whole and written back unchanged.
#include <nybase/audio/NyADMChunk.h>

#include <cstdlib>

NyADMChunk::~NyADMChunk() { std::free(m_pPayload); }

void NyADMChunk::Reset() {
  NyFormatChunkBase::Reset();
  std::free(m_pPayload);
  m_pPayload = nullptr;
}

bool NyADMChunk::Init(const lu::File& file, NyFormatChunkBase* previous) {
  std::free(m_pPayload);
  m_pPayload = nullptr;
  if (!NyFormatChunkBase::Init(file, previous)) return false;
  m_valid = false;
  const uint32_t size = m_header.ckSize;
  // A size beyond what the file holds is refused before anything is allocated.
  const uint64_t fileSize = m_pFile->GetFileSize();
  if (fileSize == ~uint64_t{0} || uint64_t{m_dataOffset} + size > fileSize) return false;
  m_pPayload = static_cast<unsigned char*>(std::malloc(size != 0 ? size : 1));
  if (m_pPayload == nullptr) return false;
  m_valid = ReadData(m_pPayload, size, 0) == size;
  return m_valid;
}

uint32_t NyADMChunk::GetChunkID() { return k_fccNydm; }

NyFormatChunkBase::ErrorCode NyADMChunk::WriteToFile(const lu::File& file, bool swap) {
  if (!m_valid || !WriteChunkHeader(file, swap)) return ErrorCode_Failure;
  return WriteAll(file, m_pPayload, m_header.ckSize) ? ErrorCode_Success : PayloadWriteError();
}
