// lu::MemoryMappedFile: a whole file mapped into memory as one pointer.
#pragma once

#include <nybase/files/File.h>
#include <nybase/files/Path.h>

namespace lu {

namespace platform {
struct MappingState;
}

// Holds at most one mapping, with the file it maps. One thread at a time; not copyable.
class MemoryMappedFile {
 public:
  MemoryMappedFile() = default;
  MemoryMappedFile(const MemoryMappedFile&) = delete;
  MemoryMappedFile& operator=(const MemoryMappedFile&) = delete;
  // Unmaps a mapping that is still held.
  virtual ~MemoryMappedFile();

  // Opens `path` with `mode` (NyOpenModeWrite is raised to NyOpenModeReadWrite, since a mapping
  // cannot be write-only) and `flags`, and maps `size` bytes, or the whole file when `size` is 0.
  // A size above the file's size extends the file (not in NyOpenModeRead, where it fails). A
  // read-only mapping for NyOpenModeRead, a shared read-write one otherwise. Returns the view, or
  // null with GetLastError set (an empty file with size 0 fails). Not meant to be called while a
  // mapping is held; if it is, that mapping is released first.
  void* Map(const lu::Path& path, NyOpenMode mode, unsigned int flags, unsigned long long size);
  // Unmaps, closes the file and forgets the size. False when nothing is mapped; otherwise whether
  // the file closed cleanly.
  bool Unmap();
  // As Unmap, but the file is cut to `size` bytes before it closes. False with no mapping, and
  // then the file is not touched.
  bool UnmapAndTruncate(unsigned long long size);
  // The mapped size; all ones when nothing is mapped.
  unsigned long long GetFileSize() const { return m_fileSize; }
  // Why the last Map failed; FileErrorNone after a good one.
  lu::FileError GetLastError() { return m_lastError; }

 private:
  bool Release(bool truncate, unsigned long long size);

  lu::File m_file;
  unsigned long long m_fileSize = ~0ull;
  platform::MappingState* m_mapping = nullptr;
  void* m_view = nullptr;
  lu::FileError m_lastError = FileErrorNone;
};

}  // namespace lu
