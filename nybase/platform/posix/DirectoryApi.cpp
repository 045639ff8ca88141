// POSIX backend of the directory services: stat, mkdir, unlink/rmdir, rename, a copy_file_range
// copy with progress, chmod and xattr attributes, realpath, and an openat/readdir tree walk.
#include <dirent.h>
#include <fcntl.h>
#include <nybase/platform/DirectoryApi.h>
#include <nybase/platform/FileApi.h>
#include <nybase/platform/LastError.h>
#include <nybase/platform/posix/NativeNameChecks.h>
#include <nybase/platform/NativePath.h>
#include <nybase/platform/Utf.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace lu::platform {

using detail::HasForbiddenChar;
using detail::MissingError;

namespace {

constexpr const char* k_hiddenAttr = "user.nybase.hidden";
// Bytes per copy step: each step reports progress once.
constexpr size_t k_copyChunk = size_t{1} << 20;

thread_local uint64_t t_skippedNames = 0;


bool MapPath(const wchar_t* path, size_t len, std::string& native) {
  if (!ToNativePath(path, len, native)) return false;
  if (HasForbiddenChar(native)) {
    SetLastError(k_errorInvalidName);
    return false;
  }
  return true;
}


uint32_t FailPath(int err, const std::string& native) {
  const uint32_t e = err == ENOENT ? MissingError(native) : ErrorFromErrno(err);
  SetLastError(e);
  return e;
}

FileKind KindOf(mode_t mode) {
  if (S_ISDIR(mode)) return FileKind::Directory;
  if (S_ISREG(mode)) return FileKind::Regular;
  return FileKind::Other;
}

bool IsDotName(const char* name) { return name[0] == '.' && std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0; }

const char* BaseName(const std::string& native) {
  const size_t slash = native.find_last_of('/');
  return native.c_str() + (slash == std::string::npos ? 0 : slash + 1);
}

int64_t ToFileTime(const timespec& ts) { return FileTimeFromUnix(ts.tv_sec, ts.tv_nsec); }

// Writes all of `size` bytes; false with errno set.
bool WriteAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(fd, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

// Moves up to `size` bytes from `in` to `out` at their positions: in the kernel where it can,
// through memory otherwise. Returns the count moved (0 at the source's end), -1 with errno set.
ssize_t CopyStep(int in, int out, size_t size, bool& kernel, std::vector<char>& buffer) {
  if (kernel) {
    for (;;) {
      const ssize_t n = ::copy_file_range(in, nullptr, out, nullptr, size, 0);
      if (n >= 0) return n;
      if (errno == EINTR) continue;
      if (errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP && errno != EBADF) return -1;
      kernel = false;
      break;
    }
  }
  buffer.resize(std::min(size, k_copyChunk));
  for (;;) {
    const ssize_t n = ::read(in, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return n;
    if (!WriteAll(out, buffer.data(), static_cast<size_t>(n))) return -1;
    return n;
  }
}

}  // namespace

bool GetFileStatus(const wchar_t* path, size_t len, FileStatus& status) {
  std::string native;
  if (!MapPath(path, len, native)) return false;
  struct stat st;
  status = FileStatus{};
  if (::stat(native.c_str(), &st) != 0) {
    const int err = errno;
    if (err == ENOENT || err == ENOTDIR || err == ELOOP) return true;
    FailPath(err, native);
    return false;
  }
  status.kind = KindOf(st.st_mode);
  status.readOnly = (st.st_mode & S_IWUSR) == 0;
  status.size = S_ISDIR(st.st_mode) ? 0 : static_cast<uint64_t>(st.st_size);
  status.lastWriteTime = ToFileTime(st.st_mtim);
  return true;
}

bool GetFileId(const wchar_t* path, size_t len, uint64_t& volume, uint64_t& index) {
  std::string native;
  if (!MapPath(path, len, native)) return false;
  struct stat st;
  if (::stat(native.c_str(), &st) != 0) {
    FailPath(errno, native);
    return false;
  }
  volume = static_cast<uint64_t>(st.st_dev);
  index = static_cast<uint64_t>(st.st_ino);
  return true;
}

uint32_t GetFileAttributesW(const wchar_t* path, size_t len) {
  FileAttributeData data;
  return GetFileAttributesExW(path, len, data) ? data.attributes : k_invalidFileAttributes;
}

bool SetFileAttributesW(const wchar_t* path, size_t len, uint32_t attributes) {
  std::string native;
  if (!MapPath(path, len, native)) return false;
  struct stat st;
  if (::stat(native.c_str(), &st) != 0) {
    FailPath(errno, native);
    return false;
  }
  const bool hidden = (attributes & k_fileAttributeHidden) != 0;
  if (!hidden && IsDotName(BaseName(native))) {
    SetLastError(k_errorAccessDenied);
    return false;
  }
  const bool hasAttr = ::getxattr(native.c_str(), k_hiddenAttr, nullptr, 0) >= 0;
  if (hidden && !hasAttr && ::setxattr(native.c_str(), k_hiddenAttr, "1", 1, 0) != 0) {
    SetLastError(errno == ENOTSUP ? k_errorNotSupported : ErrorFromErrno(errno));
    return false;
  }
  if (!hidden && hasAttr && ::removexattr(native.c_str(), k_hiddenAttr) != 0 && errno != ENODATA) {
    SetLastErrorFromErrno(errno);
    return false;
  }
  const bool readOnly = (attributes & k_fileAttributeReadOnly) != 0;
  const mode_t mode = readOnly ? (st.st_mode & ~mode_t{S_IWUSR}) : (st.st_mode | S_IWUSR);
  if ((mode & 07777) != (st.st_mode & 07777) && ::chmod(native.c_str(), mode & 07777) != 0) {
    SetLastErrorFromErrno(errno);
    return false;
  }
  return true;
}

bool CreateDirectoryW(const wchar_t* path, size_t len) {
  std::string native;
  if (!MapPath(path, len, native)) return false;
  if (::mkdir(native.c_str(), 0777) != 0) {
    const int err = errno;
    if (err == EEXIST) {
      SetLastError(k_errorAlreadyExists);
    } else {
      FailPath(err, native);
    }
    return false;
  }
  SetLastError(k_errorSuccess);
  return true;
}

bool RemoveEntry(const wchar_t* path, size_t len, bool& removed) {
  removed = false;
  std::string native;
  if (!MapPath(path, len, native)) return false;
  // unlink first (a link goes, never its target); Linux refuses a directory with EISDIR.
  int rc = ::unlink(native.c_str());
  if (rc != 0 && errno == EISDIR) rc = ::rmdir(native.c_str());
  if (rc != 0) {
    const int err = errno;
    if (err == ENOENT || err == ENOTDIR) return true;
    SetLastError(err == EEXIST ? k_errorDirNotEmpty : ErrorFromErrno(err));
    return false;
  }
  removed = true;
  SetLastError(k_errorSuccess);
  return true;
}

bool MoveFileExW(const wchar_t* from, size_t fromLen, const wchar_t* to, size_t toLen) {
  std::string src, dst;
  if (!MapPath(from, fromLen, src) || !MapPath(to, toLen, dst)) return false;
  if (::rename(src.c_str(), dst.c_str()) == 0) return true;
  const int err = errno;
  if (err != EXDEV) {
    FailPath(err, err == ENOENT ? src : dst);
    return false;
  }
  struct stat st;
  if (::lstat(src.c_str(), &st) != 0 || S_ISDIR(st.st_mode)) {
    SetLastError(k_errorNotSameDevice);
    return false;
  }
  if (!CopyFileExW(from, fromLen, to, toLen, nullptr, nullptr)) return false;
  if (::unlink(src.c_str()) != 0) {
    SetLastErrorFromErrno(errno);
    return false;
  }
  return true;
}

bool CopyFileExW(const wchar_t* from, size_t fromLen, const wchar_t* to, size_t toLen,
                 CopyProgressRoutine progress, void* context) {
  std::string src, dst;
  if (!MapPath(from, fromLen, src) || !MapPath(to, toLen, dst)) return false;
  const int in = ::open(src.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (in < 0) {
    FailPath(errno, src);
    return false;
  }
  struct stat st;
  if (::fstat(in, &st) != 0 || S_ISDIR(st.st_mode)) {
    SetLastError(S_ISDIR(st.st_mode) ? k_errorAccessDenied : ErrorFromErrno(errno));
    ::close(in);
    return false;
  }
  // A new target is created exclusively (it then needs no checks, even when the source's mode
  // makes it read-only); an existing one is opened without truncation first, so that a target
  // that must be refused is left as it was.
  constexpr int k_flags = O_WRONLY | O_CLOEXEC | O_NOCTTY;
  int out = ::open(dst.c_str(), k_flags | O_CREAT | O_EXCL, st.st_mode & 0777);
  const bool created = out >= 0;
  if (!created && errno == EEXIST) out = ::open(dst.c_str(), k_flags);
  if (out < 0) {
    const int err = errno;
    ::close(in);
    if (err == EISDIR) {
      SetLastError(k_errorAccessDenied);
    } else {
      FailPath(err, dst);
    }
    return false;
  }
  struct stat dt;
  uint32_t refusal = k_errorSuccess;
  if (created) {
    // Nothing to check.
  } else if (::fstat(out, &dt) != 0) {
    refusal = ErrorFromErrno(errno);
  } else if (dt.st_dev == st.st_dev && dt.st_ino == st.st_ino) {
    refusal = k_errorSharingViolation;
  } else if ((dt.st_mode & S_IWUSR) == 0) {
    // A read-only target is refused, for root too, as by the library's own opens.
    refusal = k_errorAccessDenied;
  } else if (dt.st_size != 0 && ::ftruncate(out, 0) != 0) {
    refusal = ErrorFromErrno(errno);
  }
  if (refusal != k_errorSuccess) {
    ::close(out);
    ::close(in);
    SetLastError(refusal);
    return false;
  }
  const uint64_t total = static_cast<uint64_t>(st.st_size);
  uint64_t done = 0;
  bool kernel = true;
  std::vector<char> buffer;
  uint32_t error = k_errorSuccess;
  if (progress && !progress(total, 0, context)) error = k_errorRequestAborted;
  while (error == k_errorSuccess) {
    const ssize_t n = CopyStep(in, out, k_copyChunk, kernel, buffer);
    if (n < 0) {
      error = ErrorFromErrno(errno);
      break;
    }
    if (n == 0) break;
    done += static_cast<uint64_t>(n);
    if (progress && !progress(total, done, context)) error = k_errorRequestAborted;
  }
  if (error == k_errorSuccess) {
    const timespec times[2] = {st.st_atim, st.st_mtim};
    ::futimens(out, times);
  }
  if (::close(out) != 0 && error == k_errorSuccess) error = ErrorFromErrno(errno);
  ::close(in);
  if (error != k_errorSuccess) {
    // No half-copied file stays behind under the target's name.
    ::unlink(dst.c_str());
    SetLastError(error);
    return false;
  }
  SetLastError(k_errorSuccess);
  return true;
}

bool GetCanonicalPath(const wchar_t* path, size_t len, std::wstring& canonical) {
  std::string native;
  if (!MapPath(path, len, native)) return false;
  char* real = ::realpath(native.c_str(), nullptr);
  if (real == nullptr) {
    FailPath(errno, native);
    return false;
  }
  canonical = FromNativePath(real, std::strlen(real));
  std::free(real);
  return true;
}

uint64_t GetSkippedNameCount() noexcept { return t_skippedNames; }

void CountSkippedName() noexcept { ++t_skippedNames; }

bool IsValidUtf8Name(const char* name, size_t len) noexcept {
  size_t i = 0;
  while (i < len && static_cast<unsigned char>(name[i]) < 0x80) ++i;
  if (i == len) return true;
  return MultiByteToWideChar(k_codePageUtf8, k_mbErrInvalidChars, name, static_cast<int>(len), nullptr, 0) > 0;
}

// ---- Recursive walk ----

struct DirectoryWalk::Level {
  DIR* dir = nullptr;
  std::wstring path;  // Windows-grammar path of this directory, as the caller will see it
};

DirectoryWalk::~DirectoryWalk() { PopAll(); }

void DirectoryWalk::PopAll() {
  for (Level* level : m_stack) {
    ::closedir(level->dir);
    delete level;
  }
  m_stack.clear();
}

bool DirectoryWalk::Push(int parentFd, const std::string& name, std::wstring widePath) {
  const int fd = ::openat(parentFd, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | (parentFd == AT_FDCWD ? 0 : O_NOFOLLOW));
  if (fd < 0) {
    m_errno = errno;
    return false;
  }
  DIR* dir = ::fdopendir(fd);
  if (dir == nullptr) {
    m_errno = errno;
    ::close(fd);
    return false;
  }
  m_stack.push_back(new Level{dir, std::move(widePath)});
  return true;
}

bool DirectoryWalk::Open(const wchar_t* root, size_t len) {
  PopAll();
  m_errno = 0;
  std::string native;
  if (!MapPath(root, len, native)) {
    m_errno = EINVAL;
    return false;
  }
  if (!Push(AT_FDCWD, native, std::wstring(root, len))) {
    FailPath(m_errno, native);
    return false;
  }
  return true;
}

DirectoryWalk::Step DirectoryWalk::Next(WalkEntry& entry) {
  while (!m_stack.empty()) {
    Level& level = *m_stack.back();
    errno = 0;
    dirent* e = ::readdir(level.dir);
    if (e == nullptr) {
      if (errno != 0) {
        m_errno = errno;
        SetLastErrorFromErrno(m_errno);
        PopAll();
        return Step::Error;
      }
      ::closedir(level.dir);
      delete m_stack.back();
      m_stack.pop_back();
      continue;
    }
    const char* name = e->d_name;
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
    const size_t n = std::strlen(name);
    if (!IsValidUtf8Name(name, n)) {
      CountSkippedName();
      continue;
    }
    const int fd = ::dirfd(level.dir);
    unsigned char type = e->d_type;
    FileKind kind = type == DT_DIR ? FileKind::Directory : type == DT_REG ? FileKind::Regular : FileKind::Other;
    bool link = type == DT_LNK;
    if (type == DT_UNKNOWN || type == DT_LNK) {
      struct stat st;
      if (type == DT_UNKNOWN) {
        if (::fstatat(fd, name, &st, AT_SYMLINK_NOFOLLOW) != 0) continue;  // vanished
        link = S_ISLNK(st.st_mode);
        kind = KindOf(st.st_mode);
      }
      if (link) kind = ::fstatat(fd, name, &st, 0) == 0 ? KindOf(st.st_mode) : FileKind::NotFound;
    }
    entry.path.assign(level.path);
    entry.path.push_back(L'\\');
    entry.path.append(Utf8ToUtf16(name, n));
    entry.kind = kind;
    entry.depth = m_stack.size() - 1;
    if (kind == FileKind::Directory && !link) {
      if (!Push(fd, std::string(name, n), entry.path)) {
        // A folder that vanished since it was listed is passed over; anything else ends the walk.
        if (m_errno != ENOENT) {
          SetLastErrorFromErrno(m_errno);
          PopAll();
          return Step::Error;
        }
        m_errno = 0;
        continue;
      }
    }
    return Step::Entry;
  }
  return Step::End;
}

}  // namespace lu::platform
