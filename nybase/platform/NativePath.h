// The one crossing between Windows-grammar path text and the Linux file system.
#pragma once

#include <cstddef>
#include <string>

namespace lu::platform {

// Maps a Windows-grammar path to a native UTF-8 path:
// - "\\?\" and "\??\" prefixes are stripped;
// - drive Z: (either case) and a rooted path without a drive ("\tmp\x") map to "/";
//   "Z:rel" (drive-relative) is relative to the current directory;
// - every "\" becomes "/"; a relative path stays relative.
// Returns false with last error k_errorPathNotFound (3) for any other drive letter, a UNC or
// device path, or an empty path, and k_errorInvalidName (123) for text holding a NUL.
bool ToNativePath(const wchar_t* path, size_t len, std::string& native);

// Maps a native UTF-8 path back: "/" becomes "\" and an absolute path gets "Z:" in front, so
// "/home/u/a.wav" comes back as "Z:\home\u\a.wav". Ill-formed UTF-8 becomes U+FFFD.
std::wstring FromNativePath(const char* native, size_t len);
inline std::wstring FromNativePath(const std::string& native) {
  return FromNativePath(native.data(), native.size());
}

}  // namespace lu::platform
