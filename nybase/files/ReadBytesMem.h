// ReadBytesMem: NY::IReadBytes over a block of memory it does not own, with NUL-ended strings.
#pragma once

#include <nybase/files/ByteStreamInterfaces.h>
#include <nybase/text/BasicStringView.h>

// Reads a borrowed block. Copies share the block, each with its own position.
class ReadBytesMem : public NY::IReadBytes {
 public:
  // No data: every read is false.
  ReadBytesMem() = default;
  ReadBytesMem(const void* data, int size) : m_size(size), m_data(data) {}
  ReadBytesMem(const ReadBytesMem&) = default;
  ReadBytesMem& operator=(const ReadBytesMem&) = default;
  virtual ~ReadBytesMem() = default;

  // Copies min(size, bytes left) into `buffer` and sets `done` to that count; true when all of
  // `size` was copied. The position moves by the requested `size` even after a short read (so it
  // can lie past the end; a caller stops at the first false). With no data: false and `done`
  // untouched. A negative size copies nothing, keeps the position and gives false; a position
  // outside the block (after an overshoot or a Seek) copies nothing.
  bool ReadBytes(void* buffer, int size, int& done) override;
  // Replaces the block and rewinds.
  void Attach(const void* data, int size);
  // Moves the position by `offset`, relative and unchecked (reads check it instead).
  void Seek(int offset);
  // The bytes from the position up to the next NUL, in place; the position goes behind the NUL.
  // False (position kept) at the end of the block or when no NUL follows.
  bool ReadString(lu::BasicStringView<char>& view);

 private:
  int m_size = 0;
  const void* m_data = nullptr;
  int m_position = 0;
};
