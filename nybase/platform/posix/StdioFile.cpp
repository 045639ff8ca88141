// POSIX backend of the wide fopen: path mapping, mode translation, fopen(3).
#include <nybase/platform/StdioFile.h>

#include <cerrno>
#include <string>

#include <nybase/platform/LastError.h>
#include <nybase/platform/NativePath.h>

namespace lu::platform {

namespace {

// The stdio mode for fopen: the access letter, '+', 'b', 'x'; Windows-only letters are dropped
// and a close-on-exec 'e' is added. False for a mode without a valid access letter.
bool TranslateMode(const wchar_t* mode, std::string& out) {
  if (mode == nullptr || (mode[0] != L'r' && mode[0] != L'w' && mode[0] != L'a')) return false;
  out.assign(1, static_cast<char>(mode[0]));
  for (const wchar_t* p = mode + 1; *p != 0 && *p != L','; ++p) {
    switch (*p) {
      case L'+':
      case L'b':
      case L'x': out.push_back(static_cast<char>(*p)); break;
      case L't':
      case L'S':
      case L'R':
      case L'T':
      case L'D':
      case L'N':
      case L' ': break;
      default: return false;
    }
  }
  out.push_back('e');
  return true;
}

}  // namespace

FILE* WFOpen(const wchar_t* path, size_t len, const wchar_t* mode) {
  std::string native;
  std::string stdioMode;
  if (!TranslateMode(mode, stdioMode)) {
    SetLastError(k_errorInvalidParameter);
    return nullptr;
  }
  if (path == nullptr || !ToNativePath(path, len, native)) return nullptr;
  FILE* stream = std::fopen(native.c_str(), stdioMode.c_str());
  if (stream == nullptr) SetLastErrorFromErrno(errno);
  return stream;
}

}  // namespace lu::platform
