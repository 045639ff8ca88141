// lu::TextWriterBase: buffer growth, flushing to the file, hashing, UTF-8 output.
#include <nybase/documents/TextWriterBase.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <nybase/data/XXHash.h>
#include <nybase/files/DirectoryRecursive.h>
#include <nybase/platform/Utf.h>
#include <nybase/documents/internal/PutCodePoint.h>

namespace lu {

namespace {

inline bool IsHighSurrogate(uint32_t u) { return u >= 0xD800 && u <= 0xDBFF; }

// The codec takes int lengths: longer texts go in pieces that never split a surrogate pair.
constexpr size_t k_maxPiece = size_t{1} << 28;

}  // namespace

TextWriterBase::TextWriterBase(const lu::Path& path, VPropertyEnums::LineEnding lineEnding) : m_path(path) {
  if (lineEnding == VPropertyEnums::LineEndingCRLF) {
    m_lineEnding[0] = '\r';
    m_lineEnding[1] = '\n';
    m_lineEndingLength = 2;
  }
  // A file that cannot be opened leaves the writer without a buffer: not ready.
  if (IsFileMode() && !OpenFile()) return;
  Grow(k_initialSize, false);
}

TextWriterBase::TextWriterBase(VPropertyEnums::LineEnding lineEnding) : TextWriterBase(lu::Path(), lineEnding) {}

TextWriterBase::~TextWriterBase() {
  FlushBuffer();
  if (m_file.IsOpen()) m_file.Close();
  std::free(m_start);
}

void TextWriterBase::FlushBuffer() {
  if (m_start) Spill(true);
}

void TextWriterBase::ReserveBuffer(unsigned long long size) {
  if (m_start && size > static_cast<unsigned long long>(m_end - m_start) && size < SIZE_MAX / 2)
    Grow(static_cast<size_t>(size), true);
}

bool TextWriterBase::SetFilePath(const lu::Path& path, bool deferOpen) {
  if (m_file.IsOpen()) return false;
  m_path = path;
  return deferOpen ? true : OpenFile();
}

void TextWriterBase::UpdateHash() {
  if (m_hash && m_pos > m_hashPos) m_hash->Update(m_hashPos, static_cast<size_t>(m_pos - m_hashPos));
  m_hashPos = m_pos;
}

bool TextWriterBase::OpenFile() {
  if (m_fileError || m_path.IsEmpty()) return false;
  // The parent folder is made first, its result ignored: a folder that cannot be made shows as
  // the failed open below.
  lu::EnsureDirectoryExists(m_path.GetParent());
  if (m_file.Open(m_path, NyOpenModeWriteOverwrite, 0) != NYRESULT_SUCCESS) {
    m_fileError = true;
    return false;
  }
  return true;
}

void TextWriterBase::Spill(bool force) {
  if (!force && m_pos < m_mark) return;
  UpdateHash();
  if (IsFileMode()) {
    if (!m_file.IsOpen()) OpenFile();
    if (m_file.IsOpen() && m_pos > m_start) {
      // The stream is flushed too, so that a failure (a full disk) shows now and not at close.
      const char* p = m_start;
      size_t left = static_cast<size_t>(m_pos - m_start);
      bool ok = true;
      while (ok && left > 0) {
        const unsigned piece = static_cast<unsigned>(std::min<size_t>(left, 1u << 30));
        ok = m_file.WriteExact(p, piece);
        p += piece;
        left -= piece;
      }
      if (!ok || !m_file.Flush()) m_writeError = true;
    }
    // A file error drops the bytes without further notice (the flags tell).
    m_pos = m_hashPos = m_start;
  } else if (m_pos >= m_mark) {
    Grow(static_cast<size_t>(m_end - m_start) + k_growStep, true);
  }
}

bool TextWriterBase::Grow(size_t capacity, bool keepContent) {
  const size_t used = static_cast<size_t>(m_pos - m_start);
  const size_t hashed = static_cast<size_t>(m_hashPos - m_start);
  char* block;
  if (keepContent && m_start) {
    block = static_cast<char*>(std::realloc(m_start, capacity));
  } else {
    block = static_cast<char*>(std::malloc(capacity));
    if (block) std::free(m_start);
  }
  if (!block) {
    // Out of memory: the old buffer stays, and the bytes that do not fit are lost.
    m_writeError = true;
    return false;
  }
  const bool kept = keepContent && m_start;
  m_start = block;
  m_end = block + capacity;
  m_mark = m_end - k_margin;
  m_pos = kept ? block + used : block;
  m_hashPos = kept ? block + hashed : block;
  return true;
}

bool TextWriterBase::MakeRoom(size_t size, bool keepContent) {
  if (!m_start) return false;  // not ready: every write is dropped
  if (size > SIZE_MAX / 4) return false;
  if (!keepContent) Spill(true);  // file mode: writes the buffer out; memory mode keeps it
  if (static_cast<size_t>(m_end - m_pos) >= size) return true;
  const size_t used = static_cast<size_t>(m_pos - m_start);
  const size_t wanted = (used + size + k_margin + k_growStep - 1) / k_growStep * k_growStep;
  return Grow(wanted, keepContent || !IsFileMode());
}

bool TextWriterBase::BufferOf(IXmlWriter* other, const char*& data, size_t& size) {
  const auto* writer = dynamic_cast<const TextWriterBase*>(other);
  if (!writer) return false;
  data = writer->m_start;
  size = writer->BufferedSize();
  return true;
}

void TextWriterBase::Put(const char* p, size_t n) {
  std::memcpy(m_pos, p, n);
  m_pos += n;
}

void TextWriterBase::PutRepeated(char c, size_t n) {
  std::memset(m_pos, c, n);
  m_pos += n;
}

void TextWriterBase::WriteBytes(const char* p, size_t n) {
  if (n == 0 || !Room(n)) return;
  std::memcpy(m_pos, p, n);
  Advance(n);
}

void TextWriterBase::WriteUtf16(const wchar_t* p, size_t n) {
  while (n > 0) {
    size_t take = std::min(n, k_maxPiece);
    if (take < n && IsHighSurrogate(static_cast<uint32_t>(p[take - 1]))) --take;
    if (!m_start) return;
    const size_t room = std::min<size_t>(static_cast<size_t>(m_end - m_pos), INT_MAX);
    int done = room ? platform::WideCharToMultiByte(platform::k_codePageUtf8, 0, p, static_cast<int>(take), m_pos,
                                                     static_cast<int>(room))
                    : 0;
    if (done <= 0) {
      // Too little room up to the end: size the text and make room, keeping the content.
      const size_t need = platform::Utf8LengthOfUtf16(p, take);
      if (!Room(need, true)) return;
      done = platform::WideCharToMultiByte(platform::k_codePageUtf8, 0, p, static_cast<int>(take), m_pos,
                                           static_cast<int>(std::min<size_t>(need, INT_MAX)));
      if (done <= 0) return;
    }
    Advance(static_cast<size_t>(done));
    p += take;
    n -= take;
  }
}

size_t TextWriterBase::EncodeName(const wchar_t* src, size_t len, char* out) {
  char* o = out;
  for (size_t i = 0; i < len; ++i) {
    uint32_t u = static_cast<uint32_t>(src[i]);
    if (u > 0xFFFF) u = 0xFFFD;  // not a UTF-16 unit
    if (IsHighSurrogate(u)) {
      if (i + 1 == len) break;  // a high surrogate at the very end stops the encoding
      // The next unit is taken as the low half without testing it, on purpose.
      detail::PutCodePoint(o, 0x10000 + ((u - 0xD800) << 10) + (static_cast<uint32_t>(src[++i]) & 0x3FF));
    } else {
      detail::PutCodePoint(o, u);  // a lone low surrogate gets its 3-byte form, on purpose
    }
  }
  return static_cast<size_t>(o - out);
}

}  // namespace lu
