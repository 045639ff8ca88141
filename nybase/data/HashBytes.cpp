// HashBytes: the FNV-1 loop.
#include <nybase/data/HashBytes.h>

bool HashBytes::WriteBytes(const void* data, int size, int& written) {
  const auto* p = static_cast<const unsigned char*>(data);
  uint32_t hash = m_hash;
  for (int i = 0; i < size; ++i) hash = (hash * 16777619u) ^ p[i];
  m_hash = hash;
  written = size;
  return true;
}
