// Checks on native paths shared by the file and directory services of the POSIX backend.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>

#include <nybase/platform/LastError.h>

namespace lu::platform::detail {

// Characters no Windows file name may hold; the drive colon is gone once the path is native.
inline bool HasForbiddenChar(const std::string& native) {
  for (unsigned char c : native) {
    if (c < 0x20 || c == '<' || c == '>' || c == ':' || c == '"' || c == '|' || c == '?' || c == '*') return true;
  }
  return false;
}

// The Windows error for an ENOENT: the file (2) when its directory exists, else a directory on
// the way to it (3).
inline uint32_t MissingError(const std::string& native) {
  const size_t slash = native.find_last_of('/');
  if (slash == std::string::npos) return k_errorFileNotFound;
  const std::string dir = slash == 0 ? std::string("/") : native.substr(0, slash);
  struct stat st;
  if (::stat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) return k_errorFileNotFound;
  return k_errorPathNotFound;
}

}  // namespace lu::platform::detail
