// A stream of changes below one directory, in the shape of the Windows change notifications:
// names relative to the watched directory, five actions, and an overflow condition.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace lu::platform {

// The actions of a change record, numbered as FILE_NOTIFY_INFORMATION numbers them.
inline constexpr uint32_t k_fileActionAdded = 1;
inline constexpr uint32_t k_fileActionRemoved = 2;
inline constexpr uint32_t k_fileActionModified = 3;
inline constexpr uint32_t k_fileActionRenamedOldName = 4;
inline constexpr uint32_t k_fileActionRenamedNewName = 5;

struct DirectoryChange {
  uint32_t action = 0;
  std::wstring name;  // relative to the watched directory, "\" between levels, UTF-16
};

enum class DirectoryChangeStatus {
  Ok,        // the records read, possibly none
  Overflow,  // changes were lost (the system's queue overflowed or a folder could not be watched)
  RootGone,  // the watched directory was deleted or moved away; no more records will come
  Failed,    // the stream cannot be read
};

// Opens a change stream on the existing directory `path` (and, when `recursive`, on every folder
// below it, including folders made later; links to folders are not followed). Changes are
// file and folder names (added, removed, renamed) and writes or attribute changes of entries
// below the directory (Modified); changes of the directory itself are not reported. The handle
// is waitable with WaitForMultipleEventsEx, signalled while records are pending. Null on failure
// with the last error set (3 or 2 for a missing directory).
void* OpenDirectoryChanges(const wchar_t* path, size_t len, bool recursive) noexcept;
// Appends the pending records to `out` without blocking. A folder created below a recursive
// watch is watched at once and the entries already inside it are reported as added, so nothing
// made in the gap is lost. After Overflow the recursive watches are brought back in line with the
// tree, and the caller should rescan.
DirectoryChangeStatus ReadDirectoryChanges(void* stream, std::vector<DirectoryChange>& out);
// Closes the stream and sets it to null; a null stream does nothing.
void CloseDirectoryChanges(void*& stream) noexcept;

}  // namespace lu::platform
