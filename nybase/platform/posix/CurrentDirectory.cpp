// POSIX backend of the current directory: getcwd, mapped back through FromNativePath.
#include <nybase/platform/CurrentDirectory.h>

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <string>

#include <nybase/platform/LastError.h>
#include <nybase/platform/NativePath.h>

namespace lu::platform {

bool GetCurrentDirectoryW(std::wstring& dir) {
  std::string buf(PATH_MAX, '\0');
  for (;;) {
    if (::getcwd(buf.data(), buf.size()) != nullptr) break;
    if (errno != ERANGE) {
      SetLastErrorFromErrno(errno);
      return false;
    }
    buf.resize(buf.size() * 2);
  }
  buf.resize(std::char_traits<char>::length(buf.c_str()));
  // Linux marks an unreachable directory (outside this process's root) by a leading "(".
  if (buf.empty() || buf[0] != '/') {
    SetLastError(k_errorFileNotFound);
    return false;
  }
  dir = FromNativePath(buf);
  return true;
}

bool SetCurrentDirectoryW(const wchar_t* dir, size_t len) {
  std::string native;
  if (!ToNativePath(dir, len, native)) return false;
  if (::chdir(native.c_str()) != 0) {
    SetLastErrorFromErrno(errno);
    return false;
  }
  return true;
}

}  // namespace lu::platform
