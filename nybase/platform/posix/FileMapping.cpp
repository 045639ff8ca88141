// POSIX backend of the file mapping services: a duplicated descriptor, ftruncate and mmap.
#include <nybase/platform/FileMapping.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <mutex>

#include <nybase/platform/LastError.h>

namespace lu::platform {

struct MappingState {
  int fd = -1;
  uint64_t size = 0;
  bool writable = false;
};

namespace {

// munmap needs the length that UnmapViewOfFile is not given: every live view is recorded.
std::mutex& ViewsLock() {
  static std::mutex lock;
  return lock;
}
std::map<const void*, size_t>& Views() {
  static auto* views = new std::map<const void*, size_t>();
  return *views;
}

}  // namespace

MappingHandle CreateFileMappingW(FileHandle file, uint32_t protect, uint64_t maximumSize) {
  if (protect != k_pageReadOnly && protect != k_pageReadWrite) {
    SetLastError(k_errorInvalidParameter);
    return nullptr;
  }
  struct stat st;
  if (file < 0 || ::fstat(file, &st) != 0) {
    SetLastError(k_errorInvalidHandle);
    return nullptr;
  }
  const uint64_t current = static_cast<uint64_t>(st.st_size);
  const uint64_t size = maximumSize == 0 ? current : maximumSize;
  if (size == 0) {
    SetLastError(k_errorFileInvalid);
    return nullptr;
  }
  if (size > static_cast<uint64_t>(SIZE_MAX / 2)) {
    SetLastError(k_errorNotEnoughMemory);
    return nullptr;
  }
  const bool writable = protect == k_pageReadWrite;
  if (size > current) {
    if (!writable) {
      SetLastError(k_errorAccessDenied);
      return nullptr;
    }
    if (::ftruncate(file, static_cast<off_t>(size)) != 0) {
      SetLastErrorFromErrno(errno);
      return nullptr;
    }
  }
  const int fd = ::fcntl(file, F_DUPFD_CLOEXEC, 0);
  if (fd < 0) {
    SetLastErrorFromErrno(errno);
    return nullptr;
  }
  return new MappingState{fd, size, writable};
}

void* MapViewOfFile(MappingHandle mapping, uint32_t access) {
  if (mapping == nullptr) {
    SetLastError(k_errorInvalidHandle);
    return nullptr;
  }
  const bool write = access == k_fileMapAllAccess;
  if ((!write && access != k_fileMapRead) || (write && !mapping->writable)) {
    SetLastError(write ? k_errorAccessDenied : k_errorInvalidParameter);
    return nullptr;
  }
  const size_t length = static_cast<size_t>(mapping->size);
  void* view = ::mmap(nullptr, length, write ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, mapping->fd, 0);
  if (view == MAP_FAILED) {
    SetLastErrorFromErrno(errno);
    return nullptr;
  }
  std::lock_guard<std::mutex> guard(ViewsLock());
  Views()[view] = length;
  return view;
}

bool UnmapViewOfFile(const void* view) {
  size_t length = 0;
  {
    std::lock_guard<std::mutex> guard(ViewsLock());
    auto it = Views().find(view);
    if (it == Views().end()) {
      SetLastError(k_errorInvalidParameter);
      return false;
    }
    length = it->second;
    Views().erase(it);
  }
  if (::munmap(const_cast<void*>(view), length) != 0) {
    SetLastErrorFromErrno(errno);
    return false;
  }
  return true;
}

bool CloseMappingHandle(MappingHandle mapping) {
  if (mapping == nullptr) {
    SetLastError(k_errorInvalidHandle);
    return false;
  }
  const int result = ::close(mapping->fd);
  delete mapping;
  if (result != 0) {
    SetLastErrorFromErrno(errno);
    return false;
  }
  return true;
}

}  // namespace lu::platform
