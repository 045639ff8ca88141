// NyWavFileWriter: chunk layout, sample encoding, size patching.
#include <nybase/audio/NyWavFileWriter.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include <nybase/audio/NyADM.h>
#include <nybase/audio/WavByteSwapHelpers.h>
#include <nybase/audio/internal/PcmEncode.h>
#include <nybase/files/FileOperation.h>

namespace {

namespace detail = nybase::audio::detail;

constexpr unsigned long long k_maxFileSize = 0xFFFFFFFFull;
// Bytes of encoded output per block: large enough that a block is one or two write calls, small
// enough to stay in the cache while it is filled.
constexpr size_t k_scratchBytes = 192 * 1024;

void PutU32(std::vector<unsigned char>& out, uint32_t v) {
  const size_t at = out.size();
  out.resize(at + 4);
  std::memcpy(out.data() + at, &v, 4);
}

// A chunk header as the file stores it: the size swapped for a big-endian file.
void PutHeader(std::vector<unsigned char>& out, uint32_t id, uint32_t size, bool swap) {
  RIFFHEADER header{id, size};
  if (swap) WavByteSwapHelpers::Convert(header);
  PutU32(out, header.ckID);
  PutU32(out, header.ckSize);
}

template <typename T>
void PutRecord(std::vector<unsigned char>& out, const T& record) {
  const size_t at = out.size();
  out.resize(at + sizeof(T));
  std::memcpy(out.data() + at, &record, sizeof(T));
}

}  // namespace

NyWavFileWriter::NyWavFileWriter() = default;

NyWavFileWriter::~NyWavFileWriter() {
  m_pFormatExtensible.reset();
  m_pFormat.reset();
  Close();
  // A Close refused at the size limit keeps the markers; they go now all the same.
  FreeMarkers();
}

bool NyWavFileWriter::WriteOuterHeader(bool swap) {
  m_swap = swap;
  unsigned char header[12];
  const uint32_t words[3] = {swap ? k_fccRIFX : k_fccRIFF, 0, k_fccWAVE};
  std::memcpy(header, words, sizeof header);
  return m_file.WriteExact(header, sizeof header);
}

bool NyWavFileWriter::Open(const lu::Path& path, bool swap) {
  // A file still open is finished first; opening over it would lose its stream.
  if (m_file.IsOpen()) Close();
  if (m_file.Open(path, NyOpenModeWriteOverwrite, 0) != NYRESULT_SUCCESS) return false;
  return WriteOuterHeader(swap);
}

bool NyWavFileWriter::OpenTempFile(const lu::Path& directory, lu::Path& tempPath, bool swap) {
  if (m_file.IsOpen()) Close();
  m_file = lu::FileOperation::CreateNewTempFile(directory, tempPath, L"tmp",
                                                NyFileFlagExclusive | NyFileFlagCreateNew);
  if (!m_file.IsOpen()) return false;
  return WriteOuterHeader(swap);
}

void NyWavFileWriter::SetFormat(const WAVEFORMATEXTENSIBLE& format) {
  m_pFormatExtensible = std::make_unique<WAVEFORMATEXTENSIBLE>(format);
  m_extensibleSwapped = false;
}

void NyWavFileWriter::SetFormat(const WaveFormatExtensible& format) {
  m_pFormat = std::make_unique<WaveFormatExtensible>(format);
  m_compactSwapped = false;
}

void NyWavFileWriter::SetMarkers(const std::vector<NY_WAVE_MARKER>& markers) {
  m_markers.reserve(m_markers.size() + markers.size());
  for (const NY_WAVE_MARKER& marker : markers) {
    NY_WAVE_MARKER copy = marker;
    copy.strLabel = nullptr;
    if (marker.dwLabelSize > 0) {
      copy.strLabel = static_cast<char*>(std::malloc(marker.dwLabelSize));
      if (copy.strLabel == nullptr) {
        copy.dwLabelSize = 0;  // out of memory: the marker keeps its position, without label
      } else if (marker.strLabel != nullptr) {
        std::memcpy(copy.strLabel, marker.strLabel, marker.dwLabelSize);
      } else {
        std::memset(copy.strLabel, 0, marker.dwLabelSize);
      }
    }
    m_markers.push_back(copy);
  }
}

void NyWavFileWriter::SetLoopPoints(unsigned int start, unsigned int end) {
  m_loopStart = start;
  m_loopEnd = end;
}

void NyWavFileWriter::SetHash(unsigned char* bytes, unsigned int /*size*/) {
  if (bytes == nullptr) return;
  // Deliberately 16 bytes whatever the size says: the hash chunk has exactly 16.
  std::memcpy(m_hash, bytes, sizeof m_hash);
  m_hasHash = true;
}

bool NyWavFileWriter::SetADM(const NyADM* adm) {
  m_pNyDM = std::make_unique<NyDM>();
  if (adm == nullptr || !adm->ToNyDM(*m_pNyDM, m_objects, m_positions, m_names)) m_pNyDM.reset();
  return m_pNyDM != nullptr;
}

tWAVEFORMATEX* NyWavFileWriter::GetFmtEx() {
  if (m_pFormatExtensible) return &m_pFormatExtensible->Format;
  if (m_pFormat) return m_pFormat.get();
  return nullptr;
}

bool NyWavFileWriter::WriteRIFFHeader(unsigned long id, unsigned int size) {
  RIFFHEADER header{static_cast<uint32_t>(id), size};
  if (m_swap) WavByteSwapHelpers::Convert(header);
  return m_file.WriteExact(&header, sizeof header);
}

bool NyWavFileWriter::WriteChunks(unsigned int flags) {
  if (m_pFormatExtensible) {
    if (m_swap) {
      // Swapped in place and left so: the stored format now holds the file's byte order.
      WavByteSwapHelpers::Convert(*m_pFormatExtensible);
      m_extensibleSwapped = !m_extensibleSwapped;
    }
    if (!WriteRIFFHeader(k_fccFmt, sizeof(WAVEFORMATEXTENSIBLE)) ||
        !m_file.WriteExact(m_pFormatExtensible.get(), sizeof(WAVEFORMATEXTENSIBLE))) {
      return false;
    }
  } else if (m_pFormat) {
    if (m_swap) {
      WavByteSwapHelpers::Convert(*m_pFormat);
      m_compactSwapped = !m_compactSwapped;
    }
    if (!WriteRIFFHeader(k_fccFmt, sizeof(WaveFormatExtensible)) ||
        !m_file.WriteExact(m_pFormat.get(), sizeof(WaveFormatExtensible))) {
      return false;
    }
  } else {
    return false;
  }
  m_chunksWritten |= ChunkFlag_Fmt;

  if (m_hasHash) {
    if (!WriteRIFFHeader(k_fccHash, sizeof m_hash) || !m_file.WriteExact(m_hash, sizeof m_hash)) return false;
    m_chunksWritten |= ChunkFlag_Hash;
  }

  if (!WriteOptionalChunks(flags)) return false;

  if (!WriteRIFFHeader(k_fccData, 0)) return false;
  m_chunksWritten |= ChunkFlag_Data;
  const long long position = m_file.SetFilePointer(0, lu::FilePointerCurrent);
  if (position < 0) return false;
  m_dataOffset = static_cast<unsigned int>(position);
  return true;
}

bool NyWavFileWriter::WriteOptionalChunks(unsigned int flags) {
  std::vector<unsigned char> chunk;

  if (flags & ChunkFlag_Smpl) {
    SAMPLER sampler{};
    const tWAVEFORMATEX* format = GetFmtEx();
    // The sample rate in hertz, not a period, on purpose. In a big-endian file the stored format
    // is already swapped here, so the record's own swap turns this field back (also on purpose).
    sampler.dwSamplePeriod = format ? format->nSamplesPerSec : 0;
    sampler.cSampleLoops = 1;
    SAMPLER_LOOP loop{};
    loop.dwStart = m_loopStart;
    loop.dwEnd = m_loopEnd;
    if (m_swap) {
      WavByteSwapHelpers::Convert(sampler);
      WavByteSwapHelpers::Convert(loop);
    }
    PutHeader(chunk, k_fccSmpl, sizeof sampler + sizeof loop, m_swap);
    PutRecord(chunk, sampler);
    PutRecord(chunk, loop);
    if (!m_file.WriteExact(chunk.data(), static_cast<unsigned int>(chunk.size()))) return false;
    m_chunksWritten |= ChunkFlag_Smpl;
  }

  if ((flags & ChunkFlag_Cue) && !m_markers.empty()) {
    const auto count = static_cast<uint32_t>(m_markers.size());
    chunk.clear();
    chunk.reserve(12 + 24 * static_cast<size_t>(count));
    PutHeader(chunk, k_fccCue, 4 + 24 * count, m_swap);
    PutU32(chunk, m_swap ? __builtin_bswap32(count) : count);
    for (const NY_WAVE_MARKER& marker : m_markers) {
      // The position goes in the position field; the sample offset stays 0.
      WAV_CUE cue{marker.dwIdentifier, marker.dwPosition, k_fccData, 0, 0, 0};
      if (m_swap) WavByteSwapHelpers::Convert(cue);
      PutRecord(chunk, cue);
    }
    if (!m_file.WriteExact(chunk.data(), static_cast<unsigned int>(chunk.size()))) return false;
    m_chunksWritten |= ChunkFlag_Cue;
  }

  if (flags & ChunkFlag_List) {
    uint64_t listSize = 4;
    for (const NY_WAVE_MARKER& marker : m_markers) {
      if (marker.dwLabelSize > 0) listSize += 12 + (uint64_t{marker.dwLabelSize} + 1) / 2 * 2;
    }
    if (listSize > 4) {
      if (listSize > k_maxFileSize) return false;
      chunk.clear();
      chunk.reserve(static_cast<size_t>(listSize) + 8);
      PutHeader(chunk, k_fccList, static_cast<uint32_t>(listSize), m_swap);
      PutU32(chunk, k_fccAdtl);
      for (const NY_WAVE_MARKER& marker : m_markers) {
        if (marker.dwLabelSize == 0) continue;
        PutHeader(chunk, k_fccLabl, marker.dwLabelSize + 4, m_swap);
        PutU32(chunk, m_swap ? __builtin_bswap32(marker.dwIdentifier) : marker.dwIdentifier);
        chunk.insert(chunk.end(), marker.strLabel, marker.strLabel + marker.dwLabelSize);
        if (marker.dwLabelSize & 1) chunk.push_back(0);
      }
      if (!m_file.WriteExact(chunk.data(), static_cast<unsigned int>(chunk.size()))) return false;
    }
    // With no label at all nothing is written, and the step counts as done.
    m_chunksWritten |= ChunkFlag_List;
  }

  if ((flags & ChunkFlag_Nydm) && m_pNyDM) {
    const size_t payload = sizeof(NyDM) + sizeof(NyDMObject) * m_objects.size() +
                           sizeof(NyDMPos) * m_positions.size() + m_names.size();
    if (payload > k_maxFileSize) return false;
    chunk.clear();
    chunk.reserve(payload + 8);
    PutHeader(chunk, k_fccNydm, static_cast<uint32_t>(payload), m_swap);
    // The payload is little-endian in every file, RIFX included.
    PutRecord(chunk, *m_pNyDM);
    for (const NyDMObject& object : m_objects) PutRecord(chunk, object);
    for (const NyDMPos& position : m_positions) PutRecord(chunk, position);
    chunk.insert(chunk.end(), m_names.begin(), m_names.end());
    if (!m_file.WriteExact(chunk.data(), static_cast<unsigned int>(chunk.size()))) return false;
    m_chunksWritten |= ChunkFlag_Nydm;
  }
  return true;
}

bool NyWavFileWriter::GetLayout(unsigned int& blockAlign, unsigned int& channels, unsigned int& width) {
  const tWAVEFORMATEX* format = GetFmtEx();
  if (format == nullptr || format->nChannels == 0) return false;
  // The width comes from the stored values, which are byte-swapped after WriteChunks in a RIFX
  // file (on purpose; the ratio is unchanged for formats below 256 bytes per frame). The counts
  // of bytes and samples use the true values so that no read passes the caller's buffer.
  width = format->nBlockAlign / format->nChannels;
  const bool swapped = m_pFormatExtensible ? m_extensibleSwapped : m_compactSwapped;
  blockAlign = swapped ? __builtin_bswap16(format->nBlockAlign) : format->nBlockAlign;
  channels = swapped ? __builtin_bswap16(format->nChannels) : format->nChannels;
  return channels != 0;
}

unsigned char* NyWavFileWriter::Scratch() {
  if (!m_scratch) m_scratch.reset(new (std::nothrow) unsigned char[k_scratchBytes]);
  return m_scratch.get();
}

bool NyWavFileWriter::WriteInt16AsPCMData(unsigned int frames, short* samples) {
  unsigned int blockAlign = 0;
  unsigned int channels = 0;
  unsigned int width = 0;
  if (!GetLayout(blockAlign, channels, width)) return false;
  const unsigned long long size = static_cast<unsigned long long>(blockAlign) * frames;
  if (m_dataSize + size > k_maxFileSize) return false;
  if (width != 2) return false;
  if (size == 0) return true;
  if (samples == nullptr) return false;

  if (!m_swap) {
    unsigned int done = 0;
    const bool ok = m_file.Write(samples, static_cast<unsigned int>(size), done);
    m_dataSize += done;
    return ok && done == size;
  }
  unsigned char* scratch = Scratch();
  if (scratch == nullptr) return false;
  const size_t total = static_cast<size_t>(size / 2);
  const size_t step = k_scratchBytes / 2;
  for (size_t at = 0; at < total; at += step) {
    const size_t n = total - at < step ? total - at : step;
    detail::SwapPcm16(samples + at, n, scratch);
    unsigned int done = 0;
    const bool ok = m_file.Write(scratch, static_cast<unsigned int>(2 * n), done);
    m_dataSize += done;
    if (!ok || done != 2 * n) return false;
  }
  return true;
}

bool NyWavFileWriter::WriteReal32AsPCMData(unsigned int frames, float* samples) {
  unsigned int blockAlign = 0;
  unsigned int channels = 0;
  unsigned int width = 0;
  if (!GetLayout(blockAlign, channels, width)) return false;
  const unsigned long long size = static_cast<unsigned long long>(blockAlign) * frames;
  if (m_dataSize + size > k_maxFileSize) return false;
  if (width < 2 || width > 4) return false;
  const size_t total = static_cast<size_t>(frames) * channels;
  if (total == 0) return true;
  if (samples == nullptr) return false;

  if (width == 4 && !m_swap) {
    // Written as it stands; the size check above keeps the byte count below 4 GiB for any
    // block align at least as large as the samples.
    if (uint64_t{total} * 4 > k_maxFileSize - m_dataSize) return false;
    unsigned int done = 0;
    const bool ok = m_file.Write(samples, static_cast<unsigned int>(total * 4), done);
    m_dataSize += done;
    return ok && done == total * 4;
  }
  unsigned char* scratch = Scratch();
  if (scratch == nullptr) return false;
  const size_t step = k_scratchBytes / width;
  for (size_t at = 0; at < total; at += step) {
    const size_t n = total - at < step ? total - at : step;
    const float* in = samples + at;
    switch (width) {
      case 2: detail::EncodeFloatToPcm16(in, n, m_swap, scratch); break;
      case 3:
        if (m_swap) {
          detail::EncodeFloatToPcm24BigEndianScaled(in, n, scratch);
        } else {
          detail::EncodeFloatToPcm24(in, n, scratch);
        }
        break;
      default: detail::EncodeFloatSwapped(in, n, scratch); break;
    }
    const size_t bytes = n * width;
    if (uint64_t{m_dataSize} + bytes > k_maxFileSize) return false;
    unsigned int done = 0;
    const bool ok = m_file.Write(scratch, static_cast<unsigned int>(bytes), done);
    m_dataSize += done;
    if (!ok || done != bytes) return false;
  }
  return true;
}

void NyWavFileWriter::FreeMarkers() {
  for (NY_WAVE_MARKER& marker : m_markers) std::free(marker.strLabel);
  m_markers.clear();
}

bool NyWavFileWriter::Close() {
  bool ok = true;
  if (m_file.IsOpen()) {
    // A failed flush is reported but does not stop the patching: the sizes still go in where the
    // bytes did.
    if (!m_file.Flush()) ok = false;
    const unsigned long long fileSize = m_file.GetFileSize();
    if (fileSize > k_maxFileSize) return false;
    // Both sizes little-endian, in RIFX files too (on purpose: readers of these files expect it).
    const uint32_t riffSize = static_cast<uint32_t>(fileSize - 8);
    if (m_file.SetFilePointer(4, lu::FilePointerBegin) != 4 || !m_file.WriteExact(&riffSize, 4)) return false;
    if (m_dataOffset != 0) {
      if (m_file.SetFilePointer(m_dataOffset - 4, lu::FilePointerBegin) != m_dataOffset - 4 ||
          !m_file.WriteExact(&m_dataSize, 4)) {
        return false;
      }
    }
    m_chunksWritten = 0;
    m_dataOffset = 0;
    m_dataSize = 0;
    if (m_file.Close() != NYRESULT_SUCCESS) ok = false;
  }
  m_loopStart = 0;
  m_loopEnd = 0;
  FreeMarkers();
  return ok;
}
