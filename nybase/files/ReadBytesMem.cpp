// ReadBytesMem: bounded copies and in-place string views over a borrowed block.
#include <nybase/files/ReadBytesMem.h>

#include <climits>
#include <cstring>

namespace {

// Position arithmetic saturates instead of overflowing int.
int AddSaturated(int a, int b) {
  const long long sum = static_cast<long long>(a) + b;
  if (sum > INT_MAX) return INT_MAX;
  if (sum < INT_MIN) return INT_MIN;
  return static_cast<int>(sum);
}

}  // namespace

bool ReadBytesMem::ReadBytes(void* buffer, int size, int& done) {
  if (m_data == nullptr) return false;
  if (size < 0) {
    done = 0;
    return false;
  }
  const bool inside = m_position >= 0 && m_position <= m_size;
  const int left = inside ? m_size - m_position : 0;
  const int count = size < left ? size : left;
  if (count > 0) std::memcpy(buffer, static_cast<const char*>(m_data) + m_position, static_cast<size_t>(count));
  done = count;
  // On purpose by the requested size, not by the count copied: a short read leaves the position
  // past the end.
  m_position = AddSaturated(m_position, size);
  return count == size;
}

void ReadBytesMem::Attach(const void* data, int size) {
  m_data = data;
  m_size = size;
  m_position = 0;
}

void ReadBytesMem::Seek(int offset) { m_position = AddSaturated(m_position, offset); }

bool ReadBytesMem::ReadString(lu::BasicStringView<char>& view) {
  if (m_position == m_size) return false;
  if (m_data == nullptr || m_position < 0 || m_position > m_size) return false;
  const char* start = static_cast<const char*>(m_data) + m_position;
  const void* nul = std::memchr(start, 0, static_cast<size_t>(m_size - m_position));
  if (nul == nullptr) return false;
  const char* end = static_cast<const char*>(nul);
  view = lu::BasicStringView<char>(start, static_cast<size_t>(end - start));
  m_position += static_cast<int>(end - start) + 1;
  return true;
}
