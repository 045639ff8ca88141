// POSIX backend of the file services: open + flock + ftruncate behind the Windows-shaped open,
// stdio streams, futimens/statx times and an opendir search with Windows wildcards.
#include <dirent.h>
#include <fcntl.h>
#include <nybase/platform/DirectoryApi.h>
#include <nybase/platform/FileApi.h>
#include <nybase/platform/LastError.h>
#include <nybase/platform/posix/NativeNameChecks.h>
#include <nybase/platform/NativePath.h>
#include <nybase/platform/Utf.h>
#include <stdio_ext.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace lu::platform {

using detail::HasForbiddenChar;
using detail::MissingError;

namespace {

// What must happen when a handle closes: a pinned last write time is put back after the final
// flush, and a delete-on-close name is removed if it still names the same file.
struct CloseAction {
  dev_t dev = 0;
  ino_t ino = 0;
  std::string deletePath;
  bool pinWriteTime = false;
  timespec writeTime{};
};

std::mutex& ActionsLock() {
  static std::mutex lock;
  return lock;
}
// Never destroyed: a File closed by a static destructor may still look here.
std::unordered_map<int, CloseAction>& Actions() {
  static auto* actions = new std::unordered_map<int, CloseAction>();
  return *actions;
}

// Removes and returns the action of `fd`, if it is registered for the file `fd` still refers to
// (a descriptor closed behind our back and reused for another file has no action).
bool TakeAction(int fd, CloseAction& out) {
  std::lock_guard<std::mutex> guard(ActionsLock());
  auto& actions = Actions();
  auto it = actions.find(fd);
  if (it == actions.end()) return false;
  out = std::move(it->second);
  actions.erase(it);
  struct stat st;
  return ::fstat(fd, &st) == 0 && st.st_dev == out.dev && st.st_ino == out.ino;
}

void ApplyBeforeClose(int fd, const CloseAction& action) {
  if (action.pinWriteTime) {
    const timespec times[2] = {{0, UTIME_OMIT}, action.writeTime};
    ::futimens(fd, times);
  }
}

void ApplyAfterClose(const CloseAction& action) {
  if (action.deletePath.empty()) return;
  struct stat st;
  if (::lstat(action.deletePath.c_str(), &st) == 0 && st.st_dev == action.dev && st.st_ino == action.ino) {
    ::unlink(action.deletePath.c_str());
  }
}

uint32_t Fail(int err) { return SetLastErrorFromErrno(err); }

// A stream used against its access (a read on a write-only stream, a write or a truncation on a
// read-only one) is an access error, as it is for a handle without that right.
void FailStream(int err) {
  if (err == EBADF) {
    SetLastError(k_errorAccessDenied);
  } else {
    Fail(err);
  }
}



bool MapPath(const wchar_t* path, size_t len, std::string& native) {
  if (!ToNativePath(path, len, native)) return false;
  if (HasForbiddenChar(native)) {
    SetLastError(k_errorInvalidName);
    return false;
  }
  return true;
}

int64_t ToFileTime(const timespec& ts) { return FileTimeFromUnix(ts.tv_sec, ts.tv_nsec); }

bool IsHiddenName(const char* name) {
  return name[0] == '.' && std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0;
}

constexpr const char* k_hiddenAttr = "user.nybase.hidden";

uint32_t AttributesOf(const struct stat& st, bool hidden) {
  uint32_t a = 0;
  if (S_ISDIR(st.st_mode)) a |= k_fileAttributeDirectory;
  if ((st.st_mode & S_IWUSR) == 0) a |= k_fileAttributeReadOnly;
  if (hidden) a |= k_fileAttributeHidden;
  return a == 0 ? k_fileAttributeNormal : a;
}

const char* BaseName(const std::string& native) {
  const size_t slash = native.find_last_of('/');
  return native.c_str() + (slash == std::string::npos ? 0 : slash + 1);
}

// Creation time when the file system keeps one, otherwise the last change of the inode.
int64_t CreationTime(int dirfd, const char* name, int flags, const struct stat& st) {
  struct statx sx;
  if (::statx(dirfd, name, flags, STATX_BTIME, &sx) == 0 && (sx.stx_mask & STATX_BTIME) != 0) {
    return FileTimeFromUnix(sx.stx_btime.tv_sec, sx.stx_btime.tv_nsec);
  }
  return ToFileTime(st.st_ctim);
}

}  // namespace

int64_t FileTimeFromUnix(int64_t seconds, long nanoseconds) {
  return seconds * k_fileTimeUnitsPerSecond + nanoseconds / 100 + k_fileTimeUnixEpoch;
}

void FileTimeToUnix(int64_t fileTime, int64_t& seconds, long& nanoseconds) {
  const int64_t units = fileTime - k_fileTimeUnixEpoch;
  int64_t s = units / k_fileTimeUnitsPerSecond;
  int64_t rest = units % k_fileTimeUnitsPerSecond;
  if (rest < 0) {
    rest += k_fileTimeUnitsPerSecond;
    --s;
  }
  seconds = s;
  nanoseconds = static_cast<long>(rest * 100);
}

FileHandle CreateFileW(const wchar_t* path, size_t len, uint32_t access, uint32_t shareMode,
                       uint32_t disposition, uint32_t flagsAndAttributes) {
  std::string native;
  if (!MapPath(path, len, native)) return k_invalidFileHandle;
  const bool wantRead = (access & k_genericRead) != 0;
  const bool wantWrite = (access & k_genericWrite) != 0;
  const bool deleteOnClose = (flagsAndAttributes & k_fileFlagDeleteOnClose) != 0;
  if (disposition < k_createNew || disposition > k_truncateExisting ||
      (disposition == k_truncateExisting && !wantWrite)) {
    SetLastError(k_errorInvalidParameter);
    return k_invalidFileHandle;
  }
  // O_NONBLOCK keeps a FIFO from stalling the open; it is cleared again below.
  const int base =
      (wantWrite ? (wantRead ? O_RDWR : O_WRONLY) : O_RDONLY) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

  int fd = -1;
  bool created = false;
  if (disposition == k_createNew) {
    fd = ::open(native.c_str(), base | O_CREAT | O_EXCL, 0666);
    created = fd >= 0;
  } else if (disposition == k_openExisting || disposition == k_truncateExisting) {
    fd = ::open(native.c_str(), base);
  } else {
    // Open first and create only when missing, so an existing file is never emptied before the
    // share check and the creator knows it created the file.
    for (int attempt = 0; attempt < 16; ++attempt) {
      fd = ::open(native.c_str(), base);
      if (fd >= 0 || errno != ENOENT) break;
      fd = ::open(native.c_str(), base | O_CREAT | O_EXCL, 0666);
      if (fd >= 0) {
        created = true;
        break;
      }
      if (errno != EEXIST) break;
    }
  }
  if (fd < 0) {
    const int err = errno;
    if (err == ENOENT) {
      SetLastError(MissingError(native));
    } else if (err == EISDIR) {
      SetLastError(k_errorAccessDenied);
    } else {
      Fail(err);
    }
    return k_invalidFileHandle;
  }

  auto refuse = [&](uint32_t error) {
    ::close(fd);
    if (created) ::unlink(native.c_str());
    SetLastError(error);
    return k_invalidFileHandle;
  };
  struct stat st;
  if (::fstat(fd, &st) != 0) return refuse(ErrorFromErrno(errno));
  if (S_ISDIR(st.st_mode)) return refuse(k_errorAccessDenied);
  // Read-only means no owner write bit, for every user (root included).
  if (!created && (wantWrite || deleteOnClose) && (st.st_mode & S_IWUSR) == 0) {
    return refuse(k_errorAccessDenied);
  }
  if (S_ISREG(st.st_mode)) {
    // Readers that share reading coexist; a writer, an exclusive or a delete-on-close handle
    // coexists with nobody (no handle of this library ever shares writing or deleting).
    const bool sharedOnly = !wantWrite && !deleteOnClose && (shareMode & k_fileShareRead) != 0;
    int rc;
    do {
      rc = ::flock(fd, (sharedOnly ? LOCK_SH : LOCK_EX) | LOCK_NB);
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) return refuse(errno == EWOULDBLOCK ? k_errorSharingViolation : ErrorFromErrno(errno));
    if (!created && (disposition == k_createAlways || disposition == k_truncateExisting) && st.st_size != 0) {
      if (::ftruncate(fd, 0) != 0) return refuse(ErrorFromErrno(errno));
    }
    if (flagsAndAttributes & k_fileFlagSequentialScan) ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
  }
  const int fl = ::fcntl(fd, F_GETFL);
  if (fl != -1) ::fcntl(fd, F_SETFL, fl & ~O_NONBLOCK);

  if (deleteOnClose) {
    CloseAction action;
    action.dev = st.st_dev;
    action.ino = st.st_ino;
    // The file itself is removed, by absolute name: through a link the target goes, as the handle
    // refers to the target, and a change of directory before the close does not matter.
    char* real = ::realpath(native.c_str(), nullptr);
    if (real == nullptr) return refuse(ErrorFromErrno(errno));
    action.deletePath = real;
    std::free(real);
    std::lock_guard<std::mutex> guard(ActionsLock());
    Actions()[fd] = std::move(action);
  } else {
    // A descriptor number reused after a close behind our back must not inherit an action.
    std::lock_guard<std::mutex> guard(ActionsLock());
    Actions().erase(fd);
  }
  SetLastError(k_errorSuccess);
  return fd;
}

bool CloseHandle(FileHandle handle) {
  if (handle < 0) {
    SetLastError(k_errorInvalidHandle);
    return false;
  }
  CloseAction action;
  const bool hasAction = TakeAction(handle, action);
  if (hasAction) ApplyBeforeClose(handle, action);
  const int rc = ::close(handle);
  const int err = errno;
  if (hasAction) ApplyAfterClose(action);
  if (rc != 0 && err != EINTR) {
    Fail(err);
    return false;
  }
  return true;
}

FILE* OpenStream(FileHandle handle, bool append, const char* mode) {
  if (handle < 0 || mode == nullptr) {
    SetLastError(k_errorInvalidHandle);
    return nullptr;
  }
  if (append) {
    const int fl = ::fcntl(handle, F_GETFL);
    if (fl == -1 || ::fcntl(handle, F_SETFL, fl | O_APPEND) == -1) {
      Fail(errno);
      return nullptr;
    }
  }
  FILE* stream = ::fdopen(handle, mode);
  if (stream == nullptr) Fail(errno);
  return stream;
}

CloseResult CloseStream(FILE* stream) {
  if (stream == nullptr) {
    SetLastError(k_errorInvalidHandle);
    return CloseResult::FailedClosed;
  }
  // Flushing first keeps a stream whose data cannot be written usable instead of losing it.
  if (std::fflush(stream) != 0) {
    Fail(errno);
    std::clearerr(stream);
    return CloseResult::StillOpen;
  }
  const int fd = ::fileno(stream);
  CloseAction action;
  const bool hasAction = fd >= 0 && TakeAction(fd, action);
  if (hasAction) ApplyBeforeClose(fd, action);
  const int rc = std::fclose(stream);
  const int err = errno;
  if (hasAction) ApplyAfterClose(action);
  if (rc != 0) {
    Fail(err);
    return CloseResult::FailedClosed;
  }
  return CloseResult::Closed;
}

void DiscardStream(FILE* stream) {
  if (stream == nullptr) return;
  ::__fpurge(stream);
  const int fd = ::fileno(stream);
  CloseAction action;
  const bool hasAction = fd >= 0 && TakeAction(fd, action);
  if (hasAction) ApplyBeforeClose(fd, action);
  std::fclose(stream);
  if (hasAction) ApplyAfterClose(action);
}

FileHandle GetStreamHandle(FILE* stream) { return stream ? ::fileno(stream) : k_invalidFileHandle; }

namespace {

// Requests at least this large (and at least the stream's buffer) skip the stream's buffer.
constexpr size_t k_directReadMin = 16384;

// Whether the stream caches nothing: no read-ahead, no pending write, no pushed-back bytes and
// no remembered file offset. Then its position is the descriptor's, and a read(2) on the
// descriptor keeps the two in step. Streams whose state cannot be inspected never qualify.
bool CachesNothing(FILE* stream) {
#if defined(__GLIBC__)
  return stream->_IO_read_ptr == stream->_IO_read_end && stream->_IO_write_ptr == stream->_IO_write_base &&
         stream->_IO_save_base == nullptr && stream->_offset == -1;
#else
  (void)stream;
  return false;
#endif
}

// Reads a large request with read(2) straight into the caller's memory: one system call instead
// of fread's two (a direct read of whole buffers plus a buffered read for the remainder, which
// leaves the stream misaligned so that every later request splits again). A stream that caches
// something is flushed first, which hands its position to the descriptor and drops its
// read-ahead; the flush is skipped otherwise because its cost shows on page-cached files.
// Returns false, having read nothing, when the stream cannot be handed over (an unseekable
// stream that still holds read-ahead, or one whose state cannot be inspected).
bool ReadDirect(FILE* stream, void* buffer, size_t size, size_t& done) {
  done = 0;
  if (size < k_directReadMin || size < ::__fbufsize(stream)) return false;
  // A stream over memory has no descriptor to read from.
  const int fd = ::fileno(stream);
  if (fd < 0) return false;
  if (!CachesNothing(stream)) {
    if (std::fflush(stream) != 0) {
      std::clearerr(stream);
      return false;
    }
    if (!CachesNothing(stream)) return false;
  }
  auto* out = static_cast<unsigned char*>(buffer);
  while (done < size) {
    const ssize_t n = ::read(fd, out + done, size - done);
    if (n > 0) {
      done += static_cast<size_t>(n);
    } else if (n == 0) {
      break;
    } else if (errno != EINTR) {
      FailStream(errno);
      break;
    }
  }
  return true;
}

}  // namespace

size_t ReadStream(FILE* stream, void* buffer, size_t size) {
  // An empty request touches nothing: the buffer may legitimately be null then.
  if (size == 0) return 0;
  size_t direct = 0;
  if (ReadDirect(stream, buffer, size, direct)) return direct;
  const size_t n = std::fread(buffer, 1, size, stream);
  if (n < size) {
    if (std::ferror(stream)) FailStream(errno);
    // End of file is not sticky: data appended later by another handle can still be read.
    std::clearerr(stream);
  }
  return n;
}

size_t WriteStream(FILE* stream, const void* buffer, size_t size) {
  if (size == 0) return 0;
  const size_t n = std::fwrite(buffer, 1, size, stream);
  if (n < size) {
    FailStream(std::ferror(stream) ? errno : EIO);
    std::clearerr(stream);
  }
  return n;
}

int64_t SeekStream(FILE* stream, int64_t offset, int origin) {
  const int whence = origin == 1 ? SEEK_CUR : origin == 2 ? SEEK_END : SEEK_SET;
  if (::fseeko(stream, static_cast<off_t>(offset), whence) != 0) {
    Fail(errno);
    return -1;
  }
  return TellStream(stream);
}

int64_t TellStream(FILE* stream) {
  const off_t pos = ::ftello(stream);
  if (pos < 0) Fail(errno);
  return pos < 0 ? -1 : static_cast<int64_t>(pos);
}

bool FlushStream(FILE* stream) {
  if (std::fflush(stream) != 0) {
    Fail(errno);
    if (stream) std::clearerr(stream);
    return false;
  }
  return true;
}

RangeCopy CopyStreamRange(FILE* source, int64_t sourceOffset, FILE* target, size_t size, size_t& copied) {
  copied = 0;
  const off_t start = ::ftello(target);
  if (start < 0 || sourceOffset < 0) {
    Fail(start < 0 ? errno : EINVAL);
    return RangeCopy::Failed;
  }
  if (std::fflush(target) != 0 || (source != target && std::fflush(source) != 0)) {
    Fail(errno);
    std::clearerr(target);
    std::clearerr(source);
    return RangeCopy::Failed;
  }
  // Explicit offsets leave both descriptors' positions alone; the target stream is moved once,
  // at the end, so its cached position never disagrees with the file.
  off_t in = static_cast<off_t>(sourceOffset);
  off_t out = start;
  while (copied < size) {
    const ssize_t n = ::copy_file_range(::fileno(source), &in, ::fileno(target), &out, size - copied, 0);
    if (n > 0) {
      copied += static_cast<size_t>(n);
      continue;
    }
    if (n == 0) break;  // the source file ends here
    const int err = errno;
    if (err == EINTR) continue;
    if (copied == 0 && (err == EXDEV || err == EINVAL || err == EBADF || err == ENOSYS || err == EOPNOTSUPP ||
                        err == ETXTBSY || err == EPERM)) {
      return RangeCopy::Unsupported;
    }
    Fail(err);
    if (copied > 0) ::fseeko(target, out, SEEK_SET);
    return RangeCopy::Failed;
  }
  if (::fseeko(target, out, SEEK_SET) != 0) {
    Fail(errno);
    return RangeCopy::Failed;
  }
  return RangeCopy::Copied;
}

bool SetEndOfFile(FILE* stream) {
  // Pending writes go out first and read-ahead is dropped, so the file ends up as if the
  // buffered bytes had been written at the position before the cut, and no stale byte beyond
  // the new end can be read back.
  if (std::fflush(stream) != 0) {
    Fail(errno);
    std::clearerr(stream);
    return false;
  }
  const off_t pos = ::ftello(stream);
  if (pos < 0) {
    Fail(errno);
    return false;
  }
  if (::ftruncate(::fileno(stream), pos) != 0) {
    const int err = errno;
    const int fl = ::fcntl(::fileno(stream), F_GETFL);
    FailStream(fl != -1 && (fl & O_ACCMODE) == O_RDONLY ? EBADF : err);
    return false;
  }
  return true;
}

bool GetFileSize(FileHandle handle, uint64_t& size) {
  struct stat st;
  if (::fstat(handle, &st) != 0) {
    Fail(errno);
    return false;
  }
  size = S_ISDIR(st.st_mode) ? 0 : static_cast<uint64_t>(st.st_size);
  return true;
}

bool GetFileInformationByHandle(FileHandle handle, FileInformation& info) {
  struct stat st;
  if (::fstat(handle, &st) != 0) {
    Fail(errno);
    return false;
  }
  const bool hidden = ::fgetxattr(handle, k_hiddenAttr, nullptr, 0) >= 0;
  info.attributes = AttributesOf(st, hidden);
  info.creationTime = CreationTime(handle, "", AT_EMPTY_PATH, st);
  info.lastAccessTime = ToFileTime(st.st_atim);
  info.lastWriteTime = ToFileTime(st.st_mtim);
  info.volumeSerialNumber = static_cast<uint64_t>(st.st_dev);
  info.fileSize = S_ISDIR(st.st_mode) ? 0 : static_cast<uint64_t>(st.st_size);
  info.numberOfLinks = static_cast<uint32_t>(st.st_nlink);
  info.fileIndex = static_cast<uint64_t>(st.st_ino);
  return true;
}

bool SetFileTime(FileHandle handle, const int64_t* creationTime, const int64_t* lastAccessTime,
                 const int64_t* lastWriteTime) {
  // The creation time cannot be set on Linux; it is accepted and left as it is.
  (void)creationTime;
  timespec times[2] = {{0, UTIME_OMIT}, {0, UTIME_OMIT}};
  int64_t sec;
  long nsec;
  if (lastAccessTime) {
    FileTimeToUnix(*lastAccessTime, sec, nsec);
    times[0] = {static_cast<time_t>(sec), nsec};
  }
  if (lastWriteTime) {
    FileTimeToUnix(*lastWriteTime, sec, nsec);
    times[1] = {static_cast<time_t>(sec), nsec};
  }
  if (::futimens(handle, times) != 0) {
    Fail(errno);
    return false;
  }
  if (lastWriteTime) {
    struct stat st;
    if (::fstat(handle, &st) == 0) {
      std::lock_guard<std::mutex> guard(ActionsLock());
      CloseAction& action = Actions()[handle];
      if (action.dev != st.st_dev || action.ino != st.st_ino) action = CloseAction{};
      action.dev = st.st_dev;
      action.ino = st.st_ino;
      action.pinWriteTime = true;
      action.writeTime = times[1];
    }
  }
  return true;
}

bool GetFileAttributesExW(const wchar_t* path, size_t len, FileAttributeData& data) {
  std::string native;
  if (!MapPath(path, len, native)) return false;
  struct stat st;
  if (::stat(native.c_str(), &st) != 0) {
    const int err = errno;
    SetLastError(err == ENOENT ? MissingError(native) : ErrorFromErrno(err));
    return false;
  }
  const bool hidden =
      IsHiddenName(BaseName(native)) || ::getxattr(native.c_str(), k_hiddenAttr, nullptr, 0) >= 0;
  data.attributes = AttributesOf(st, hidden);
  data.creationTime = CreationTime(AT_FDCWD, native.c_str(), 0, st);
  data.lastAccessTime = ToFileTime(st.st_atim);
  data.lastWriteTime = ToFileTime(st.st_mtim);
  data.fileSize = S_ISDIR(st.st_mode) ? 0 : static_cast<uint64_t>(st.st_size);
  return true;
}

// ---- Search ----

struct FindState {
  std::string directory;           // native directory of the entries ("." for the current one)
  std::vector<std::string> names;  // matching entries, in order
  std::vector<unsigned char> types;  // their directory entry types (DT_UNKNOWN when not listed)
  std::vector<std::wstring> wideNames;  // their UTF-16 forms, when the listing made them
  FindInfoLevel level = FindInfoLevel::Standard;
  size_t next = 0;
};

namespace {

wchar_t FoldCase(wchar_t c) {
  if (c >= L'a' && c <= L'z') return static_cast<wchar_t>(c - L'a' + L'A');
  if (c < 0x80) return c;
  return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
}

// Windows wildcard match without regard to case: '*' any run of units, '?' exactly one unit;
// "*.*" matches every name, dotted or not.
bool WildcardMatch(const std::wstring& pattern, std::wstring_view name) {
  if (pattern == L"*.*" || pattern == L"*") return true;
  size_t p = 0, n = 0, starP = std::wstring::npos, starN = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == L'*') {
      starP = p++;
      starN = n;
    } else if (p < pattern.size() && (pattern[p] == L'?' || FoldCase(pattern[p]) == FoldCase(name[n]))) {
      ++p;
      ++n;
    } else if (starP != std::wstring::npos) {
      p = starP + 1;
      n = ++starN;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == L'*') ++p;
  return p == pattern.size();
}

bool OrderNames(const std::wstring& a, const std::wstring& b) {
  const size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    const wchar_t x = FoldCase(a[i]), y = FoldCase(b[i]);
    if (x != y) return x < y;
  }
  return a.size() < b.size();
}

void CopyWide(const std::wstring& wide, FindData& data) {
  const size_t count = std::min(wide.size(), sizeof data.fileName / sizeof data.fileName[0] - 1);
  std::copy(wide.begin(), wide.begin() + static_cast<std::ptrdiff_t>(count), data.fileName);
  data.fileName[count] = 0;
}

void CopyName(const std::string& name, FindData& data) {
  const std::wstring wide = Utf8ToUtf16(name.data(), name.size());
  const size_t count = std::min(wide.size(), sizeof data.fileName / sizeof data.fileName[0] - 1);
  std::copy(wide.begin(), wide.begin() + static_cast<std::ptrdiff_t>(count), data.fileName);
  data.fileName[count] = 0;
}

// The kind from the directory entry alone; links and unknown types take one stat (following the
// link, as the standard level does). False when the entry vanished.
bool FillKind(const FindState& state, const std::string& name, unsigned char type, const std::wstring* wide,
              FindData& data) {
  // Field by field rather than `data = FindData{}`: the name is copied with its terminator, and
  // clearing its whole array (over 1 KB) for every entry of a walk is not free.
  data.attributes = 0;
  data.creationTime = 0;
  data.lastAccessTime = 0;
  data.lastWriteTime = 0;
  data.fileSize = 0;
  bool directory = type == DT_DIR;
  bool link = type == DT_LNK;
  if (type == DT_UNKNOWN || type == DT_LNK) {
    const std::string full = state.directory + "/" + name;
    struct stat st;
    if (type == DT_UNKNOWN) {
      if (::lstat(full.c_str(), &st) != 0) return false;
      link = S_ISLNK(st.st_mode);
    }
    if (link || type == DT_UNKNOWN) {
      if (::stat(full.c_str(), &st) != 0 && ::lstat(full.c_str(), &st) != 0) return false;
    }
    directory = S_ISDIR(st.st_mode);
  }
  data.attributes = directory ? k_fileAttributeDirectory : k_fileAttributeNormal;
  if (link) data.attributes |= k_fileAttributeReparsePoint;
  if (wide) {
    CopyWide(*wide, data);
  } else {
    CopyName(name, data);
  }
  return true;
}

bool FillFindData(const FindState& state, const std::string& name, unsigned char type, FindData& data) {
  const std::string full = state.directory + "/" + name;
  struct stat st;
  if (::stat(full.c_str(), &st) != 0 && ::lstat(full.c_str(), &st) != 0) return false;
  const bool hidden = IsHiddenName(name.c_str()) || ::getxattr(full.c_str(), k_hiddenAttr, nullptr, 0) >= 0;
  data.attributes = AttributesOf(st, hidden);
  data.creationTime = CreationTime(AT_FDCWD, full.c_str(), 0, st);
  data.lastAccessTime = ToFileTime(st.st_atim);
  data.lastWriteTime = ToFileTime(st.st_mtim);
  data.fileSize = S_ISDIR(st.st_mode) ? 0 : static_cast<uint64_t>(st.st_size);
  if (type == DT_LNK) data.attributes |= k_fileAttributeReparsePoint;
  CopyName(name, data);
  return true;
}

// Hands out the next entry that can still be described (one removed meanwhile is skipped).
bool NextEntry(FindState& state, FindData& data) {
  while (state.next < state.names.size()) {
    const size_t i = state.next++;
    const bool filled = state.level == FindInfoLevel::NamesAndKinds
                            ? FillKind(state, state.names[i], state.types[i],
                                       i < state.wideNames.size() ? &state.wideNames[i] : nullptr, data)
                            : FillFindData(state, state.names[i], state.types[i], data);
    if (filled) return true;
  }
  SetLastError(k_errorNoMoreFiles);
  return false;
}

}  // namespace

FindHandle FindFirstFileExW(const wchar_t* pattern, size_t len, FindData& data, FindInfoLevel level) {
  std::string native;
  if (!ToNativePath(pattern, len, native)) return nullptr;
  const size_t slash = native.find_last_of('/');
  std::string dir = slash == std::string::npos ? std::string(".")
                    : slash == 0               ? std::string("/")
                                               : native.substr(0, slash);
  const std::string last = slash == std::string::npos ? native : native.substr(slash + 1);
  if (HasForbiddenChar(dir)) {
    SetLastError(k_errorInvalidName);
    return nullptr;
  }
  if (last.empty()) {
    SetLastError(k_errorFileNotFound);
    return nullptr;
  }
  auto state = std::make_unique<FindState>();
  state->directory = dir;
  state->level = level;
  if (last.find_first_of("*?") == std::string::npos) {
    if (HasForbiddenChar(last)) {
      SetLastError(k_errorInvalidName);
      return nullptr;
    }
    state->names.push_back(last);
    state->types.push_back(DT_UNKNOWN);
  } else {
    DIR* d = ::opendir(dir.c_str());
    if (d == nullptr) {
      const int err = errno;
      SetLastError(err == ENOENT ? k_errorPathNotFound : ErrorFromErrno(err));
      return nullptr;
    }
    const std::wstring wpattern = Utf8ToUtf16(last.data(), last.size());
    struct Found {
      std::wstring wide;
      std::string name;
      unsigned char type;
    };
    std::vector<Found> found;
    while (dirent* e = ::readdir(d)) {
      const size_t n = std::strlen(e->d_name);
      if (!IsValidUtf8Name(e->d_name, n)) {
        CountSkippedName();
        continue;
      }
      std::wstring wname = Utf8ToUtf16(e->d_name, n);
      if (WildcardMatch(wpattern, wname)) found.push_back({std::move(wname), std::string(e->d_name, n), e->d_type});
    }
    ::closedir(d);
    std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) { return OrderNames(a.wide, b.wide); });
    state->names.reserve(found.size());
    state->types.reserve(found.size());
    state->wideNames.reserve(found.size());
    for (auto& f : found) {
      state->names.push_back(std::move(f.name));
      state->types.push_back(f.type);
      state->wideNames.push_back(std::move(f.wide));
    }
  }
  if (!NextEntry(*state, data)) {
    struct stat st;
    const bool dirMissing = ::stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode);
    SetLastError(dirMissing ? k_errorPathNotFound : k_errorFileNotFound);
    return nullptr;
  }
  return state.release();
}

bool FindNextFileW(FindHandle find, FindData& data) {
  if (find == nullptr) {
    SetLastError(k_errorInvalidHandle);
    return false;
  }
  return NextEntry(*find, data);
}

bool FindClose(FindHandle find) {
  delete find;
  return true;
}

bool MatchesSearchPattern(const std::wstring& pattern, const wchar_t* name, size_t len) {
  return WildcardMatch(pattern, std::wstring_view(name, len));
}

}  // namespace lu::platform
