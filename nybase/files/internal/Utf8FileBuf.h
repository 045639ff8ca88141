// A wide stream buffer over a file of UTF-8 bytes, converting with the library's own codec, and
// the input and output streams built on it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>
#include <vector>

namespace lu::detail {

// Reads decode UTF-8 into UTF-16 units (ill-formed bytes become U+FFFD exactly as the codec's
// MultiByteToWideChar does, a truncated sequence at the end of the file included). Writes encode
// UTF-16 units into UTF-8 (a lone surrogate becomes U+FFFD; a pair split between two writes is
// kept together). No byte order mark is read, written or skipped. Positions are byte offsets in
// the file. A buffer is opened for reading or for writing, not both.
class Utf8FileBuf : public std::wstreambuf {
 public:
  Utf8FileBuf() = default;
  Utf8FileBuf(const Utf8FileBuf&) = delete;
  Utf8FileBuf& operator=(const Utf8FileBuf&) = delete;
  ~Utf8FileBuf() override;

  // Opens a Windows-grammar path (a native absolute path works as well) with the standard mode
  // bits: in for reading; out for writing (created or emptied unless app is set, which appends).
  // The file is shared fully with other handles. False when already open or the open fails.
  bool Open(const wchar_t* path, std::ios_base::openmode mode);
  bool IsOpen() const { return m_file != nullptr; }
  // Writes what is pending and closes; false when that failed (the file is closed all the same).
  bool Close();

 protected:
  int_type underflow() override;
  int_type overflow(int_type c) override;
  int sync() override;
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override;
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;

 private:
  bool Flush(bool final);
  int64_t ReadPosition() const;
  void DropInput();

  FILE* m_file = nullptr;
  bool m_writing = false;
  // Input: the bytes decoded into the get area (kept for positions), the units, the file offset
  // of the first of those bytes, and up to three bytes of a sequence the next read completes.
  std::vector<char> m_bytes;
  size_t m_byteCount = 0;
  std::vector<wchar_t> m_units;
  int64_t m_chunkStart = 0;
  char m_pending[4] = {};
  size_t m_pendingCount = 0;
  // Output: the units not yet encoded, and the bytes of one encoding.
  std::vector<wchar_t> m_out;
  std::vector<char> m_encoded;
};

// A wide input (std::wistream) or output (std::wostream) stream on a file through Utf8FileBuf.
// Movable.
template <class WideStream>
class Utf8FileStream : public WideStream {
 public:
  Utf8FileStream() : WideStream(nullptr), m_buf(new Utf8FileBuf) { this->rdbuf(m_buf.get()); }
  Utf8FileStream(Utf8FileStream&& other) noexcept : WideStream(std::move(other)), m_buf(std::move(other.m_buf)) {
    this->set_rdbuf(m_buf.get());
    other.set_rdbuf(nullptr);
  }
  Utf8FileStream& operator=(Utf8FileStream&& other) noexcept {
    WideStream::swap(other);
    m_buf.swap(other.m_buf);
    this->set_rdbuf(m_buf.get());
    other.set_rdbuf(other.m_buf.get());
    return *this;
  }
  Utf8FileBuf* FileBuf() const { return m_buf.get(); }

 private:
  std::unique_ptr<Utf8FileBuf> m_buf;
};

using Utf8InputFileStream = Utf8FileStream<std::wistream>;
using Utf8OutputFileStream = Utf8FileStream<std::wostream>;

// The length in bytes of the UTF-8 sequence (or of the maximal ill-formed part, at least one
// byte) that starts at `p`, and in `units` how many UTF-16 units the codec makes of it (2 for a
// character beyond the BMP, else 1). `end` bounds the look-ahead.
size_t Utf8SequenceLength(const unsigned char* p, const unsigned char* end, int& units);

}  // namespace lu::detail
