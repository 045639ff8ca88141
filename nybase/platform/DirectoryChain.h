// Creating a directory together with any missing directories above it (mkdir -p).
#pragma once

#include <cstddef>

namespace lu::platform {

// Creates the directory `path` (Windows grammar, `len` units, mapped through ToNativePath) and
// every missing directory above it. True when the directory exists afterwards (it may have existed
// already); false with the last error set otherwise (an element that is a file gives
// k_errorPathNotFound, a path off drive Z: the same).
bool CreateDirectoryChain(const wchar_t* path, size_t len);

}  // namespace lu::platform
