// The cue chunk: reading the records, adding, sorting, trimming, rescaling and writing them.
#include <nybase/audio/NyCueChunk.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <nybase/audio/WavByteSwapHelpers.h>

#include "internal/ChunkMath.h"

namespace {
constexpr unsigned int k_cueSize = sizeof(WAV_CUE);
}

bool NyCueChunk::Init(const lu::File& file, NyFormatChunkBase* previous) {
  m_cues.clear();
  m_lastIdentifier = 0;
  if (!NyFormatChunkBase::Init(file, previous)) {
    m_header.ckSize = 0;
    return false;
  }
  uint32_t count = 0;
  const bool haveCount = ReadData(&count, sizeof(count), 0) == sizeof(count);
  // Deliberately not swapped in a big-endian file, like the records below; only the header is.
  // The records read are bounded by the chunk's own size as well as by the count.
  const uint32_t fits = m_header.ckSize >= 4 ? (m_header.ckSize - 4) / k_cueSize : 0;
  const uint32_t wanted = haveCount ? std::min(count, fits) : 0;
  // Room only for the records the file really holds: a claimed count reserves nothing more.
  m_cues.reserve(std::min(wanted, BytesHeld(4, 0xFFFFFFFFu) / k_cueSize));
  bool firstReadBroughtBytes = false;
  for (uint32_t i = 0; i < wanted; ++i) {
    WAV_CUE cue{};
    const unsigned int got = ReadData(&cue, k_cueSize, 4 + i * k_cueSize);
    if (got == 0) break;
    if (i == 0) firstReadBroughtBytes = true;
    cue.dwChunkStart = 0;
    cue.dwBlockStart = 0;
    m_lastIdentifier = std::max(m_lastIdentifier, cue.dwIdentifier);
    m_cues.push_back(cue);
  }
  m_valid = firstReadBroughtBytes && count != 0;
  // A valid chunk keeps the size the file states, even where it holds more than the records
  // (WriteToFile fills the rest); only an invalid one drops to 0.
  if (!m_valid) m_header.ckSize = 0;
  return m_valid;
}

uint32_t NyCueChunk::GetChunkID() { return k_fccCue; }

NyFormatChunkBase::ErrorCode NyCueChunk::WriteToFile(const lu::File& file, bool swap) {
  if (!m_valid || !WriteChunkHeader(file, swap)) return ErrorCode_Failure;
  // The header keeps the stated size; when that is more than the records take, the rest is
  // written as zeros so that a chunk after this one stays where the header puts it. The fill
  // never exceeds what the source file held of this chunk, so an overstated size in a
  // truncated file cannot make the output grow without bound.
  const auto recordBytes = static_cast<unsigned int>(4 + m_cues.size() * k_cueSize);
  const unsigned int slack = m_header.ckSize > recordBytes ? m_header.ckSize - recordBytes : 0;
  std::vector<unsigned char> payload(recordBytes + (slack != 0 ? BytesHeld(recordBytes, slack) : 0));
  uint32_t count = static_cast<uint32_t>(m_cues.size());
  if (swap) count = __builtin_bswap32(count);
  std::memcpy(payload.data(), &count, 4);
  for (size_t i = 0; i < m_cues.size(); ++i) {
    WAV_CUE cue = m_cues[i];
    if (swap) WavByteSwapHelpers::Convert(cue);
    std::memcpy(payload.data() + 4 + i * k_cueSize, &cue, k_cueSize);
  }
  return WriteAll(file, payload.data(), static_cast<unsigned int>(payload.size())) ? ErrorCode_Success
                                                                                    : PayloadWriteError();
}

void NyCueChunk::GetCuesVector(std::vector<WAV_CUE>& cues) const { cues = m_cues; }

unsigned int NyCueChunk::AddCue(unsigned int position) {
  ++m_lastIdentifier;
  // The sample offset repeats the position, so readers that use either field agree.
  m_cues.push_back(WAV_CUE{m_lastIdentifier, position, k_fccData, 0, 0, position});
  m_header.ckSize += k_cueSize;
  if (!m_valid) {
    m_valid = true;
    m_header.ckID = k_fccCue;
    m_header.ckSize += 4;
  }
  return m_lastIdentifier;
}

NyFormatChunkBase::ErrorCode NyCueChunk::UpdateCueInfo(double ratio, unsigned int frameCount, bool swap) {
  if (!m_valid) return ErrorCode_Failure;
  for (WAV_CUE& cue : m_cues) {
    using namespace nybase::audio::detail;
    const uint32_t p = LimitToFrames(ScalePosition(cue.dwPosition, ratio), frameCount);
    cue.dwPosition = p;
    cue.dwSampleOffset = p;
  }
  // A chunk that was never found in the file has no place to be rewritten.
  if (m_dataOffset < 8) return ErrorCode_Failure;
  const int64_t position = OwnFilePosition();
  if (position < 0 || !SeekOwnFile(int64_t{m_dataOffset} - 8)) return ErrorCode_Failure;
  ErrorCode result = WriteToFile(*m_pFile, swap);
  // The bytes sit in the stream's buffer until flushed: a write the disk refuses is reported here
  // rather than lost unseen later.
  if (result == ErrorCode_Success && !m_pFile->Flush()) result = PayloadWriteError();
  SeekOwnFile(position);
  return result;
}

void NyCueChunk::SortCues() {
  std::stable_sort(m_cues.begin(), m_cues.end(),
                   [](const WAV_CUE& a, const WAV_CUE& b) { return a.dwPosition < b.dwPosition; });
}

void NyCueChunk::TrimCues(unsigned int first, unsigned int length,
                          std::function<void(unsigned int)> onRemoved) {
  for (size_t i = 0; i < m_cues.size();) {
    WAV_CUE& cue = m_cues[i];
    if (cue.dwPosition >= first && cue.dwPosition - first <= length) {
      // The sample offset is deliberately left as it was.
      cue.dwPosition -= first;
      ++i;
      continue;
    }
    const uint32_t identifier = cue.dwIdentifier;
    m_cues.erase(m_cues.begin() + static_cast<std::ptrdiff_t>(i));
    m_header.ckSize -= k_cueSize;
    // Deliberately called unchecked: an empty function throws std::bad_function_call here.
    onRemoved(identifier);
  }
}
