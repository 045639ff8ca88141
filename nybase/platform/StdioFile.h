// C streams opened by Windows-grammar path and wide mode text (the _wfopen service).
#pragma once

#include <cstddef>
#include <cstdio>

namespace lu::platform {

// Opens a C stream on `path` (`len` units, mapped through ToNativePath) with the stdio `mode`
// given as wide text ("r", "wb", "a+", ...). The Windows-only mode letters 't', 'S', 'R', 'T',
// 'D', 'N' and a ",ccs=..." suffix are accepted and ignored; a stream is always binary here.
// Returns null with the last error set (k_errorPathNotFound for a path off drive Z:,
// k_errorInvalidParameter for an empty or unknown mode).
FILE* WFOpen(const wchar_t* path, size_t len, const wchar_t* mode);

}  // namespace lu::platform
