// lu::TextWriterBase: the buffered byte sink shared by the text writers (memory or file mode,
// running hash of what leaves the buffer).
#pragma once

#include <cstddef>
#include <cstdint>

#include <nybase/documents/IXmlWriter.h>
#include <nybase/files/File.h>
#include <nybase/files/Path.h>

namespace NY {
class XXHash;
}

namespace lu {

// The byte sink. Memory mode (empty path): everything stays in the buffer, which grows without
// limit. File mode: the file is opened (overwritten) at construction and the buffer is written
// to it whenever it fills past its high-water mark, so memory stays bounded by the buffer (plus
// any single text value larger than it). It implements none of the writer operations itself.
class TextWriterBase : public IXmlWriter {
 public:
  static constexpr size_t k_initialSize = 262144;  // the buffer at first
  static constexpr size_t k_margin = 16384;        // room kept above the high-water mark
  static constexpr size_t k_growStep = 32768;      // growth unit

  // File mode if the path isn't empty: opens the file now (see SetFilePath). If that fails the
  // writer gets no buffer and stays not ready (HasFileError is true): test IsReady.
  TextWriterBase(const lu::Path& path, VPropertyEnums::LineEnding lineEnding);
  // Memory mode.
  explicit TextWriterBase(VPropertyEnums::LineEnding lineEnding);
  TextWriterBase(const TextWriterBase&) = delete;
  TextWriterBase& operator=(const TextWriterBase&) = delete;
  // Flushes the buffer, closes the file and frees the buffer.
  ~TextWriterBase() override;

  // In file mode: feeds the hash, opens a deferred file, writes out the buffered bytes and
  // starts the buffer again (a file error drops them: see HasFileError). In memory mode: feeds
  // the hash and keeps the content.
  void FlushBuffer();
  const lu::Path& GetFilePath() const { return m_path; }
  // True when the file could not be opened (then opening is never tried again).
  bool HasFileError() const { return m_fileError; }
  // True once any write to the file has failed (also a failed flush of the stream).
  bool HasWriteError() const { return m_writeError; }
  // Grows the buffer to `size` bytes if it is smaller, keeping its content.
  void ReserveBuffer(unsigned long long size);
  // False if the file is open already. Otherwise takes the path; opens the file now and returns
  // whether that worked, or with `deferOpen` set leaves the opening to the first flush and
  // returns true.
  bool SetFilePath(const lu::Path& path, bool deferOpen);
  // The hash to feed with every byte that leaves the buffer, or null for none; not owned.
  void SetHash(NY::XXHash* hash) { m_hash = hash; }
  // Feeds the bytes written since the last feed to the hash, if there is one.
  void UpdateHash();
  // The number of bytes ever appended.
  unsigned long long GetWriteCount() const { return m_writeCount; }

  // The bytes written and not yet flushed: in memory mode, the whole document so far. Null and 0
  // when the writer is not ready.
  const char* BufferStart() const { return m_start; }
  size_t BufferedSize() const { return static_cast<size_t>(m_pos - m_start); }

 protected:
  // The buffered bytes of another writer of this family; false for any other writer.
  static bool BufferOf(IXmlWriter* other, const char*& data, size_t& size);

  // Makes sure that `size` bytes fit at the write position. Fast path inline; false only when
  // there is no buffer (and none could be made), in which case the caller writes nothing.
  bool Room(size_t size, bool keepContent = false) {
    if (static_cast<size_t>(m_end - m_pos) >= size) [[likely]]
      return true;
    return MakeRoom(size, keepContent);
  }
  // The common step after bytes were placed at the write position: counts them, moves on, and
  // flushes (file mode) or grows (memory mode) once the high-water mark is reached.
  void Advance(size_t count) {
    m_pos += count;
    Commit(count);
  }
  // The same step when the Put helpers below have moved the write position already.
  void Commit(size_t count) {
    m_writeCount += count;
    if (m_pos >= m_mark) [[unlikely]]
      Spill(false);
  }
  // Copy at the write position and move it on (room must have been made); Commit follows.
  void Put(const char* p, size_t n);
  void PutLineEnding() {
    for (uint8_t i = 0; i < m_lineEndingLength; ++i) *m_pos++ = m_lineEnding[i];
  }
  void PutRepeated(char c, size_t n);
  // Writes bytes, making room for them first.
  void WriteBytes(const char* p, size_t n);
  // Writes UTF-16 text as UTF-8 with the platform codec (lone surrogates become U+FFFD).
  void WriteUtf16(const wchar_t* p, size_t n);

  size_t LineEndingLength() const { return m_lineEndingLength; }

  // Text up to this many units is written by the one-pass escaping encoders of the writers, which
  // ask for room for the worst case first; longer text is escaped into a copy and then converted.
  static constexpr size_t k_onePassLimit = 2048;

  // The library's own name encoder (UTF-16 units to UTF-8, no validation): a high surrogate takes
  // the low 10 bits of the unit after it without testing it; a high surrogate at the very end
  // stops the encoding; a lone low surrogate gets the 3-byte form (on purpose: names are encoded
  // this way). `out` must hold 3 bytes per unit. Returns the bytes written.
  static size_t EncodeName(const wchar_t* src, size_t len, char* out);

  char* m_pos = nullptr;  // the write position

 private:
  bool MakeRoom(size_t size, bool keepContent);
  // Steps 3 to 5 of the common step; `force` flushes below the mark too.
  void Spill(bool force);
  bool Grow(size_t capacity, bool keepContent);
  bool OpenFile();
  bool IsFileMode() const { return !m_path.IsEmpty(); }

  char* m_start = nullptr;  // owned, malloc/realloc
  char* m_mark = nullptr;   // m_end - k_margin
  char* m_end = nullptr;
  char* m_hashPos = nullptr;
  char m_lineEnding[3] = {'\n', 0, 0};
  uint8_t m_lineEndingLength = 1;
  NY::XXHash* m_hash = nullptr;
  lu::File m_file;
  lu::Path m_path;
  bool m_fileError = false;
  bool m_writeError = false;
  unsigned long long m_writeCount = 0;
};

}  // namespace lu
