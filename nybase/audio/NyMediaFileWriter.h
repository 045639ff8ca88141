// NyMediaFileWriter: wraps a payload file (a MIDI stream or a plug-in's media) in a small
// RIFF-shaped container with a hash, the payload at an aligned offset.
#pragma once

#include <cstdint>

#include <nybase/files/File.h>
#include <nybase/files/Path.h>

// The container: the magic ("MIDI" or "PLUG") and the size of the rest, a "hash" chunk of 16
// bytes at offset 8 when a hash was set, a "junk" chunk that pads to the alignment, a "data" chunk
// holding the payload, and a zero byte when the file's length is odd. Chunk sizes are
// little-endian, or big-endian under the swap flag except the two patched at the close (the outer
// size and the data size), which are little-endian in either case, on purpose: readers of these
// containers never learn the writer's byte order and read those two as they are.
// Use: OpenSourceFile, OpenDestinationFile, the setters, WriteFile, CloseFiles. Every failure is a
// plain false. One thread at a time.
class NyMediaFileWriter {
 public:
  enum MediaType : int { MediaType_MIDI = 1, MediaType_PLUG = 2 };

  NyMediaFileWriter(MediaType type, bool swap);
  // CloseFiles.
  virtual ~NyMediaFileWriter();
  NyMediaFileWriter(const NyMediaFileWriter&) = delete;
  NyMediaFileWriter& operator=(const NyMediaFileWriter&) = delete;

  // Closes the source, stores `path` and opens it for reading. False when it cannot be opened.
  bool OpenSourceFile(const lu::Path& path);
  // Closes the destination, stores `path` and creates or empties it for exclusive reading and
  // writing. False when it cannot be opened.
  bool OpenDestinationFile(const lu::Path& path);
  // The payload's alignment in bytes; 0 is ignored (the default is 16 for MIDI, 128 for PLUG).
  void SetAlignment(unsigned int alignment);
  // Copies 16 bytes from `bytes`, whatever `size` says (the buffer must hold 16); null is ignored.
  // Without a hash the file has no "hash" chunk and reads back as a bare file.
  void SetHash(unsigned char* bytes, unsigned int size);

  // Writes the header chunks and copies the whole source after them in blocks of 1 MiB; the
  // payload starts on a multiple of the alignment (an odd alignment is met on an even offset, so
  // that the "junk" chunk keeps an even size). False for a type other than 1 or 2, when either
  // file is not open, on a failed read or write, and when the file would pass 4 GiB - 1 (the
  // container's sizes are 32 bits).
  bool WriteFile();
  // Pads the destination to an even length, patches the outer size and the data size, forgets
  // the layout and closes both files. False when a patch fails; the files then stay open. With no
  // destination open only the source is closed, and the result is true.
  bool CloseFiles();

 private:
  bool WriteHeader(uint32_t id, uint32_t size);
  bool WriteZeros(unsigned long long count);
  long long Position() const;

  lu::Path m_sourcePath;
  lu::Path m_destinationPath;
  lu::File m_source;
  lu::File m_destination;
  MediaType m_type;
  unsigned int m_chunksWritten = 0;
  unsigned int m_dataOffset = 0;  // file offset of the payload; 0 until "data" is written
  unsigned int m_alignment = 0;   // 0: the type's default
  unsigned int m_dataSize = 0;
  bool m_swap;
  bool m_hasHash = false;
  unsigned char m_hash[16] = {};
};
