// The smpl chunk: one sampler record and one loop, their update and rewrite.
#include <nybase/audio/NySmplChunk.h>

#include <nybase/audio/WavByteSwapHelpers.h>

#include "internal/ChunkMath.h"

namespace {
constexpr uint32_t k_oneLoopSize = sizeof(SAMPLER) + sizeof(SAMPLER_LOOP);  // 60
}

bool NySmplChunk::Init(const lu::File& file, NyFormatChunkBase* previous) {
  const bool found = NyFormatChunkBase::Init(file, previous);
  m_valid = false;
  if (!found) return false;
  // A chunk too short for the record and one loop is not read into the next chunk's bytes.
  if (m_header.ckSize < k_oneLoopSize) return false;
  // Deliberately not swapped in a big-endian file: the records are kept as they stand.
  if (ReadData(&m_sampler, sizeof(m_sampler), 0) != sizeof(m_sampler)) return false;
  if (m_sampler.cSampleLoops == 0) return false;
  if (ReadData(&m_loop, sizeof(m_loop), sizeof(m_sampler)) != sizeof(m_loop)) return false;
  m_sampler.cSampleLoops = 1;
  m_sampler.cbSamplerData = 0;
  m_header.ckSize = k_oneLoopSize;
  m_valid = true;
  return true;
}

void NySmplChunk::Reset() {
  NyFormatChunkBase::Reset();
  m_sampler = SAMPLER{};
  m_loop = SAMPLER_LOOP{};
}

uint32_t NySmplChunk::GetChunkID() { return k_fccSmpl; }

bool NySmplChunk::WriteSampleInfo(const lu::File& file) { return file.WriteExact(&m_sampler, sizeof(m_sampler)); }

bool NySmplChunk::WriteSampleInfoSwapped(const lu::File& file) {
  SAMPLER sampler = m_sampler;
  WavByteSwapHelpers::Convert(sampler);
  return file.WriteExact(&sampler, sizeof(sampler));
}

bool NySmplChunk::WriteLoopInfo(const lu::File& file) { return file.WriteExact(&m_loop, sizeof(m_loop)); }

bool NySmplChunk::WriteLoopInfoSwapped(const lu::File& file) {
  SAMPLER_LOOP loop = m_loop;
  WavByteSwapHelpers::Convert(loop);
  return file.WriteExact(&loop, sizeof(loop));
}

NyFormatChunkBase::ErrorCode NySmplChunk::WriteToFile(const lu::File& file, bool swap) {
  // Deliberately no disk-full code here: any failure is a plain failure.
  if (!WriteChunkHeader(file, swap)) return ErrorCode_Failure;
  const bool ok = swap ? WriteSampleInfoSwapped(file) && WriteLoopInfoSwapped(file)
                       : WriteSampleInfo(file) && WriteLoopInfo(file);
  return ok ? ErrorCode_Success : ErrorCode_Failure;
}

bool NySmplChunk::GetSamplerInfo(SAMPLER& sampler) const {
  sampler = m_sampler;
  return m_valid;
}

bool NySmplChunk::GetLoopInfo(SAMPLER_LOOP& loop) const {
  loop = m_loop;
  return m_valid;
}

bool NySmplChunk::GetLoopPosition(unsigned int& start, unsigned int& end) const {
  start = m_loop.dwStart;
  end = m_loop.dwEnd;
  return m_valid;
}

void NySmplChunk::SetLoopPosition(unsigned int start, unsigned int end) {
  if (!m_valid) return;
  m_loop.dwStart = start;
  m_loop.dwEnd = end;
}

bool NySmplChunk::ForceInitLoop(const lu::File& file, NyFormatChunkBase* previous, unsigned int start,
                                unsigned int end) {
  if (Init(file, previous)) return true;
  m_sampler.cSampleLoops = 1;
  m_header.ckID = k_fccSmpl;
  m_header.ckSize = k_oneLoopSize;
  m_valid = true;
  m_loop.dwStart = start;
  m_loop.dwEnd = end;
  return true;
}

NyFormatChunkBase::ErrorCode NySmplChunk::UpdateLoopInfo(double ratio, unsigned int frameCount, bool swap) {
  if (!m_valid) return ErrorCode_Failure;
  if (m_sampler.cSampleLoops != 0) {
    using namespace nybase::audio::detail;
    m_loop.dwStart = ScalePosition(m_loop.dwStart, ratio);
    m_loop.dwEnd = LimitToFrames(ScalePosition(m_loop.dwEnd, ratio), frameCount);
    if (m_loop.dwStart > m_loop.dwEnd) m_loop.dwStart = 0;
  }
  // A loop that was never found in the file has no place to be rewritten.
  if (m_dataOffset < 8) return ErrorCode_Failure;
  const int64_t position = OwnFilePosition();
  // Deliberately relative to the current position, unlike the cue chunk's absolute seek.
  if (position < 0 || !SeekOwnFile(int64_t{m_dataOffset} - 8, lu::FilePointerCurrent)) {
    return ErrorCode_Failure;
  }
  ErrorCode result = WriteToFile(*m_pFile, swap);
  // The bytes sit in the stream's buffer until flushed: a write the disk refuses is reported here
  // rather than lost unseen later.
  if (result == ErrorCode_Success && !m_pFile->Flush()) result = PayloadWriteError();
  SeekOwnFile(position);
  return result;
}
