// Utf8FileBuf: chunked UTF-8 decoding and encoding through the platform codec.
#include <nybase/files/internal/Utf8FileBuf.h>

#include <cstring>
#include <cwchar>

#include <nybase/platform/FileApi.h>
#include <nybase/platform/StdioFile.h>
#include <nybase/platform/Utf.h>

namespace pf = lu::platform;

namespace lu::detail {

namespace {

constexpr size_t k_chunk = 64 * 1024;  // bytes read, or units written, at a time

bool IsContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }

// Bounds of the second byte after a lead byte; the later bytes are plain continuations. Zero
// length for bytes that lead no sequence.
struct Lead {
  size_t length;
  unsigned char low;
  unsigned char high;
};

Lead LeadOf(unsigned char b) {
  if (b >= 0xC2 && b <= 0xDF) return {2, 0x80, 0xBF};
  if (b == 0xE0) return {3, 0xA0, 0xBF};
  if (b == 0xED) return {3, 0x80, 0x9F};
  if (b >= 0xE1 && b <= 0xEF) return {3, 0x80, 0xBF};
  if (b == 0xF0) return {4, 0x90, 0xBF};
  if (b >= 0xF1 && b <= 0xF3) return {4, 0x80, 0xBF};
  if (b == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

// How many bytes of a sequence led by p[0] are present and well-formed so far (p[0] counted).
size_t WellFormedPrefix(const unsigned char* p, const unsigned char* end, const Lead& lead) {
  size_t n = 1;
  while (n < lead.length && p + n < end) {
    const unsigned char b = p[n];
    const bool ok = n == 1 ? (b >= lead.low && b <= lead.high) : IsContinuation(b);
    if (!ok) break;
    ++n;
  }
  return n;
}

// The number of bytes at the end of [p, end) that begin a sequence the next bytes may complete.
size_t IncompleteTail(const unsigned char* p, const unsigned char* end) {
  for (size_t back = 1; back <= 3 && back <= static_cast<size_t>(end - p); ++back) {
    const unsigned char* start = end - back;
    const Lead lead = LeadOf(*start);
    if (lead.length != 0) {
      return lead.length > back && WellFormedPrefix(start, end, lead) == back ? back : 0;
    }
    if (!IsContinuation(*start)) return 0;
  }
  return 0;
}

}  // namespace

size_t Utf8SequenceLength(const unsigned char* p, const unsigned char* end, int& units) {
  units = 1;
  const Lead lead = LeadOf(*p);
  if (lead.length == 0) return 1;
  const size_t n = WellFormedPrefix(p, end, lead);
  if (n == 4) units = 2;
  return n;
}

Utf8FileBuf::~Utf8FileBuf() { Close(); }

bool Utf8FileBuf::Open(const wchar_t* path, std::ios_base::openmode mode) {
  if (m_file != nullptr || path == nullptr) return false;
  const bool read = (mode & std::ios_base::in) != 0;
  const bool write = (mode & (std::ios_base::out | std::ios_base::app)) != 0;
  if (read == write) return false;  // one direction per buffer
  const wchar_t* stdioMode = read ? L"rb" : (mode & std::ios_base::app) != 0 ? L"ab" : L"wb";
  m_file = pf::WFOpen(path, std::wcslen(path), stdioMode);
  if (m_file == nullptr) return false;
  m_writing = write;
  DropInput();
  m_chunkStart = 0;
  if (m_writing) {
    m_out.resize(k_chunk);
    setp(m_out.data(), m_out.data() + m_out.size());
  }
  return true;
}

bool Utf8FileBuf::Close() {
  if (m_file == nullptr) return false;
  bool ok = true;
  if (m_writing) ok = Flush(true);
  if (pf::CloseStream(m_file) == pf::CloseResult::StillOpen) {
    pf::DiscardStream(m_file);
    ok = false;
  }
  m_file = nullptr;
  m_writing = false;
  setp(nullptr, nullptr);
  DropInput();
  return ok;
}

void Utf8FileBuf::DropInput() {
  setg(nullptr, nullptr, nullptr);
  m_byteCount = 0;
  m_pendingCount = 0;
}

Utf8FileBuf::int_type Utf8FileBuf::underflow() {
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  if (m_file == nullptr || m_writing) return traits_type::eof();
  m_chunkStart += static_cast<int64_t>(m_byteCount);
  m_byteCount = 0;
  if (m_bytes.size() < k_chunk + 4) m_bytes.resize(k_chunk + 4);
  std::memcpy(m_bytes.data(), m_pending, m_pendingCount);
  size_t have = m_pendingCount;
  m_pendingCount = 0;
  size_t complete = 0;
  for (;;) {
    const size_t got = pf::ReadStream(m_file, m_bytes.data() + have, k_chunk);
    have += got;
    if (got == 0) {
      complete = have;  // end of file: a truncated sequence is decoded as it stands
      break;
    }
    const auto* begin = reinterpret_cast<const unsigned char*>(m_bytes.data());
    complete = have - IncompleteTail(begin, begin + have);
    if (complete > 0) break;
  }
  m_pendingCount = have - complete;
  std::memcpy(m_pending, m_bytes.data() + complete, m_pendingCount);
  if (complete == 0) {
    setg(nullptr, nullptr, nullptr);
    return traits_type::eof();
  }
  // Each byte gives at most one unit (a four-byte sequence gives two).
  if (m_units.size() < complete) m_units.resize(complete);
  const int n = pf::MultiByteToWideChar(pf::k_codePageUtf8, 0, m_bytes.data(), static_cast<int>(complete),
                                        m_units.data(), static_cast<int>(m_units.size()));
  m_byteCount = complete;
  if (n <= 0) {
    setg(nullptr, nullptr, nullptr);
    return traits_type::eof();
  }
  setg(m_units.data(), m_units.data(), m_units.data() + n);
  return traits_type::to_int_type(*gptr());
}

int64_t Utf8FileBuf::ReadPosition() const {
  // The bytes behind the units consumed so far, found by walking the chunk's sequences.
  const auto* p = reinterpret_cast<const unsigned char*>(m_bytes.data());
  const unsigned char* end = p + m_byteCount;
  const unsigned char* at = p;
  ptrdiff_t consumed = eback() == nullptr ? 0 : gptr() - eback();
  while (consumed > 0 && at < end) {
    int units = 1;
    const size_t length = Utf8SequenceLength(at, end, units);
    if (units > consumed) break;  // inside a surrogate pair: the position of its character
    consumed -= units;
    at += length;
  }
  return m_chunkStart + (at - p);
}

bool Utf8FileBuf::Flush(bool final) {
  wchar_t* const begin = pbase();
  size_t count = static_cast<size_t>(pptr() - begin);
  wchar_t held = 0;
  // A high surrogate at the end waits for its partner unless the file is closing.
  if (!final && count > 0 && (begin[count - 1] & 0xFC00) == 0xD800 && begin[count - 1] <= 0xFFFF) {
    held = begin[--count];
  }
  bool ok = true;
  if (count > 0) {
    m_encoded.resize(count * 4);
    const int bytes = pf::WideCharToMultiByte(pf::k_codePageUtf8, 0, begin, static_cast<int>(count),
                                              m_encoded.data(), static_cast<int>(m_encoded.size()));
    ok = bytes > 0 && pf::WriteStream(m_file, m_encoded.data(), static_cast<size_t>(bytes)) ==
                          static_cast<size_t>(bytes);
  }
  setp(m_out.data(), m_out.data() + m_out.size());
  if (held != 0) {
    m_out[0] = held;
    pbump(1);
  }
  return ok;
}

Utf8FileBuf::int_type Utf8FileBuf::overflow(int_type c) {
  if (m_file == nullptr || !m_writing) return traits_type::eof();
  if (pptr() == epptr() && !Flush(false)) return traits_type::eof();
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return c;
}

int Utf8FileBuf::sync() {
  if (m_file == nullptr || !m_writing) return 0;
  return Flush(false) && pf::FlushStream(m_file) ? 0 : -1;
}

Utf8FileBuf::pos_type Utf8FileBuf::seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) {
  if (m_file == nullptr) return pos_type(off_type(-1));
  if (m_writing) {
    if (!Flush(true)) return pos_type(off_type(-1));
    if (off == 0 && dir == std::ios_base::cur) return pos_type(pf::TellStream(m_file));
  } else if (dir == std::ios_base::cur) {
    if (off == 0) return pos_type(ReadPosition());
    off += ReadPosition();  // relative moves are made absolute first
    dir = std::ios_base::beg;
  }
  const int origin = dir == std::ios_base::beg ? 0 : dir == std::ios_base::end ? 2 : 1;
  const int64_t position = pf::SeekStream(m_file, off, origin);
  if (position < 0) return pos_type(off_type(-1));
  DropInput();
  m_chunkStart = position;
  return pos_type(position);
}

Utf8FileBuf::pos_type Utf8FileBuf::seekpos(pos_type pos, std::ios_base::openmode which) {
  return seekoff(off_type(pos), std::ios_base::beg, which);
}

}  // namespace lu::detail
