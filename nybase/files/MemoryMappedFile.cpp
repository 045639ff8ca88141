// lu::MemoryMappedFile on the platform's mapping services.
#include <nybase/files/MemoryMappedFile.h>

#include <utility>

#include <nybase/platform/FileApi.h>
#include <nybase/platform/FileMapping.h>
#include <nybase/platform/LastError.h>

namespace pf = lu::platform;

namespace lu {

MemoryMappedFile::~MemoryMappedFile() {
  if (m_mapping != nullptr) Unmap();
}

void* MemoryMappedFile::Map(const lu::Path& path, NyOpenMode mode, unsigned int flags, unsigned long long size) {
  // Mapping again is outside the contract; the earlier mapping is released rather than leaked.
  if (m_mapping != nullptr) Unmap();
  m_lastError = FileErrorNone;
  pf::SetLastError(pf::k_errorSuccess);
  const NyOpenMode openMode = mode == NyOpenModeWrite ? NyOpenModeReadWrite : mode;
  File file;
  pf::MappingState* mapping = nullptr;
  void* view = nullptr;
  if (file.Open(path, openMode, flags) == NYRESULT_SUCCESS) {
    if (size == 0) size = file.GetFileSize();
    const pf::FileHandle handle = pf::GetStreamHandle(static_cast<FILE*>(file.GetFileHandle()));
    const bool readOnly = mode == NyOpenModeRead;
    if (size == ~0ull) {
      // The size query failed; its error stands.
    } else if (size == 0) {
      pf::SetLastError(pf::k_errorFileInvalid);  // an empty file cannot be mapped
    } else {
      mapping = pf::CreateFileMappingW(handle, readOnly ? pf::k_pageReadOnly : pf::k_pageReadWrite, size);
      if (mapping != nullptr) view = pf::MapViewOfFile(mapping, readOnly ? pf::k_fileMapRead : pf::k_fileMapAllAccess);
    }
  }
  if (view == nullptr) {
    m_lastError = File::GetLastError();
    if (mapping != nullptr) pf::CloseMappingHandle(mapping);
    file.Close();
    m_file.Close();
    m_fileSize = ~0ull;
    return nullptr;
  }
  m_file = std::move(file);
  m_mapping = mapping;
  m_view = view;
  m_fileSize = size;
  return view;
}

bool MemoryMappedFile::Release(bool truncate, unsigned long long size) {
  if (m_mapping == nullptr) return false;
  pf::UnmapViewOfFile(m_view);
  pf::CloseMappingHandle(m_mapping);
  m_view = nullptr;
  m_mapping = nullptr;
  if (truncate) {
    m_file.SetFilePointer(static_cast<long long>(size), FilePointerBegin);
    m_file.SetEndOfFile();
  }
  const bool closed = m_file.Close() == NYRESULT_SUCCESS;
  m_fileSize = ~0ull;
  return closed;
}

bool MemoryMappedFile::Unmap() { return Release(false, 0); }

bool MemoryMappedFile::UnmapAndTruncate(unsigned long long size) { return Release(true, size); }

}  // namespace lu
