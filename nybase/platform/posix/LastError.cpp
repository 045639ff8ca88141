// POSIX backend of the thread's last error: a thread_local number and the errno translation.
#include <nybase/platform/LastError.h>

#include <cerrno>

namespace lu::platform {

namespace {
thread_local uint32_t t_lastError = k_errorSuccess;
}

uint32_t GetLastError() noexcept { return t_lastError; }

void SetLastError(uint32_t error) noexcept { t_lastError = error; }

uint32_t ErrorFromErrno(int err) noexcept {
  switch (err) {
    case 0: return k_errorSuccess;
    case ENOENT: return k_errorFileNotFound;
    case ENOTDIR: return k_errorPathNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR: return k_errorAccessDenied;
    case EWOULDBLOCK: return k_errorSharingViolation;
    case EEXIST: return k_errorFileExists;
    case ENOSPC:
    case EDQUOT: return k_errorDiskFull;
    case ENOTEMPTY: return k_errorDirNotEmpty;
    case ENAMETOOLONG: return k_errorFilenameTooLong;
    case EBADF: return k_errorInvalidHandle;
    case ENOMEM:
    case EMFILE:
    case ENFILE: return k_errorNoSystemResources;
    default: return k_errorInvalidParameter;
  }
}

uint32_t SetLastErrorFromErrno(int err) noexcept {
  const uint32_t e = ErrorFromErrno(err);
  t_lastError = e;
  return e;
}

}  // namespace lu::platform
