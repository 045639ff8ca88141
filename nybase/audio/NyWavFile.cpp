// NyWavFile: opening a WAV file as chunks and writing them out again.
#include <nybase/audio/NyWavFile.h>

namespace {

bool Succeeded(NyFormatChunkBase::ErrorCode code) { return code == NyFormatChunkBase::ErrorCode_Success; }

// An absent optional chunk is written as nothing, successfully.
bool WriteOptional(NyFormatChunkBase& chunk, const lu::File& file, bool swap) {
  return !chunk.IsValid() || Succeeded(chunk.WriteToFile(file, swap));
}

}  // namespace

NyWavFile::NyWavFile() = default;

NyWavFile::~NyWavFile() { NyWavFile::Close(); }

bool NyWavFile::Open(const lu::Path& path, bool formatOnly) {
  Close();
  if (m_file.Open(path, NyOpenModeRead, 0) != NYRESULT_SUCCESS) return false;
  // A failed step returns at once and leaves every chunk as it stands (a rejected fmt keeps its
  // valid flag, for one); the next Open or Close resets them and closes the file.
  if (!m_riff.Init(m_file, nullptr) || !m_fmt.Init(m_file, &m_riff)) return false;
  m_hash.Init(m_file, &m_riff);
  if (formatOnly) return true;
  if (!m_data.Init(m_file, &m_riff)) return false;
  m_cue.Init(m_file, &m_riff);
  m_list.Init(m_file, &m_riff);
  m_smpl.Init(m_file, &m_riff);
  m_junk.Init(m_file, &m_riff);
  m_adm.Init(m_file, &m_riff);
  return true;
}

void NyWavFile::Close() {
  for (NyFormatChunkBase* chunk : std::initializer_list<NyFormatChunkBase*>{
           &m_riff, &m_hash, &m_fmt, &m_data, &m_cue, &m_list, &m_smpl, &m_adm, &m_junk}) {
    chunk->Reset();
  }
  m_file.Close();
}

bool NyWavFile::GetFormat(WaveFormatExtensible* format) { return m_fmt.GetFormatInfo(format); }

void NyWavFile::SetFormat(WaveFormatExtensible* format) { m_fmt.SetFormatInfo(format); }

void NyWavFile::SortCueChunk() { m_cue.SortCues(); }

unsigned int NyWavFile::GetFileDurationInFrames() {
  const unsigned int blockAlign = m_fmt.GetFormat().nBlockAlign;
  // A block align of 0 can only come from a private-form fmt chunk; it has no frames.
  if (blockAlign == 0) return 0;
  return m_data.GetChunkSize() / blockAlign;
}

double NyWavFile::GetFileDurationInSeconds() {
  if (!m_fmt.IsValid()) return 0.0;
  const unsigned int rate = m_fmt.GetFormat().nSamplesPerSec;
  if (rate == 0) return 0.0;
  return static_cast<double>(GetFileDurationInFrames()) / rate;
}

unsigned int NyWavFile::GetFileHeaderSize() { return m_data.IsValid() ? m_data.GetDataOffset() : 0; }

bool NyWavFile::UpdateRiffChunkSize(const lu::File& file, bool swap) {
  return Succeeded(m_riff.UpdateRiffChunkSize(file, swap));
}

bool NyWavFile::WriteRiffChunk(const lu::File& file, bool swap) { return Succeeded(m_riff.WriteToFile(file, swap)); }

bool NyWavFile::WriteFormatChunk(const lu::File& file, bool swap) { return Succeeded(m_fmt.WriteToFile(file, swap)); }

bool NyWavFile::WriteFormatChunkNotExtensible(const lu::File& file, bool swap) {
  return Succeeded(m_fmt.WriteToFileNotExtensible(file, swap));
}

bool NyWavFile::WriteDataChunk(const lu::File& file, bool swap) { return Succeeded(m_data.WriteToFile(file, swap)); }

bool NyWavFile::WriteHashChunk(const lu::File& file, bool swap) { return WriteOptional(m_hash, file, swap); }

bool NyWavFile::WriteCueChunk(const lu::File& file, bool swap) { return WriteOptional(m_cue, file, swap); }

bool NyWavFile::WriteListChunk(const lu::File& file, bool swap) { return WriteOptional(m_list, file, swap); }

bool NyWavFile::WriteSmplChunk(const lu::File& file, bool swap) { return WriteOptional(m_smpl, file, swap); }

bool NyWavFile::WriteJunkChunk(const lu::File& file, bool swap) { return WriteOptional(m_junk, file, swap); }

bool NyWavFile::WriteADMChunk(const lu::File& file, bool swap) { return WriteOptional(m_adm, file, swap); }
