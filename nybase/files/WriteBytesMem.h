// WriteBytesMem: NY::IWriteBuffer on a malloc block that grows in steps of 1024 bytes.
#pragma once

#include <cstddef>
#include <cstring>
#include <typeinfo>

#include <nybase/files/ByteStreamInterfaces.h>
#include <nybase/text/BasicStringView.h>

// Owns its block (from realloc, freed with free). Copying copies the fields as they stand, so two
// objects then hold one block: exactly one of them may keep it, the other must Detach first (the
// destructor frees whatever block the object holds).
class WriteBytesMem : public NY::IWriteBuffer {
 public:
  WriteBytesMem() = default;
  WriteBytesMem(const WriteBytesMem&) = default;
  WriteBytesMem& operator=(const WriteBytesMem&) = default;
  virtual ~WriteBytesMem();

  // Reserve(Count() + size) through the virtual table, then appends. Always true with `done` =
  // `size` while memory lasts. A negative size, a count that would pass 2^31 - 1, or a failed
  // allocation (also a count set below 0) writes nothing and gives false with `done` 0.
  bool WriteBytes(const void* data, int size, int& done) override {
    // Inline fast path: when the room is there this class's own Reserve does nothing, so its
    // call is skipped; a derived class's Reserve is always called, through WriteBytesGrowing.
    if (size > 0 && m_count >= 0 && size <= m_capacity - m_count && typeid(*this) == typeid(WriteBytesMem)) {
      std::memcpy(m_buffer + m_count, data, static_cast<size_t>(size));
      m_count += size;
      done = size;
      return true;
    }
    return WriteBytesGrowing(data, size, done);
  }
  int Count() const override { return m_count; }
  unsigned char* Bytes() const override { return m_buffer; }
  // Unchecked; a later write grows the block to cover a count above the capacity.
  void SetCount(int count) override { m_count = count; }
  // True when the capacity is already `required`; otherwise the capacity becomes `required`
  // rounded up to a multiple of 1024 and the block is reallocated. False only when that
  // allocation fails (or would pass 2^31 - 1 bytes); the block is then as it was.
  bool Reserve(int required) override;
  void Clear() override { m_count = 0; }
  // The block (null if never grown); the object is left empty with capacity and count 0.
  unsigned char* Detach() override;

  // The capacity.
  int Size() const { return m_capacity; }
  // The text's bytes and one NUL (an empty text writes the NUL alone); true when all went out.
  bool WriteString(const lu::BasicStringView<char>& text);

 private:
  // WriteBytes with the virtual Reserve call, for growth, odd sizes and derived classes.
  bool WriteBytesGrowing(const void* data, int size, int& done);

  int m_capacity = 0;
  unsigned char* m_buffer = nullptr;
  int m_count = 0;
};
