// NyFormatChunkBase: one chunk of a WAV file that finds itself in the file, keeps its contents in
// memory and writes itself back, to the same file or to a new one, in RIFF or RIFX byte order.
#pragma once

#include <cstdint>
#include <memory>

#include <nybase/audio/RiffChunks.h>
#include <nybase/files/File.h>

class NyFormatChunkBase {
 public:
  // Result of the write and update operations of every chunk class.
  enum ErrorCode : int {
    ErrorCode_Success = 0,
    ErrorCode_Failure = 1,
    ErrorCode_DiskFull = 2,  // a payload write failed because the disk is full
  };

  NyFormatChunkBase() = default;
  NyFormatChunkBase(const NyFormatChunkBase&) = delete;
  NyFormatChunkBase& operator=(const NyFormatChunkBase&) = delete;
  // Releases the file view.
  virtual ~NyFormatChunkBase();

  // Whether the chunk was found (or made) and holds usable contents.
  virtual bool IsValid() const;
  // Finds the chunk in `file`, which this object then reads through a view of its own. With
  // `previous` (the file's riff chunk) the search starts after the form type and inherits its byte
  // order; with null it starts at offset 0. False when the chunk is absent or unusable.
  virtual bool Init(const lu::File& file, NyFormatChunkBase* previous);
  // Zeroes header and offset, releases the view and clears the valid flag.
  virtual void Reset();
  // Bytes the chunk occupies in a file: header, payload and pad byte.
  virtual unsigned int GetFileChunkSize() const;
  // Absolute file offset of the payload.
  virtual unsigned int GetDataOffset() const;
  // Reads up to `size` bytes of the source file at payload offset + `offset` (not bounded by the
  // chunk); the count read, 0 when there is no file or the seek failed.
  virtual unsigned int ReadData(void* out, unsigned int size, unsigned int offset);
  // The chunk's four-character code.
  virtual uint32_t GetChunkID() = 0;
  // Writes the whole chunk at the current position of `file`, numbers big-endian when `swap`.
  virtual ErrorCode WriteToFile(const lu::File& file, bool swap) = 0;

  // Payload size from the chunk header.
  unsigned int GetChunkSize() const { return m_header.ckSize; }

 protected:
  // Whether a header found by the scan is this chunk; the base compares the identifier only.
  virtual bool IsValidChunk(const RIFFHEADER& header, unsigned int payloadOffset);

  // True when the source file is big-endian ("RIFX").
  bool NeedSwapRead() const { return m_swap; }
  // Writes the stored identifier and size (swapped when asked); false when not valid or the write
  // failed.
  bool WriteChunkHeader(const lu::File& file, bool swap);
  // The code for a failed payload write: disk full when the file layer says so, else failure.
  static ErrorCode PayloadWriteError();
  // Writes all of `size` bytes; false on a short write.
  static bool WriteAll(const lu::File& file, const void* data, unsigned int size);
  // Seeks this chunk's own file to `offset` from the start; false without a file or on failure.
  bool SeekOwnFile(int64_t offset, lu::FilePointerPosition from = lu::FilePointerBegin) const;
  // Current position of this chunk's own file, -1 without a file.
  int64_t OwnFilePosition() const;
  // Bytes the file really holds from payload offset + `offset` to its end, at most `limit`; 0
  // without a file. Sizes read from a file are bounded by this before anything is allocated.
  unsigned int BytesHeld(unsigned int offset, unsigned int limit) const;

  RIFFHEADER m_header{};
  uint32_t m_dataOffset = 0;
  std::unique_ptr<lu::File> m_pFile;  // a view of the file Init was given
  bool m_valid = false;
  bool m_swap = false;
};
