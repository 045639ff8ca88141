// lu::CopyFileRange: moves bytes from one open File to another inside the kernel.
#pragma once

#include <nybase/files/File.h>

namespace lu {

// How CopyFileRange ended.
enum class FileRangeCopy {
  Copied,       // `copied` bytes moved; fewer than asked only where the source file ends
  Unsupported,  // these two files cannot be copied between in the kernel; nothing changed
  Failed,       // a read or write failed; File::GetLastError says why (FileErrorDiskFull included)
};

// Copies up to `size` bytes of `source`, starting at byte `offset`, to `target` at its position
// and leaves `target` after them; `source`'s position is not used. Buffered writes of either File
// are flushed first. Unsupported (different filesystems, a device, a target that appends, a closed
// File, overlapping ranges of one file) asks the caller to copy through memory instead.
FileRangeCopy CopyFileRange(const File& source, unsigned long long offset, const File& target, unsigned int size,
                            unsigned int& copied);

}  // namespace lu
