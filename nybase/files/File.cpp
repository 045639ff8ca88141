// lu::File on the platform's Windows-shaped open and its buffered streams.
#include <nybase/files/File.h>
#include <nybase/platform/FileApi.h>
#include <nybase/platform/LastError.h>

#include <utility>

namespace lu {

namespace {

namespace pf = lu::platform;

struct ModeInfo {
  uint32_t access;
  uint32_t disposition;
  const char* stdioMode;
  bool append;
};

// Indexed by NyOpenMode.
constexpr ModeInfo k_modes[] = {
    {pf::k_genericRead, pf::k_openExisting, "rb", false},
    {pf::k_genericWrite, pf::k_openAlways, "ab", true},
    {pf::k_genericRead | pf::k_genericWrite, pf::k_createAlways, "w+b", false},
    {pf::k_genericRead | pf::k_genericWrite, pf::k_openAlways, "a+b", true},
};

// Seconds since 1970 of a file time, truncated towards zero.
int64_t ToUnixSeconds(int64_t fileTime) {
  return (fileTime - pf::k_fileTimeUnixEpoch) / pf::k_fileTimeUnitsPerSecond;
}

}  // namespace

File::File(void* stream, bool isView) : m_stream(static_cast<FILE*>(stream)), m_isView(isView) {}

File::File(const File& other) : m_stream(other.m_stream), m_isView(true) {}

File::File(File&& other) noexcept : m_stream(other.m_stream), m_isView(other.m_isView) {
  other.m_stream = nullptr;
  other.m_isView = true;
}

File& File::operator=(File&& other) noexcept {
  // Deliberately an exchange: the source ends as a view of the target's former stream, which
  // nobody closes any more. Callers assign only to a File that holds no open stream.
  std::swap(m_stream, other.m_stream);
  m_isView = other.m_isView;
  other.m_isView = true;
  return *this;
}

File::~File() {
  Close();
  if (m_stream != nullptr && !m_isView) {
    // The buffer could not be written (a full disk): drop it rather than leak the stream.
    pf::DiscardStream(m_stream);
    m_stream = nullptr;
  }
}

File File::CreateOwner(void* stream) { return File(stream, false); }

File File::CreateView(void* stream) { return File(stream, true); }

File File::CreateView(const File& file) { return File(file); }

NYRESULT File::Open(const lu::Path& path, NyOpenMode mode, unsigned int flags) {
  if (m_isView) return NYRESULT_FAILURE;
  const std::wstring& text = path;
  if (text.empty()) return NYRESULT_INVALID_PARAMETER;
  const int index = static_cast<int>(mode);
  if (index < 0 || index > 3) return NYRESULT_INVALID_PARAMETER;
  const ModeInfo& info = k_modes[index];

  const uint32_t share = (flags & NyFileFlagExclusive) ? 0 : pf::k_fileShareRead;
  const uint32_t disposition = (flags & NyFileFlagCreateNew) ? pf::k_createNew : info.disposition;
  uint32_t osFlags = pf::k_fileFlagSequentialScan;
  if (flags & NyFileFlagDeleteOnClose) osFlags |= pf::k_fileFlagDeleteOnClose;

  const pf::FileHandle handle =
      pf::CreateFileW(text.data(), text.size(), info.access, share, disposition, osFlags);
  if (handle == pf::k_invalidFileHandle) {
    const uint32_t error = pf::GetLastError();
    return error == pf::k_errorFileNotFound || error == pf::k_errorPathNotFound ? NYRESULT_FILE_NOT_FOUND
                                                                                : NYRESULT_FAILURE;
  }
  FILE* stream = pf::OpenStream(handle, info.append, info.stdioMode);
  if (stream == nullptr) {
    const uint32_t error = pf::GetLastError();
    pf::CloseHandle(handle);
    pf::SetLastError(error);
    return NYRESULT_FAILURE;
  }
  // Deliberately not closing an earlier stream: opening again only replaces the pointer.
  m_stream = stream;
  m_openFlags = flags;
  return NYRESULT_SUCCESS;
}

NYRESULT File::Close() {
  if (m_isView || m_stream == nullptr) return NYRESULT_FAILURE;
  switch (pf::CloseStream(m_stream)) {
    case pf::CloseResult::Closed:
      break;
    case pf::CloseResult::StillOpen:
      return NYRESULT_FAILURE;
    case pf::CloseResult::FailedClosed:
      // The stream is released even though its close failed; keeping the pointer would only
      // lead to a second close of freed memory.
      m_stream = nullptr;
      m_openFlags = 0;
      return NYRESULT_FAILURE;
  }
  m_stream = nullptr;
  m_openFlags = 0;
  return NYRESULT_SUCCESS;
}

bool File::IsOpen() const { return m_stream != nullptr; }

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-qualifiers"
#endif
void* const File::GetFileHandle() const { return m_stream; }
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

bool File::Flush() const {
  // A closed File passes null, which flushes every open stream; that reach is accepted.
  return pf::FlushStream(m_stream);
}

bool File::SetEndOfFile() const { return m_stream != nullptr && pf::SetEndOfFile(m_stream); }

long long File::SetFilePointer(long long offset, FilePointerPosition position) const {
  if (m_stream == nullptr) return -1;
  const int origin = position == FilePointerCurrent ? 1 : position == FilePointerEnd ? 2 : 0;
  return pf::SeekStream(m_stream, offset, origin);
}

unsigned long long File::GetFileSize() const {
  if (m_stream == nullptr) return ~0ull;
  const pf::FileHandle handle = pf::GetStreamHandle(m_stream);
  if (handle == pf::k_invalidFileHandle) {
    // A stream with no descriptor (one over memory) is measured by seeking to its end and back.
    const int64_t here = pf::TellStream(m_stream);
    if (here < 0) return ~0ull;
    const int64_t end = pf::SeekStream(m_stream, 0, 2);
    if (pf::SeekStream(m_stream, here, 0) != here || end < 0) return ~0ull;
    return static_cast<unsigned long long>(end);
  }
  uint64_t size = 0;
  if (!pf::GetFileSize(handle, size)) return ~0ull;
  return size;
}

FileInfo File::GetFileInfo() const {
  pf::FileInformation info;
  if (m_stream == nullptr || !pf::GetFileInformationByHandle(pf::GetStreamHandle(m_stream), info)) return {};
  return FileInfo{ToUnixSeconds(info.lastWriteTime), info.fileSize};
}

bool File::SetLastWriteTime(const lu::Path& source) const {
  if (m_stream == nullptr) return false;
  const std::wstring& text = source;
  pf::FileAttributeData data;
  if (!pf::GetFileAttributesExW(text.data(), text.size(), data)) return false;
  return pf::SetFileTime(pf::GetStreamHandle(m_stream), nullptr, nullptr, &data.lastWriteTime);
}

FileError File::GetLastError() {
  switch (pf::GetLastError()) {
    case pf::k_errorSuccess:
      return FileErrorNone;
    case pf::k_errorDiskFull:
      return FileErrorDiskFull;
    case pf::k_errorNoSystemResources:
      return FileErrorNoSystemResources;
    case pf::k_errorAccessDenied:
      return FileErrorAccessDenied;
    case pf::k_errorSharingViolation:
      return FileErrorSharingViolation;
    case pf::k_errorFileNotFound:
    case pf::k_errorPathNotFound:
      return FileErrorNotFound;
    default:
      return FileErrorOther;
  }
}

bool File::Read(void* buffer, unsigned int size, unsigned int& done) const {
  done = 0;
  if (m_stream == nullptr) return false;
  done = static_cast<unsigned int>(pf::ReadStream(m_stream, buffer, size));
  return true;
}

bool File::Read(void* buffer, unsigned int size) const {
  unsigned int done;
  return Read(buffer, size, done);
}

bool File::Read(void* buffer, unsigned int size, unsigned int& done, unsigned int expected) const {
  return Read(buffer, size, done) && done == expected;
}

bool File::ReadExact(void* buffer, unsigned int size) const {
  unsigned int done;
  return ReadExact(buffer, size, done);
}

bool File::ReadExact(void* buffer, unsigned int size, unsigned int& done) const {
  return Read(buffer, size, done) && done == size;
}

bool File::Write(const void* buffer, unsigned int size, unsigned int& done) const {
  done = 0;
  if (m_stream == nullptr) return false;
  done = static_cast<unsigned int>(pf::WriteStream(m_stream, buffer, size));
  return true;
}

bool File::Write(const void* buffer, unsigned int size) const {
  unsigned int done;
  return Write(buffer, size, done);
}

bool File::Write(const void* buffer, unsigned int size, unsigned int& done, unsigned int expected) const {
  return Write(buffer, size, done) && done == expected;
}

bool File::WriteExact(const void* buffer, unsigned int size) const {
  unsigned int done;
  return WriteExact(buffer, size, done);
}

bool File::WriteExact(const void* buffer, unsigned int size, unsigned int& done) const {
  return Write(buffer, size, done) && done == size;
}

FileInfo GetFileInfo(const CStdStr<wchar_t>& path) {
  pf::FindData data;
  pf::FindHandle find = pf::FindFirstFileExW(path.data(), path.size(), data);
  if (find == nullptr) return {};
  pf::FindClose(find);
  return FileInfo{ToUnixSeconds(data.lastWriteTime), data.fileSize};
}

}  // namespace lu
