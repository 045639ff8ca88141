// File mapping services (CreateFileMappingW, MapViewOfFile, UnmapViewOfFile) on a file handle.
#pragma once

#include <cstddef>
#include <cstdint>

#include <nybase/platform/FileApi.h>

namespace lu::platform {

// Page protection of a mapping, and the access of a view.
inline constexpr uint32_t k_pageReadOnly = 0x02;
inline constexpr uint32_t k_pageReadWrite = 0x04;
inline constexpr uint32_t k_fileMapRead = 0x0004;
inline constexpr uint32_t k_fileMapAllAccess = 0xF001F;
// The error of a mapping of an empty file (ERROR_FILE_INVALID).
inline constexpr uint32_t k_errorFileInvalid = 1006;

// An open mapping; null when there is none.
struct MappingState;
using MappingHandle = MappingState*;

// A mapping of `file` of `maximumSize` bytes (0: the file's current size). A size above the
// file's size extends the file with zeros, which needs k_pageReadWrite (k_errorAccessDenied
// otherwise). An empty file with size 0 fails with k_errorFileInvalid. The mapping stays valid
// after the file handle closes. Null with the last error set on failure.
MappingHandle CreateFileMappingW(FileHandle file, uint32_t protect, uint64_t maximumSize);
// A view of the whole mapping, shared with the file: k_fileMapRead, or k_fileMapAllAccess on a
// read-write mapping. Null with the last error set on failure.
void* MapViewOfFile(MappingHandle mapping, uint32_t access);
// Unmaps a view returned by MapViewOfFile; false (k_errorInvalidParameter) for any other address.
bool UnmapViewOfFile(const void* view);
// Closes a mapping; its views stay usable until unmapped. Null is refused.
bool CloseMappingHandle(MappingHandle mapping);

}  // namespace lu::platform
