// The thread's last error, in Windows error numbers, set by every platform service that fails.
#pragma once

#include <cstdint>

namespace lu::platform {

// Windows error numbers the library reads. The values are those of the Windows API, which the
// logic compares against; the POSIX backend translates errno into them.
inline constexpr uint32_t k_errorSuccess = 0;
inline constexpr uint32_t k_errorFileNotFound = 2;
inline constexpr uint32_t k_errorPathNotFound = 3;
inline constexpr uint32_t k_errorAccessDenied = 5;
inline constexpr uint32_t k_errorInvalidHandle = 6;
inline constexpr uint32_t k_errorNotEnoughMemory = 8;
inline constexpr uint32_t k_errorSharingViolation = 32;
inline constexpr uint32_t k_errorHandleEof = 38;
inline constexpr uint32_t k_errorNotSupported = 50;
inline constexpr uint32_t k_errorFileExists = 80;
inline constexpr uint32_t k_errorInvalidParameter = 87;
inline constexpr uint32_t k_errorDiskFull = 112;
inline constexpr uint32_t k_errorInsufficientBuffer = 122;
inline constexpr uint32_t k_errorInvalidName = 123;
inline constexpr uint32_t k_errorDirNotEmpty = 145;
inline constexpr uint32_t k_errorAlreadyExists = 183;
inline constexpr uint32_t k_errorFilenameTooLong = 206;
inline constexpr uint32_t k_waitTimeout = 258;
inline constexpr uint32_t k_errorInvalidFlags = 1004;
inline constexpr uint32_t k_errorNoUnicodeTranslation = 1113;
inline constexpr uint32_t k_errorNoSystemResources = 1450;

// The calling thread's last error; 0 until a service fails.
uint32_t GetLastError() noexcept;
// Sets the calling thread's last error.
void SetLastError(uint32_t error) noexcept;
// Translates a POSIX errno into the Windows number above (ENOENT 2, ENOTDIR 3, EACCES/EPERM/EROFS 5,
// EWOULDBLOCK 32, EEXIST 80, EINVAL 87, ENOSPC/EDQUOT 112, ENAMETOOLONG 206, ENOTEMPTY 145,
// ENOMEM/EMFILE/ENFILE 1450); anything else becomes 87.
uint32_t ErrorFromErrno(int err) noexcept;
// Stores ErrorFromErrno(err) as the last error and returns it.
uint32_t SetLastErrorFromErrno(int err) noexcept;

}  // namespace lu::platform
