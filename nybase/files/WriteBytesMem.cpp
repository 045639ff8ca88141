// WriteBytesMem: append-only growth in 1 KiB steps.
#include <nybase/files/WriteBytesMem.h>

#include <climits>
#include <cstdlib>
#include <cstring>

WriteBytesMem::~WriteBytesMem() { std::free(m_buffer); }

bool WriteBytesMem::Reserve(int required) {
  if (m_capacity >= required) return true;
  const long long rounded = (static_cast<long long>(required) + 1023) / 1024 * 1024;
  if (rounded > INT_MAX) return false;
  // A failed realloc keeps the old block; WriteBytes checks the room it got.
  void* grown = std::realloc(m_buffer, static_cast<size_t>(rounded));
  if (grown == nullptr) return false;
  m_buffer = static_cast<unsigned char*>(grown);
  m_capacity = static_cast<int>(rounded);
  return true;
}

bool WriteBytesMem::WriteBytesGrowing(const void* data, int size, int& done) {
  done = 0;
  if (size < 0 || m_count < 0 || static_cast<long long>(m_count) + size > INT_MAX) return false;
  Reserve(m_count + size);
  // The room is checked rather than trusting Reserve's answer (a derived Reserve may differ).
  if (size > 0 && (m_buffer == nullptr || m_capacity - m_count < size)) return false;
  if (size > 0) std::memcpy(m_buffer + m_count, data, static_cast<size_t>(size));
  m_count += size;
  done = size;
  return true;
}

unsigned char* WriteBytesMem::Detach() {
  unsigned char* block = m_buffer;
  m_buffer = nullptr;
  m_capacity = 0;
  m_count = 0;
  return block;
}

bool WriteBytesMem::WriteString(const lu::BasicStringView<char>& text) {
  const char nul = 0;
  int done = 0;
  if (text.size() < 1) return WriteBytes(&nul, 1, done);
  if (text.size() > static_cast<size_t>(INT_MAX)) return false;
  const int length = static_cast<int>(text.size());
  const bool wrote = WriteBytes(text.data(), length, done);
  int nulDone = 0;
  const bool ended = WriteBytes(&nul, 1, nulDone);
  return wrote && ended && done == length;
}
