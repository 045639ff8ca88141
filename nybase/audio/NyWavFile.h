// NyWavFile: an existing WAV file (RIFF or RIFX) opened as chunk objects that can be edited and
// written, chunk by chunk, into a new file.
#pragma once

#include <nybase/audio/NyADMChunk.h>
#include <nybase/audio/NyCueChunk.h>
#include <nybase/audio/NyDataChunk.h>
#include <nybase/audio/NyFmtChunk.h>
#include <nybase/audio/NyHashChunk.h>
#include <nybase/audio/NyJunkChunk.h>
#include <nybase/audio/NyListChunk.h>
#include <nybase/audio/NyRiffChunk.h>
#include <nybase/audio/NySmplChunk.h>
#include <nybase/files/Path.h>

class NyWavFile {
 public:
  NyWavFile();
  NyWavFile(const NyWavFile&) = delete;
  NyWavFile& operator=(const NyWavFile&) = delete;
  virtual ~NyWavFile();

  // Opens `path` for reading and finds its chunks, whatever their order. False when the file cannot
  // be opened or lacks a RIFF/RIFX header or a usable "fmt " (RF64 and BW64 files are refused this
  // way), or, unless `formatOnly`, a "data" chunk; the chunks then stay as that step left them
  // and the file stays open until the next Open or Close. Cue, list, smpl and nydm chunks are
  // optional, a bad hash chunk is not an error here.
  virtual bool Open(const lu::Path& path, bool formatOnly);
  // Closes the file and resets every chunk (labels read earlier are kept).
  virtual void Close();

  NyDataChunk& GetDataChunk() { return m_data; }
  NyHashChunk& GetHashChunk() { return m_hash; }
  NySmplChunk& GetSmplChunk() { return m_smpl; }
  NyRiffChunk& GetRiffChunk() { return m_riff; }
  NyFmtChunk& GetFmtChunk() { return m_fmt; }
  NyCueChunk& GetCueChunk() { return m_cue; }
  NyListChunk& GetListChunk() { return m_list; }
  NyADMChunk& GetADMChunk() { return m_adm; }
  NyJunkChunk& GetJunkChunk() { return m_junk; }
  // The open source file (closed before Open and after Close).
  const lu::File& GetFile() const { return m_file; }

  // Copies the format when the fmt chunk is valid; returns that flag.
  bool GetFormat(WaveFormatExtensible* format);
  // Replaces the format written by the format writers.
  void SetFormat(WaveFormatExtensible* format);
  // Stable sort of the cues by position.
  void SortCueChunk();
  // Data size / block align, truncated to 32 bits; 0 when the block align is 0.
  unsigned int GetFileDurationInFrames();
  // Frames / sample rate; 0.0 when the fmt chunk isn't valid or the sample rate is 0.
  double GetFileDurationInSeconds();
  // Offset of the first sample byte; 0 when the data chunk isn't valid.
  unsigned int GetFileHeaderSize();

  // Patches the RIFF size at offset 0 of `file` to its current size; false on failure.
  bool UpdateRiffChunkSize(const lu::File& file, bool swap);
  // Chunk writers, each at the current position of `file`, numbers big-endian when `swap`. Riff,
  // format and data are required and true only when written; the others write nothing and are
  // true when their chunk is absent, otherwise true when written.
  bool WriteRiffChunk(const lu::File& file, bool swap);
  bool WriteFormatChunk(const lu::File& file, bool swap);
  bool WriteFormatChunkNotExtensible(const lu::File& file, bool swap);
  bool WriteDataChunk(const lu::File& file, bool swap);
  bool WriteHashChunk(const lu::File& file, bool swap);
  bool WriteCueChunk(const lu::File& file, bool swap);
  bool WriteListChunk(const lu::File& file, bool swap);
  bool WriteSmplChunk(const lu::File& file, bool swap);
  bool WriteJunkChunk(const lu::File& file, bool swap);
  bool WriteADMChunk(const lu::File& file, bool swap);

 protected:
  lu::File m_file;
  NyRiffChunk m_riff;
  NyHashChunk m_hash;
  NyFmtChunk m_fmt;
  NyDataChunk m_data;
  NyCueChunk m_cue;
  NyListChunk m_list;
  NySmplChunk m_smpl;
  NyADMChunk m_adm;
  NyJunkChunk m_junk{16};
};
