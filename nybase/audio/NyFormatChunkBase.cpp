// The chunk scan shared by every chunk class, and the header and payload writing rules.
#include <nybase/audio/NyFormatChunkBase.h>

#include <algorithm>

#include <nybase/audio/WavByteSwapHelpers.h>

NyFormatChunkBase::~NyFormatChunkBase() = default;

bool NyFormatChunkBase::IsValid() const { return m_valid; }

bool NyFormatChunkBase::Init(const lu::File& file, NyFormatChunkBase* previous) {
  m_valid = false;
  m_pFile = std::make_unique<lu::File>(lu::File::CreateView(file));
  uint32_t offset = 0;
  // The byte order comes from the file at hand, never from an earlier file this object saw.
  m_swap = false;
  if (previous != nullptr) {
    offset = previous->GetDataOffset() + 4;
    if (previous->m_header.ckID == k_fccRIFX) m_swap = true;
  }
  for (;;) {
    if (m_pFile->SetFilePointer(offset, lu::FilePointerBegin) < 0) return false;
    RIFFHEADER header;
    // The scan ends at the first header that cannot be read whole.
    if (!m_pFile->ReadExact(&header, sizeof(header))) return false;
    if (header.ckID == k_fccRIFX) m_swap = true;
    if (m_swap) WavByteSwapHelpers::Convert(header);
    if (IsValidChunk(header, offset + 8)) {
      m_header = header;
      m_dataOffset = offset + 8;
      m_valid = true;
    }
    uint32_t next = offset + 8 + header.ckSize;
    // A size that wraps back to this very offset would scan forever: it ends the scan too.
    if (next <= offset) return false;
    if (header.ckSize & 1) {
      // A missing pad byte is tolerated: the pad counts only when it is there and is zero.
      if (m_pFile->SetFilePointer(next, lu::FilePointerBegin) < 0) return false;
      uint8_t pad = 0xFF;
      unsigned int done = 0;
      if (m_pFile->Read(&pad, 1, done) && done == 1 && pad == 0) next += 1;
    }
    if (m_valid) return true;
    offset = next;
  }
}

void NyFormatChunkBase::Reset() {
  m_header = RIFFHEADER{};
  m_dataOffset = 0;
  m_pFile.reset();
  m_valid = false;
}

unsigned int NyFormatChunkBase::GetFileChunkSize() const {
  return m_header.ckSize + (m_header.ckSize & 1) + 8;
}

unsigned int NyFormatChunkBase::GetDataOffset() const { return m_dataOffset; }

unsigned int NyFormatChunkBase::ReadData(void* out, unsigned int size, unsigned int offset) {
  if (!SeekOwnFile(int64_t{m_dataOffset} + offset)) return 0;
  unsigned int done = 0;
  m_pFile->Read(out, size, done);
  return done;
}

unsigned int NyFormatChunkBase::BytesHeld(unsigned int offset, unsigned int limit) const {
  if (m_pFile == nullptr) return 0;
  const unsigned long long size = m_pFile->GetFileSize();
  const unsigned long long start = static_cast<unsigned long long>(m_dataOffset) + offset;
  if (size == ~0ull || size <= start) return 0;
  return static_cast<unsigned int>(std::min<unsigned long long>(size - start, limit));
}

bool NyFormatChunkBase::IsValidChunk(const RIFFHEADER& header, unsigned int /*payloadOffset*/) {
  return header.ckID == GetChunkID();
}

bool NyFormatChunkBase::WriteChunkHeader(const lu::File& file, bool swap) {
  if (!m_valid) return false;
  RIFFHEADER header = m_header;
  if (swap) WavByteSwapHelpers::Convert(header);
  return file.WriteExact(&header, sizeof(header));
}

NyFormatChunkBase::ErrorCode NyFormatChunkBase::PayloadWriteError() {
  return lu::File::GetLastError() == lu::FileErrorDiskFull ? ErrorCode_DiskFull : ErrorCode_Failure;
}

bool NyFormatChunkBase::WriteAll(const lu::File& file, const void* data, unsigned int size) {
  return size == 0 || file.WriteExact(data, size);
}

bool NyFormatChunkBase::SeekOwnFile(int64_t offset, lu::FilePointerPosition from) const {
  return m_pFile != nullptr && m_pFile->SetFilePointer(offset, from) >= 0;
}

int64_t NyFormatChunkBase::OwnFilePosition() const {
  return m_pFile != nullptr ? m_pFile->SetFilePointer(0, lu::FilePointerCurrent) : -1;
}
