// NyMediaFileReader: recognises a container, walks its chunks to "data", reads the payload.
#include <nybase/audio/NyMediaFileReader.h>

#include <cstring>

#include <nybase/audio/RiffChunks.h>

namespace {

inline constexpr uint32_t k_fccMIDI = NyFourCC("MIDI");
inline constexpr uint32_t k_fccPLUG = NyFourCC("PLUG");

}  // namespace

NyMediaFileReader::NyMediaFileReader(MediaType type, bool swap) : m_type(type), m_swap(swap) {}

NyMediaFileReader::~NyMediaFileReader() { Close(); }

void NyMediaFileReader::Close() {
  if (m_file.IsOpen()) m_file.Close();
}

bool NyMediaFileReader::Open(const lu::Path& path) {
  if (m_type != MediaType_MIDI && m_type != MediaType_PLUG) return false;
  Close();
  m_path = path;
  m_hasHeader = false;
  m_dataOffset = 0;
  std::memset(m_hash, 0, sizeof m_hash);
  if (m_file.Open(path, NyOpenModeRead, 0) != 1) return false;

  // Only the low 32 bits count, on purpose: the container's sizes are 32 bits.
  const uint32_t fileSize = static_cast<uint32_t>(m_file.GetFileSize());
  if (fileSize < 32) return true;  // too short for a header: bare

  RIFFHEADER outer{};
  RIFFHEADER hashHeader{};
  unsigned char hash[16];
  if (!m_file.ReadExact(&outer, sizeof outer) || !m_file.ReadExact(&hashHeader, sizeof hashHeader) ||
      !m_file.ReadExact(hash, sizeof hash)) {
    return false;
  }
  const uint32_t magic = m_type == MediaType_PLUG ? k_fccPLUG : k_fccMIDI;
  if (outer.ckID != magic || hashHeader.ckID != k_fccHash) {
    return m_file.SetFilePointer(0, lu::FilePointerBegin) == 0;
  }
  m_hasHeader = true;
  std::memcpy(m_hash, hash, sizeof m_hash);
  if (outer.ckSize > fileSize - 8) return false;

  uint64_t position = 32;
  uint64_t remainder = fileSize - 32u;
  while (remainder >= 9) {
    RIFFHEADER header{};
    if (!m_file.ReadExact(&header, sizeof header)) break;
    remainder -= 8;
    position += 8;
    const uint64_t padded = uint64_t{header.ckSize} + (header.ckSize & 1u);
    if (remainder < padded) return false;
    if (header.ckID == k_fccData) {
      m_dataOffset = static_cast<uint32_t>(position);
      break;
    }
    position += padded;
    if (m_file.SetFilePointer(static_cast<long long>(position), lu::FilePointerBegin) !=
        static_cast<long long>(position)) {
      return false;
    }
    remainder -= padded;
  }
  if (m_dataOffset == 0) return false;
  return m_file.SetFilePointer(m_dataOffset, lu::FilePointerBegin) == m_dataOffset;
}

bool NyMediaFileReader::ReadData(void* out, unsigned int size) {
  return m_file.IsOpen() && m_file.ReadExact(out, size);
}
