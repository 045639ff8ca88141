// The adtl list: reading and writing labels.
#include <nybase/audio/NyListChunk.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <nybase/audio/WavByteSwapHelpers.h>

NyListChunk::~NyListChunk() {
  for (LabelEntry& label : m_labels) std::free(label.pData);
}

bool NyListChunk::IsValidChunk(const RIFFHEADER& header, unsigned int payloadOffset) {
  if (header.ckID != k_fccList || m_pFile == nullptr) return false;
  if (m_pFile->SetFilePointer(payloadOffset, lu::FilePointerBegin) < 0) return false;
  uint32_t type = 0;
  return m_pFile->ReadExact(&type, sizeof(type)) && type == k_fccAdtl;
}

uint32_t NyListChunk::GetChunkID() { return k_fccList; }

bool NyListChunk::Init(const lu::File& file, NyFormatChunkBase* previous) {
  // Deliberately no Reset override: labels from an earlier Init stay, and new ones are appended.
  if (!NyFormatChunkBase::Init(file, previous)) return false;
  const uint32_t size = m_header.ckSize;
  uint32_t position = 4;
  while (position < size) {
    RIFFHEADER sub;
    if (ReadData(&sub, sizeof(sub), position) != sizeof(sub)) break;
    if (m_swap) WavByteSwapHelpers::Convert(sub);
    position += 8;
    if (position < 8) break;
    if (sub.ckID != k_fccLabl) {
      // Other sub-chunks are skipped by their size, deliberately without a pad byte.
      const uint32_t next = position + sub.ckSize;
      if (next < position) break;
      position = next;
      continue;
    }
    uint32_t identifier = 0;
    if (sub.ckSize < 4 || ReadData(&identifier, 4, position) != 4) break;
    if (m_swap) identifier = __builtin_bswap32(identifier);
    // The label is bounded by what the list chunk and the file hold, whatever the sub-chunk claims.
    const uint32_t room = size - std::min(size, position + 4);
    const uint32_t wanted = BytesHeld(position + 4, std::min(sub.ckSize - 4, room));
    char* data = wanted != 0 ? static_cast<char*>(std::malloc(wanted)) : nullptr;
    if (wanted != 0 && data == nullptr) break;
    const unsigned int got = wanted != 0 ? ReadData(data, wanted, position + 4) : 0;
    if (got == 0 && data != nullptr) {
      std::free(data);
      data = nullptr;
    }
    m_labels.push_back(LabelEntry{identifier, got, data});
    const uint32_t next = position + 4 + got + (sub.ckSize & 1);
    if (next <= position || got < wanted) break;
    position = next;
  }
  uint32_t total = 0;
  m_valid = !m_labels.empty() && ComputeSize(total);
  m_header.ckSize = m_valid ? total : 0;
  return m_valid;
}

bool NyListChunk::ComputeSize(uint32_t& size) const {
  uint64_t total = 4;
  for (const LabelEntry& label : m_labels) total += 12 + uint64_t{label.dwSize} + (label.dwSize & 1);
  if (total > 0xFFFFFFFFu) return false;
  size = static_cast<uint32_t>(total);
  return true;
}

bool NyListChunk::AddLabel(unsigned int identifier, const void* text, unsigned int size) {
  uint32_t total = 0;
  if (!ComputeSize(total) || uint64_t{total} + 12 + size + (size & 1) > 0xFFFFFFFFu) return false;
  char* data = nullptr;
  if (size != 0) {
    data = static_cast<char*>(std::malloc(size));
    if (data == nullptr) return false;
    std::memcpy(data, text, size);
  }
  m_labels.push_back(LabelEntry{identifier, size, data});
  ComputeSize(total);
  m_header.ckID = k_fccList;
  m_header.ckSize = total;
  m_valid = true;
  return true;
}

NyFormatChunkBase::ErrorCode NyListChunk::WriteToFile(const lu::File& file, bool swap) {
  if (!m_valid || !WriteChunkHeader(file, swap)) return ErrorCode_Failure;
  const auto put32 = [swap](std::vector<unsigned char>& out, uint32_t v) {
    if (swap) v = __builtin_bswap32(v);
    const size_t at = out.size();
    out.resize(at + 4);
    std::memcpy(out.data() + at, &v, 4);
  };
  // Four-character codes keep their byte order in either file.
  const auto putCode = [](std::vector<unsigned char>& out, uint32_t code) {
    const size_t at = out.size();
    out.resize(at + 4);
    std::memcpy(out.data() + at, &code, 4);
  };
  std::vector<unsigned char> payload;
  payload.reserve(m_header.ckSize);
  putCode(payload, k_fccAdtl);
  for (const LabelEntry& label : m_labels) {
    putCode(payload, k_fccLabl);
    put32(payload, label.dwSize + 4);
    put32(payload, label.dwIdentifier);
    if (label.dwSize != 0) payload.insert(payload.end(), label.pData, label.pData + label.dwSize);
    if (label.dwSize & 1) payload.push_back(0);
  }
  return WriteAll(file, payload.data(), static_cast<unsigned int>(payload.size())) ? ErrorCode_Success
                                                                                    : PayloadWriteError();
}
