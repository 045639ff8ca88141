// Path text mapping between Windows grammar (drive Z: is the Linux root) and native UTF-8 paths.
#include <nybase/platform/NativePath.h>

#include <nybase/platform/LastError.h>
#include <nybase/platform/Utf.h>

namespace lu::platform {

namespace {
inline bool IsSep(wchar_t c) { return c == L'\\' || c == L'/'; }
inline bool IsDriveZ(wchar_t c) { return c == L'Z' || c == L'z'; }
inline bool IsAsciiLetter(wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z'); }
}  // namespace

bool ToNativePath(const wchar_t* path, size_t len, std::string& native) {
  if (path == nullptr || len == 0) {
    SetLastError(k_errorPathNotFound);
    return false;
  }
  for (size_t i = 0; i < len; ++i) {
    if (path[i] == 0) {
      SetLastError(k_errorInvalidName);
      return false;
    }
  }
  size_t pos = 0;
  // "\\?\" (any separator may be "/") and "\??\" are the verbatim prefixes: strip them.
  if (len >= 4 && IsSep(path[0]) && IsSep(path[3]) &&
      ((IsSep(path[1]) && path[2] == L'?') || (path[1] == L'?' && path[2] == L'?'))) {
    pos = 4;
    // "\\?\UNC\server\share" is a UNC path in verbatim form.
    if (len - pos >= 4 && (path[4] == L'U' || path[4] == L'u') && (path[5] == L'N' || path[5] == L'n') &&
        (path[6] == L'C' || path[6] == L'c') && IsSep(path[7])) {
      SetLastError(k_errorPathNotFound);
      return false;
    }
  }
  const wchar_t* p = path + pos;
  size_t n = len - pos;
  if (n >= 2 && IsAsciiLetter(p[0]) && p[1] == L':') {
    if (!IsDriveZ(p[0])) {
      SetLastError(k_errorPathNotFound);
      return false;
    }
    p += 2;
    n -= 2;
    if (n == 0) {
      // "Z:" alone is the current directory of drive Z:.
      native.assign(1, '.');  // not operator=(const char*): g++ 12 -O2 warns falsely (-Wrestrict) there
      return true;
    }
  } else if (n >= 2 && IsSep(p[0]) && IsSep(p[1])) {
    // UNC ("\\server\share") and device ("\\.\") paths have no place on this file system.
    SetLastError(k_errorPathNotFound);
    return false;
  }
  native = Utf16ToUtf8(p, n);
  for (char& c : native) {
    if (c == '\\') c = '/';
  }
  return true;
}

std::wstring FromNativePath(const char* native, size_t len) {
  std::wstring w = Utf8ToUtf16(native, len);
  for (wchar_t& c : w) {
    if (c == L'/') c = L'\\';
  }
  if (!w.empty() && w[0] == L'\\') w.insert(0, L"Z:");
  return w;
}

}  // namespace lu::platform
