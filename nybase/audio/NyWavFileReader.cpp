// NyWavFileReader: opening, the chunk walk and the metadata chunks.
#include "NyWavFileReader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include <nybase/audio/NyADM.h>

#include "internal/WaveFormatRules.h"

namespace {

constexpr unsigned long long k_allOnes64 = ~0ull;

uint32_t LoadU32(const unsigned char* p) {
  return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}

}  // namespace

NyWavFileReader::NyWavFileReader() = default;

NyWavFileReader::~NyWavFileReader() {
  Close();
  std::free(m_pReadBuffer);
}

bool NyWavFileReader::Open(const lu::Path& path) {
  DropFile();
  if (m_file.Open(path, lu::NyOpenModeRead, 0) != NYRESULT_SUCCESS) return false;
  return ReadHeader();
}

bool NyWavFileReader::Open(const lu::File& file) {
  if (!file.IsOpen()) return false;
  DropFile();
  m_file = lu::File::CreateView(file);
  if (m_file.SetFilePointer(0, lu::FilePointerBegin) != 0) return false;
  return ReadHeader();
}

void NyWavFileReader::DropFile() {
  // Closing a view does nothing; assigning a default file hands the borrowed stream to the
  // temporary as a view, which lets it go without closing it.
  m_file.Close();
  m_file = lu::File();
}

void NyWavFileReader::Close() {
  DropFile();
  m_currentDataPos = k_allOnes64;
  m_dataSize = 0;
  m_dataOffset = 0;
  m_chunksRead = 0;
  FreeMarkers();
}

void NyWavFileReader::FreeMarkers() {
  for (NY_WAVE_MARKER& marker : m_markers) std::free(marker.strLabel);
  m_markers.clear();
  m_markerIndex.clear();
  m_markerIndexed = 0;
  m_markerScanned = 0;
  m_markerHint = 0;
  m_markerMaxId = 0;
}

bool NyWavFileReader::ReadHeader() {
  unsigned char header[12];
  unsigned int done = 0;
  if (!m_file.Read(header, sizeof(header), done) || done != sizeof(header)) return false;
  const uint32_t magic = LoadU32(header);
  if (magic != k_fccRIFF && magic != k_fccRF64 && magic != k_fccBW64) return false;
  if (LoadU32(header + 8) != k_fccWAVE) return false;
  const unsigned long long fileSize = m_file.GetFileSize();
  m_endOffset = fileSize;
  const uint32_t sizeField = LoadU32(header + 4);
  if (sizeField != 0xFFFFFFFFu) m_endOffset = std::min<unsigned long long>(fileSize, sizeField + 8ull);
  return true;
}

bool NyWavFileReader::SkipBytes(long long count) {
  if (count == 0) return true;
  return m_file.SetFilePointer(count, lu::FilePointerCurrent) >= 0;
}

bool NyWavFileReader::ReadChunks(unsigned int flags) { return ReadChunks(flags, false); }

bool NyWavFileReader::ReadChunksOnly(unsigned int flags) { return ReadChunks(flags, true); }

bool NyWavFileReader::ReadChunks(unsigned int flags, bool chunksOnly) {
  // The walk goes on from wherever the file stands; the logical offset is counted per call from 4
  // (as if the form type had just been read). Both are deliberate: callers walk a file in stages.
  unsigned long long logical = 4;
  bool padPending = false;
  for (;;) {
    if (logical + 8 > m_endOffset) break;
    RIFFHEADER header;
    unsigned int done = 0;
    if (!m_file.Read(&header, sizeof(header), done)) return false;
    if (done < sizeof(header)) break;
    logical += 8;
    if (padPending) {
      padPending = false;
      if ((header.ckID & 0xFF) == 0) {
        // That byte was the pad of the previous odd-sized chunk.
        if (m_file.SetFilePointer(-7, lu::FilePointerCurrent) < 0) return false;
        logical -= 7;
        continue;
      }
      // Otherwise the writer left the pad out and these 8 bytes are the next header.
    }
    const auto selected = [&](unsigned int flag) { return !chunksOnly || (flags & flag) != 0; };
    bool ok = true;
    switch (header.ckID) {
      case k_fccFmt:
        if (selected(ChunkFlag_Fmt)) {
          ok = ReadChunk_FMT(header);
          if (ok) m_chunksRead |= ChunkFlag_Fmt;
        } else {
          ok = SkipBytes(header.ckSize);
        }
        break;
      case k_fccData:
        if (selected(ChunkFlag_Data)) {
          ok = ReadChunk_DATA(header);
        } else {
          // Deliberately moves by the data size known so far (0 unless ds64 or an earlier data
          // chunk set it), not by the header's size.
          ok = SkipBytes(static_cast<long long>(m_dataSize));
        }
        break;
      case k_fccDs64:
        ok = ReadChunk_DS64(header);
        break;
      case k_fccList:
        if (selected(ChunkFlag_List)) {
          ok = ReadChunk_LIST(header);
          if (ok) m_chunksRead |= ChunkFlag_List;
        } else {
          ok = SkipBytes(header.ckSize);
        }
        break;
      case k_fccCue:
        if (selected(ChunkFlag_Cue)) {
          ok = ReadChunk_CUE(header);
          if (ok) m_chunksRead |= ChunkFlag_Cue;
        } else {
          ok = SkipBytes(header.ckSize);
        }
        break;
      case k_fccSmpl:
        // An unselected smpl chunk is deliberately not moved over: the walk goes on inside its
        // payload, as files written for this reader expect.
        if (selected(ChunkFlag_Smpl)) ok = ReadChunk_SMPL(header);
        break;
      case k_fccHash:
        if (selected(ChunkFlag_Hash)) {
          ok = ReadChunk_HASH(header);
        } else {
          ok = SkipBytes(header.ckSize);
        }
        break;
      case k_fccAxml:
        ok = ReadChunk_AXML(header);
        if (ok) m_chunksRead |= ChunkFlag_Axml;
        break;
      case k_fccChna:
        ok = ReadChunk_CHNA(header);
        if (ok) m_chunksRead |= ChunkFlag_Chna;
        break;
      default: {
        unsigned int optionalFlags = 0;
        ok = ReadOptionalChunk(header, optionalFlags);
        m_chunksRead |= optionalFlags;
        break;
      }
    }
    if (!ok) return false;
    logical += header.ckSize;
    padPending = (header.ckSize & 1) != 0;
    if ((m_chunksRead & flags) == flags) break;
  }
  const unsigned int required = flags & (ChunkFlag_Fmt | ChunkFlag_Data);
  return (m_chunksRead & required) == required;
}

bool NyWavFileReader::ReadChunk_DATA(const RIFFHEADER& header) {
  // A ds64 size survives only beside the 32-bit marker size 0xFFFFFFFF.
  if (m_dataSize == 0 || header.ckSize != 0xFFFFFFFFu) m_dataSize = header.ckSize;
  const long long position = m_file.SetFilePointer(0, lu::FilePointerCurrent);
  if (position < 0) return false;
  m_dataOffset = static_cast<unsigned long long>(position);
  if (m_dataOffset <= m_endOffset && m_dataOffset + m_dataSize > m_endOffset) {
    m_dataSize = m_endOffset - m_dataOffset;  // truncated file: keep what is there
  }
  m_chunksRead |= ChunkFlag_Data;
  SetupDecryption();
  return SkipBytes(static_cast<long long>(m_dataSize));
}

bool NyWavFileReader::ReadChunk_DS64(const RIFFHEADER& header) {
  if (m_chunksRead & ChunkFlag_Data) return false;
  DS64_CHUNK ds64;
  unsigned int done = 0;
  if (!m_file.Read(&ds64, sizeof(ds64), done) || done != sizeof(ds64)) return false;
  if (ds64.dataSize != k_allOnes64) m_dataSize = ds64.dataSize;
  // A chunk shorter than 28 bytes moves back to its own end.
  return SkipBytes(static_cast<long long>(header.ckSize) - static_cast<long long>(sizeof(ds64)));
}

void NyWavFileReader::SetupDecryption() {
  if (m_pDecipher == nullptr) return;
  if ((m_chunksRead & (ChunkFlag_Fmt | ChunkFlag_Data)) != (ChunkFlag_Fmt | ChunkFlag_Data)) return;
  m_file.SetFilePointer(static_cast<long long>(m_dataOffset), lu::FilePointerBegin);
  unsigned char header[16];
  unsigned int done = 0;
  if (m_file.Read(header, sizeof(header), done) && done == sizeof(header)) {
    m_encrypted = m_pDecipher->SetupFromHeader(header);
    if (m_encrypted) {
      // The 16 bytes are the cipher's header, not samples.
      m_dataOffset += 16;
      m_dataSize = m_dataSize >= 16 ? m_dataSize - 16 : 0;
    }
  }
  if (!m_encrypted) m_file.SetFilePointer(static_cast<long long>(m_dataOffset), lu::FilePointerBegin);
}

bool NyWavFileReader::ReadChunk_FMT(const RIFFHEADER& header) {
  WAVEFORMATEXTENSIBLE image;
  std::memset(&image, 0, sizeof(image));
  const unsigned int wanted = std::min<unsigned int>(header.ckSize, sizeof(image));
  unsigned int done = 0;
  if (!m_file.Read(&image, wanted, done) || done != wanted) return false;
  if (!SkipBytes(static_cast<long long>(header.ckSize) - wanted)) return false;

  if (image.Format.wFormatTag == WAVE_FORMAT_EXTENSIBLE && wanted == sizeof(WaveFormatExtensible)) {
    // The library's private form: the configuration is stored as it stands, unchecked.
    std::memcpy(static_cast<void*>(&m_format), &image, sizeof(WaveFormatExtensible));
    m_format.cbSize = 6;
    m_dataType = m_format.wBitsPerSample == 32 ? 1 : 0;
    return true;
  }
  if (image.Format.wFormatTag == WAVE_FORMAT_PCM || image.Format.wFormatTag == WAVE_FORMAT_IEEE_FLOAT) {
    image.SubFormat = image.Format.wFormatTag == WAVE_FORMAT_PCM ? KSDATAFORMAT_SUBTYPE_PCM
                                                                  : KSDATAFORMAT_SUBTYPE_IEEE_FLOAT;
    image.dwChannelMask = nybase::audio::detail::DefaultChannelMask(image.Format.nChannels);
    image.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
    image.Samples.wValidBitsPerSample = 0;
  }
  // Every sub-format but integer PCM counts as float data, B-format ambisonics included.
  m_dataType = image.SubFormat == KSDATAFORMAT_SUBTYPE_PCM ? 0 : 1;

  const NyChannelConfig config = nybase::audio::detail::ChannelConfigFromFormat(image);
  const uint32_t type = config.GetType();
  const uint32_t count = config.GetNumChannels();
  if (type > NyChannelConfigType_Objects) return false;
  if (count == 0 && type != NyChannelConfigType_Objects) return false;

  image.Format.nChannels = static_cast<uint16_t>(count);
  const uint16_t minAlign = static_cast<uint16_t>((count * image.Format.wBitsPerSample) >> 3);
  if (image.Format.nBlockAlign < minAlign) image.Format.nBlockAlign = minAlign;
  if (image.Format.nBlockAlign == 0) return false;

  static_cast<tWAVEFORMATEX&>(m_format) = image.Format;
  m_format.cbSize = 6;
  m_format.wValidBitsPerSample = image.Samples.wValidBitsPerSample;
  m_format.channelConfig = config;
  m_channelOrdering = (type == NyChannelConfigType_Ambisonic && count <= 16)
                          ? NY::ChannelOrdering_FuMa
                          : NY::ChannelOrdering_Native;
  return true;
}

NY_WAVE_MARKER& NyWavFileReader::GetWavMarker(unsigned int id) {
  // The same answer as a search from the front, in constant time. Files list ascending identifiers
  // and labels follow the cue order, so the hint and the "above every identifier so far" test
  // settle nearly every call; the index, brought up to date only when needed, settles the rest.
  size_t count = m_markers.size();
  if (m_markerIndexed > count || m_markerScanned > count) {
    // A subclass removed markers: start over.
    m_markerIndex.clear();
    m_markerIndexed = m_markerScanned = 0;
    m_markerMaxId = 0;
  }
  for (; m_markerScanned < count; ++m_markerScanned) {
    m_markerMaxId = std::max(m_markerMaxId, uint64_t(m_markers[m_markerScanned].dwIdentifier) + 1);
  }
  size_t at = count;
  if (m_markerHint < count && m_markers[m_markerHint].dwIdentifier == id) {
    at = m_markerHint;
  } else if (count != 0 && m_markers[0].dwIdentifier == id) {
    at = 0;  // a second list (labels after cues) usually starts again from the first marker
  } else if (id < m_markerMaxId) {
    for (; m_markerIndexed < count; ++m_markerIndexed) {
      m_markerIndex.try_emplace(m_markers[m_markerIndexed].dwIdentifier, m_markerIndexed);
    }
    const auto found = m_markerIndex.find(id);
    if (found != m_markerIndex.end()) at = found->second;
  }
  if (at == count) {
    NY_WAVE_MARKER marker{};
    marker.dwIdentifier = id;
    m_markers.push_back(marker);
  }
  m_markerHint = at + 1;
  return m_markers[at];
}

bool NyWavFileReader::ReadChunk_CUE(const RIFFHEADER& header) {
  uint32_t count = 0;
  unsigned int done = 0;
  if (!m_file.Read(&count, sizeof(count), done) || done != sizeof(count)) return false;
  // Records are read in batches; a short batch still delivers its whole records before failing.
  constexpr uint32_t k_batch = 256;
  WAV_CUE records[k_batch];
  for (uint32_t read = 0; read < count;) {
    const uint32_t n = std::min(k_batch, count - read);
    if (!m_file.Read(records, n * unsigned(sizeof(WAV_CUE)), done)) return false;
    const uint32_t whole = done / unsigned(sizeof(WAV_CUE));
    for (uint32_t i = 0; i < whole; ++i) {
      GetWavMarker(records[i].dwIdentifier).dwPosition = records[i].dwPosition;
    }
    if (whole != n) return false;
    read += n;
  }
  const unsigned long long used = 4ull + 24ull * count;
  if (header.ckSize > used) return SkipBytes(static_cast<long long>(header.ckSize - used));
  return true;
}

bool NyWavFileReader::ReadChunk_LIST(const RIFFHEADER& header) {
  // The file position is tracked as payload start + bytes consumed, so that labels need no
  // position query (which would drop the stream's buffer).
  const long long payloadStart = m_file.SetFilePointer(0, lu::FilePointerCurrent);
  if (payloadStart < 0) return false;
  uint32_t listType = 0;
  unsigned int done = 0;
  if (!m_file.Read(&listType, sizeof(listType), done) || done != sizeof(listType)) return false;
  if (listType != k_fccAdtl) return SkipBytes(static_cast<long long>(header.ckSize) - 4);
  if (header.ckSize < 5) return true;
  const unsigned long long fileSize = m_file.GetFileSize();
  unsigned long long consumed = 4;
  // A non-zero byte where an odd sub-chunk's pad belongs is the next header's first byte. Instead
  // of seeking back over it (which drops the stream's buffer) it is carried into that header, and
  // given back with one seek only if the list ends there.
  int carried = -1;
  while (consumed < header.ckSize) {
    RIFFHEADER sub;
    unsigned char* subBytes = reinterpret_cast<unsigned char*>(&sub);
    if (carried >= 0) {
      subBytes[0] = static_cast<unsigned char>(carried);
      carried = -1;
      if (!m_file.Read(subBytes + 1, sizeof(sub) - 1, done) || done != sizeof(sub) - 1) return false;
    } else if (!m_file.Read(&sub, sizeof(sub), done) || done != sizeof(sub)) {
      return false;
    }
    consumed += 8;
    if (sub.ckID == k_fccLabl) {
      uint32_t id = 0;
      if (!m_file.Read(&id, sizeof(id), done) || done != sizeof(id)) return false;
      consumed += 4;
      // A labl shorter than its identifier, or a label beyond the end of the file, cannot be read
      // whole: fail as the short read would, without a block of the claimed size.
      if (sub.ckSize < 4) return false;
      const uint32_t labelSize = sub.ckSize - 4;
      const unsigned long long rounded = (labelSize + 1ull) & ~1ull;
      if (static_cast<unsigned long long>(payloadStart) + consumed + rounded > fileSize) return false;
      NY_WAVE_MARKER& marker = GetWavMarker(id);
      // A repeated label replaces the earlier one; the earlier block is released.
      std::free(marker.strLabel);
      marker.strLabel = nullptr;
      marker.dwLabelSize = labelSize;
      if (rounded != 0) {
        marker.strLabel = static_cast<char*>(std::malloc(rounded));
        if (marker.strLabel == nullptr) return false;
        // The pad of an odd label is read with it and lies in the block past dwLabelSize.
        if (!m_file.Read(marker.strLabel, static_cast<unsigned int>(rounded), done) ||
            done != rounded) {
          return false;
        }
      }
      consumed += rounded;
    } else {
      consumed += sub.ckSize;
      if (!SkipBytes(sub.ckSize)) return false;
    }
    if (sub.ckSize & 1) {
      unsigned char pad = 0;
      if (!m_file.Read(&pad, 1, done) || done != 1) return true;
      if (pad != 0) {
        carried = pad;
      } else {
        consumed += 1;
      }
    }
  }
  if (carried >= 0 && !SkipBytes(-1)) return false;
  return true;
}

bool NyWavFileReader::ReadChunk_SMPL(const RIFFHEADER& header) {
  if (header.ckSize >= 60) {
    unsigned char head[60];
    unsigned int done = 0;
    if (!m_file.Read(head, sizeof(head), done) || done != sizeof(head)) return false;
    // Start and end of the first loop only; the loop count isn't consulted.
    m_loopStart = LoadU32(head + 44);
    m_loopEnd = LoadU32(head + 48);
    if (!SkipBytes(static_cast<long long>(header.ckSize) - 60)) return false;
  } else if (!SkipBytes(header.ckSize)) {
    return false;
  }
  m_chunksRead |= ChunkFlag_Smpl;
  return true;
}

bool NyWavFileReader::ReadChunk_HASH(const RIFFHEADER& header) {
  if (header.ckSize != sizeof(m_hash)) {
    SkipBytes(header.ckSize);
    return false;
  }
  unsigned int done = 0;
  if (!m_file.Read(m_hash, sizeof(m_hash), done) || done != sizeof(m_hash)) return false;
  m_chunksRead |= ChunkFlag_Hash;
  return true;
}

bool NyWavFileReader::ReadChunk_AXML(const RIFFHEADER& header) {
  // The whole payload must be in the file before a buffer of its size is made.
  if (!PayloadFits(header.ckSize)) return false;
  std::unique_ptr<char[]> text(new (std::nothrow) char[size_t(header.ckSize) + 1]);
  if (!text) return false;
  unsigned int done = 0;
  if (!m_file.Read(text.get(), header.ckSize, done) || done != header.ckSize) return false;
  text[header.ckSize] = '\0';
  EnsureADM();
  return m_pADM->FromAXML(text.get());
}

bool NyWavFileReader::ReadChunk_CHNA(const RIFFHEADER& header) {
  CHNA counts;
  unsigned int done = 0;
  if (!m_file.Read(&counts, sizeof(counts), done) || done != sizeof(counts)) return false;
  // The number of records comes from the size; a remainder after the whole records is
  // deliberately left unread.
  const unsigned int records = header.ckSize >= 44 ? (header.ckSize - 4u) / sizeof(CHNA_AUDIOID) : 0;
  if (!PayloadFits(static_cast<unsigned long long>(records) * sizeof(CHNA_AUDIOID))) return false;
  std::vector<CHNA_AUDIOID> ids(records);
  const unsigned int bytes = records * static_cast<unsigned int>(sizeof(CHNA_AUDIOID));
  if (bytes != 0 && (!m_file.Read(ids.data(), bytes, done) || done != bytes)) return false;
  EnsureADM();
  return m_pADM->FromCHNA(&counts, ids.data(), records);
}

bool NyWavFileReader::PayloadFits(unsigned long long size) const {
  const long long here = m_file.SetFilePointer(0, lu::FilePointerCurrent);
  return here >= 0 && static_cast<unsigned long long>(here) + size <= m_file.GetFileSize();
}

void NyWavFileReader::EnsureADM() {
  if (!m_pADM) m_pADM = ADMOwner(new NyADM(), [](NyADM* adm) { delete adm; });
}

bool NyWavFileReader::ReadOptionalChunk(const RIFFHEADER& header, unsigned int& /*flags*/) {
  return SkipBytes(header.ckSize);
}

bool NyWavFileReader::GetADMChannelTargets(unsigned int count, std::vector<uint8_t>& targets) const {
  if (!m_pADM) return false;
  m_pADM->GetChannelTargets(targets, static_cast<unsigned char>(count));
  return true;
}

double NyWavFileReader::GetDuration() const {
  if (m_format.nBlockAlign == 0 || m_format.nSamplesPerSec == 0) return 0.0;
  return static_cast<double>(m_dataSize / m_format.nBlockAlign) / m_format.nSamplesPerSec;
}

double NyWavFileReader::GetLoopStart() const {
  return static_cast<double>(m_loopStart) / static_cast<double>(m_format.nSamplesPerSec);
}

double NyWavFileReader::GetLoopEnd() const {
  return static_cast<double>(m_loopEnd) / static_cast<double>(m_format.nSamplesPerSec);
}

unsigned int NyWavFileReader::GetNumFrames() const {
  // A block align of 0 (possible only through the private fmt form) has no frames, not a trap.
  if (m_format.nBlockAlign == 0) return 0;
  return static_cast<unsigned int>(m_dataSize / m_format.nBlockAlign);
}

bool NyWavFileReader::GetHash(void* out, unsigned int size) const {
  if ((m_chunksRead & ChunkFlag_Hash) == 0 || size != sizeof(m_hash) || out == nullptr) return false;
  std::memcpy(out, m_hash, sizeof(m_hash));
  return true;
}
