// POSIX backend of CreateDirectoryChain: mkdir on each element of the native path in turn.
#include <nybase/platform/DirectoryChain.h>
#include <nybase/platform/LastError.h>
#include <nybase/platform/NativePath.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

namespace lu::platform {

namespace {

bool IsDirectory(const std::string& native) {
  struct stat st {};
  return ::stat(native.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

bool CreateDirectoryChain(const wchar_t* path, size_t len) {
  std::string native;
  if (!ToNativePath(path, len, native)) return false;
  while (native.size() > 1 && native.back() == '/') native.pop_back();
  if (native.empty() || IsDirectory(native)) return true;
  // Every prefix that ends just before a "/" is one level; the whole path is the last.
  for (size_t i = 1; i <= native.size(); ++i) {
    if (i < native.size() && native[i] != '/') continue;
    const std::string level = native.substr(0, i);
    if (::mkdir(level.c_str(), 0777) != 0 && errno != EEXIST) {
      SetLastErrorFromErrno(errno);
      return false;
    }
  }
  if (!IsDirectory(native)) {
    SetLastError(k_errorPathNotFound);
    return false;
  }
  return true;
}

}  // namespace lu::platform
