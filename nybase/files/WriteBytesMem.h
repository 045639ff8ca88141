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
    // Inline fast path, one comparison: 0 <= count and 1 <= size <= capacity - count, computed
    // in 64 bits on the unsigned images so that a negative count or size (huge when unsigned) or
    // a size of 0 (size - 1 wraps) fails it. When the room is there this class's own Reserve does
    // nothing, so its call is skipped; a derived class's Reserve is always called, through
    // WriteBytesGrowing. Equal type_info addresses prove the exact type; a second copy of the
    // type_info (never seen with one shared library) only sends the call to the slow path.
    const unsigned long long end =
        static_cast<unsigned long long>(static_cast<unsigned>(m_count)) + (static_cast<unsigned>(size) - 1u);
    if (end < static_cast<unsigned long long>(static_cast<unsigned>(m_capacity)) &&
        &typeid(*this) == &typeid(WriteBytesMem)) [[likely]] {
      CopyShort(m_buffer + m_count, static_cast<const unsigned char*>(data), static_cast<unsigned>(size));
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
  // Copies 1..64 bytes as two overlapping fixed-size moves (no call, no byte loop), longer runs
  // with memcpy: small appends are this class's common case.
  static void CopyShort(unsigned char* to, const unsigned char* from, unsigned size) {
    if (size > 64) [[unlikely]] {
      std::memcpy(to, from, size);
    } else if (size >= 16) {
      size >= 32 ? MoveEnds<32>(to, from, size) : MoveEnds<16>(to, from, size);
    } else if (size >= 4) {
      size >= 8 ? MoveEnds<8>(to, from, size) : MoveEnds<4>(to, from, size);
    } else {
      // 1..3 bytes: first, middle and last (they coincide for the shorter sizes).
      to[0] = from[0];
      to[size / 2] = from[size / 2];
      to[size - 1] = from[size - 1];
    }
  }
  // Copies `size` bytes (N..2N) as its first N and its last N, each a fixed-size copy through a
  // register, which the compiler turns into plain loads and stores.
  template <unsigned N>
  static void MoveEnds(unsigned char* to, const unsigned char* from, unsigned size) {
    unsigned char head[N];
    unsigned char tail[N];
    std::memcpy(head, from, N);
    std::memcpy(tail, from + size - N, N);
    std::memcpy(to, head, N);
    std::memcpy(to + size - N, tail, N);
  }

  // WriteBytes with the virtual Reserve call, for growth, odd sizes and derived classes.
  bool WriteBytesGrowing(const void* data, int size, int& done);

  int m_capacity = 0;
  unsigned char* m_buffer = nullptr;
  int m_count = 0;
};
