// NyAudioFileReader: the abstract audio file reader and the factory that picks a reader by extension.
#pragma once

#include <vector>

#include <nybase/audio/IDataDecipher.h>
#include <nybase/audio/NyChannelOrdering.h>
#include <nybase/base/NyChannelConfig.h>
#include <nybase/audio/NyWaveMarker.h>
#include <nybase/audio/RiffChunks.h>
#include <nybase/audio/WaveFormat.h>

namespace lu {
class File;
class Path;
}  // namespace lu
class NyADM;

// Call order: Create (or construct a concrete reader and Open it), ReadChunks once, the accessors,
// then SeekToAudioFrame and the sample reads. The virtual slots are declared in their fixed order.
class NyAudioFileReader {
 public:
  virtual ~NyAudioFileReader() = default;

  // Walks the file's chunks; flags (ChunkFlag_*) say which chunks the caller needs. False when a
  // chunk is malformed or fmt/data, if flagged, are missing.
  virtual bool ReadChunks(unsigned int flags) = 0;
  // The ChunkFlag_* bits of the chunks seen so far.
  virtual unsigned int ChunksRead() const = 0;
  virtual const WaveFormatExtensible& GetFormat() const = 0;
  // 0 integer PCM, 1 anything else (float, or a sub-format that is not the PCM GUID).
  virtual unsigned short GetDataTypeID() const = 0;
  virtual NY::NyChannelOrdering GetChannelOrdering() const = 0;
  // Seconds of audio; 0.0 when the format has no block align or sample rate.
  virtual double GetDuration() const = 0;
  virtual double GetLoopStart() const = 0;
  virtual double GetLoopEnd() const = 0;
  // Bytes of sample data.
  virtual unsigned long long GetDataSize() const = 0;
  virtual const std::vector<NY_WAVE_MARKER>& GetMarkers() const = 0;
  // The file's ADM metadata, or null.
  virtual NyADM* GetADM() const = 0;
  virtual unsigned int GetLoopStartFrame() const = 0;
  virtual unsigned int GetLoopEndFrame() const = 0;
  virtual unsigned int GetNumFrames() const = 0;
  // Places the read cursor at a frame; no range check (stay below GetNumFrames).
  virtual bool SeekToAudioFrame(unsigned int frame) = 0;
  // Reads up to numFrames frames as floats in the given channel order; returns the frames delivered.
  virtual unsigned int ReadPCMDataAsFloat32(unsigned int numFrames, NyChannelConfig config,
                                            NY::NyChannelOrdering ordering, float* out,
                                            bool interleaved) = 0;
  // The same in the file's order, interleaved.
  virtual unsigned int ReadPCMDataAsFloat32(unsigned int numFrames, float* out) = 0;
  // Copies the 16-byte hash; false unless the file had one and size is 16.
  virtual bool GetHash(void* out, unsigned int size) const = 0;

  // A new reader for the file, chosen by its extension (".wav", ".amb", ".vle", ASCII case folded),
  // opened on the path; null for another extension (the file is not touched) or a failed open.
  // The decipher is not owned and must outlive the reader.
  static NyAudioFileReader* Create(const lu::Path& path, const IDataDecipher* decipher = nullptr);
  // The same, working on a view of an open file; the path only chooses the reader.
  static NyAudioFileReader* Create(const lu::Path& path, const lu::File& file,
                                   const IDataDecipher* decipher = nullptr);
  static NyAudioFileReader* Create(const wchar_t* path, const IDataDecipher* decipher = nullptr);

 protected:
  NyAudioFileReader() = default;
  NyAudioFileReader(const NyAudioFileReader&) = delete;
  NyAudioFileReader& operator=(const NyAudioFileReader&) = delete;
};
