// Helpers of the chunk-class tests: files on disk opened as lu::File, and little-endian peeks.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>

#include <nybase/audio/NyWavFile.h>
#include <nybase/files/File.h>

#include "WavTestFiles.h"

namespace nytest {

// An existing file opened for reading and writing in place (no append, no truncation).
inline lu::File OpenInPlace(const std::string& nativePath) {
  return lu::File::CreateOwner(std::fopen(nativePath.c_str(), "r+b"));
}

// A new, empty file for writing and reading back.
inline lu::File CreateOutput(const TempDir& dir, const std::string& name) {
  lu::File out;
  out.Open(lu::Path(dir.Wide(name)), NyOpenModeWriteOverwrite, 0);
  return out;
}

inline uint32_t GetU32(const Bytes& b, size_t at) {
  uint32_t v = 0;
  if (at + 4 <= b.size()) std::memcpy(&v, b.data() + at, 4);
  return v;
}

inline uint32_t GetU32BE(const Bytes& b, size_t at) { return __builtin_bswap32(GetU32(b, at)); }

inline void SetU32(Bytes& b, size_t at, uint32_t v) { std::memcpy(b.data() + at, &v, 4); }

// Offset of the first chunk header with this identifier after the 12-byte outer header, or npos.
// Sizes are read little-endian unless bigEndian.
inline size_t FindChunk(const Bytes& b, const char (&id)[5], bool bigEndian = false) {
  size_t pos = 12;
  while (pos + 8 <= b.size()) {
    if (std::memcmp(b.data() + pos, id, 4) == 0) return pos;
    const uint32_t size = bigEndian ? GetU32BE(b, pos + 4) : GetU32(b, pos + 4);
    pos += 8 + size + (size & 1);
  }
  return std::string::npos;
}

// Writes `bytes` into `dir/name` and returns the native path.
inline std::string Store(const TempDir& dir, const std::string& name, const Bytes& bytes) {
  const std::string path = dir.Native(name);
  WriteFileBytes(path, bytes);
  return path;
}

}  // namespace nytest
