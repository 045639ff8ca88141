// The full-path-name service: a path made absolute the Windows way, with Z: as the current drive.
#pragma once

#include <string>
#include <string_view>

namespace lu::platform {

// Longest full path name the service gives, in code units.
inline constexpr size_t k_maxFullPathName = 32767;

// Makes `path` absolute against the current directory and drive Z:, as the Windows service of
// the same name does:
// - "x" and "Z:x" go behind the current directory; "\x" goes behind "Z:"; "C:x" on another drive
//   becomes "C:\x"; "C:\x", "\\server\share\x" and "\\.\x" keep their root;
// - "/" becomes "\", separator runs collapse, "." elements go, ".." removes the element before it
//   but never the root ("C:\", "\\server\share", "\\.\"), one final "." of an inner element goes,
//   and final dots and spaces of the last element go; a final separator stays;
// - a path that begins with "\\?\" is returned as it is.
// Returns false and leaves `full` alone: 123 for an empty path or one that holds a NUL, 206 when
// the result would exceed k_maxFullPathName, and the current directory's error when it is needed
// and cannot be read.
bool GetFullPathNameW(std::wstring_view path, std::wstring& full);

// The same against the given current directory (absolute, in Windows grammar); asks nothing of
// the system. Exposed for the service's own tests and for callers that hold a directory already.
bool GetFullPathNameFrom(std::wstring_view path, std::wstring_view currentDirectory, std::wstring& full);

}  // namespace lu::platform
