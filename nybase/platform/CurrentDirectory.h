// The process's current directory, in Windows grammar (drive Z: is the Linux root).
#pragma once

#include <cstddef>
#include <string>

namespace lu::platform {

// Stores the current directory as FromNativePath gives it ("Z:\home\u"; the root is "Z:\") in
// `dir`. Returns false with the last error set (2 when the directory was removed, 5 when a
// parent cannot be read) and leaves `dir` alone.
bool GetCurrentDirectoryW(std::wstring& dir);

// Makes `dir` (Windows grammar) the process's current directory. False with the last error set.
bool SetCurrentDirectoryW(const wchar_t* dir, size_t len);

}  // namespace lu::platform
