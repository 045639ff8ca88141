// NyWavFileWriter: writes a new RIFF (or big-endian RIFX) WAVE file: header chunks once, sample
// data in blocks, sizes patched at Close. Never promotes to 64-bit sizes: files stop below 4 GiB.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <nybase/audio/NyDM.h>
#include <nybase/audio/NyWaveMarker.h>
#include <nybase/audio/RiffChunks.h>
#include <nybase/audio/WaveFormat.h>
#include <nybase/files/File.h>
#include <nybase/files/Path.h>

class NyADM;

// Use: Open or OpenTempFile; SetFormat and the other setters; WriteChunks once; the sample writers
// any number of times; Close. Every operation reports failure by its result only (no call order is
// checked); lu::File::GetLastError tells why a file operation failed. A failed write leaves a
// partial file: write through OpenTempFile and move the result into place when nothing may be lost.
// One thread at a time.
class NyWavFileWriter {
 public:
  NyWavFileWriter();
  // Frees the formats, closes as Close does, and releases the rest.
  virtual ~NyWavFileWriter();
  NyWavFileWriter(const NyWavFileWriter&) = delete;
  NyWavFileWriter& operator=(const NyWavFileWriter&) = delete;

  // Creates or empties `path` for writing (a file still open is closed first) and writes the 12-byte outer header ("RIFF", or "RIFX"
  // when `swap`, size 0, "WAVE"). False when the file cannot be opened or the header not written.
  bool Open(const lu::Path& path, bool swap);
  // The same on a new file with a unique name and the extension "tmp" in `directory`, created
  // exclusively; `tempPath` receives its name. False (tempPath untouched) when no file could be
  // made there, or when the header could not be written (then the file exists; it is the caller's).
  bool OpenTempFile(const lu::Path& directory, lu::Path& tempPath, bool swap);

  // Copy the format; the published 40-byte form takes precedence over the private 24-byte form
  // when both are set. The copies stay until the destructor.
  void SetFormat(const WAVEFORMATEXTENSIBLE& format);
  void SetFormat(const WaveFormatExtensible& format);
  // Appends deep copies (each label a fresh malloc block of dwLabelSize bytes) to the markers
  // already set; a second call adds to the list. Markers are written in the order given.
  void SetMarkers(const std::vector<NY_WAVE_MARKER>& markers);
  // The loop of the smpl chunk, in frames.
  void SetLoopPoints(unsigned int start, unsigned int end);
  // Copies 16 bytes from `bytes`, whatever `size` says (the buffer must hold 16); null is ignored.
  void SetHash(unsigned char* bytes, unsigned int size);
  // Flattens `adm` into the records of the "nydm" chunk. Returns whether they are held (false for
  // a null `adm`).
  bool SetADM(const NyADM* adm);

  // Writes, in this fixed order: "fmt " (40 bytes for the published form, 24 for the private one;
  // false with neither), "hash" if one was set, the optional chunks selected by `flags`
  // (WriteOptionalChunks), and the "data" header. Call once, after the setters. False on any failed
  // write. With swap the stored format is byte-swapped in place and stays so.
  bool WriteChunks(unsigned int flags);
  // Appends `frames` frames of interleaved 16-bit samples (nBlockAlign x frames bytes). False when
  // the format is not 16 bits per sample, when the data would pass 4 GiB - 1, or when not all was
  // written.
  bool WriteInt16AsPCMData(unsigned int frames, short* samples);
  // Appends `frames` frames of interleaved floats (frames x nChannels samples), converted by the
  // sample width: 2 bytes x * 32767 and 3 bytes x * 8388607, clamped and truncated towards zero
  // (no dither; NaN is full scale); 4 bytes the float as it stands, whatever the format tag says.
  // False for other widths, when the data would pass 4 GiB - 1, or when not all was written.
  bool WriteReal32AsPCMData(unsigned int frames, float* samples);
  // Patches the RIFF size (file size - 8) and the data size, both little-endian even in RIFX,
  // closes the file, and forgets the loop points and markers. False, with the file left open and
  // nothing changed, when the file has passed 4 GiB - 1; false when a patch, the final flush or the
  // close fails. True when nothing is open (so a second Close is true).
  bool Close();

 protected:
  // The chunks between "hash" and "data", in this order: ChunkFlag_Smpl: "smpl" (60 bytes, one
  // loop, sample period field = sample rate); ChunkFlag_Cue: "cue " when there are markers;
  // ChunkFlag_List: "LIST"/"adtl" with a "labl" per labelled marker; ChunkFlag_Nydm: "nydm" when
  // ADM records are held. False stops WriteChunks.
  virtual bool WriteOptionalChunks(unsigned int flags);
  // The published format if set, else the private one, as its WAVEFORMATEX head; null with none.
  tWAVEFORMATEX* GetFmtEx();
  // An 8-byte chunk header, the size byte-swapped under swap.
  bool WriteRIFFHeader(unsigned long id, unsigned int size);

  lu::File m_file;
  unsigned int m_chunksWritten = 0;
  unsigned int m_dataOffset = 0;  // file offset of the first sample; 0 until "data" is written
  unsigned int m_dataSize = 0;    // bytes of sample data written
  unsigned int m_loopStart = 0;
  unsigned int m_loopEnd = 0;
  bool m_swap = false;
  bool m_hasHash = false;
  unsigned char m_hash[16] = {};
  std::vector<NY_WAVE_MARKER> m_markers;
  std::unique_ptr<WAVEFORMATEXTENSIBLE> m_pFormatExtensible;
  std::unique_ptr<WaveFormatExtensible> m_pFormat;
  std::unique_ptr<NyDM> m_pNyDM;
  std::vector<NyDMObject> m_objects;
  std::vector<NyDMPos> m_positions;
  std::vector<char> m_names;

 private:
  bool WriteOuterHeader(bool swap);
  // nBlockAlign and nChannels of the format in this machine's byte order (the stored format is
  // swapped after WriteChunks in RIFX mode); false with no format or no channels.
  bool GetLayout(unsigned int& blockAlign, unsigned int& channels, unsigned int& width);
  // Writes bytes through the conversion scratch block, which grows once to its fixed size.
  unsigned char* Scratch();
  void FreeMarkers();

  std::unique_ptr<unsigned char[]> m_scratch;
  // Whether each stored format currently holds the big-endian byte order.
  bool m_extensibleSwapped = false;
  bool m_compactSwapped = false;
};
