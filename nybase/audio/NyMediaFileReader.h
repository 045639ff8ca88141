// NyMediaFileReader: opens a "MIDI" or "PLUG" container, or a bare file of the same kind, and
// reads its payload.
#pragma once

#include <cstdint>

#include <nybase/files/File.h>
#include <nybase/files/Path.h>

// A file counts as a container when it is at least 32 bytes long and starts with the type's
// magic and a "hash" chunk; anything else is bare and read from offset 0. Chunk sizes are read
// little-endian. One thread at a time.
class NyMediaFileReader {
 public:
  enum MediaType : int { MediaType_MIDI = 1, MediaType_PLUG = 2 };

  // `swap` is kept with the reader but changes nothing: containers are read little-endian.
  NyMediaFileReader(MediaType type, bool swap);
  virtual ~NyMediaFileReader();
  NyMediaFileReader(const NyMediaFileReader&) = delete;
  NyMediaFileReader& operator=(const NyMediaFileReader&) = delete;

  // Opens `path` and positions it at the payload: the start of a bare file, or the contents of
  // the container's "data" chunk. False for a type other than 1 or 2, when the file cannot be
  // opened, when its first 32 bytes cannot be read, and for a container whose outer size passes
  // the file, whose chunks run past its end, or that has no "data" chunk. Only the low 32 bits of
  // the file's size count. The chunk walk reads a header only while more than 8 bytes remain, so
  // a container whose "data" chunk is empty and ends the file (what the writer makes of an empty
  // source) is refused, on purpose: it is the rule these containers are judged by, and such a
  // payload has nothing to read.
  bool Open(const lu::Path& path);
  // Reads exactly `size` bytes of payload; false when closed or on a short read.
  bool ReadData(void* out, unsigned int size);
  // Closes the file if open.
  void Close();

  // Whether the open file is a container (false for a bare file).
  bool HasHeader() const { return m_hasHeader; }
  // The container's 16 hash bytes; zeros for a bare file.
  const unsigned char* GetHash() const { return m_hash; }
  // File offset of the payload (0 for a bare file).
  unsigned int GetDataOffset() const { return m_dataOffset; }

 private:
  lu::Path m_path;
  lu::File m_file;
  MediaType m_type;
  [[maybe_unused]] bool m_swap;  // kept as given; see the constructor
  bool m_hasHeader = false;
  unsigned char m_hash[16] = {};
  unsigned int m_dataOffset = 0;
};
