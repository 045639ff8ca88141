// lu::File: the library's binary file, owner or non-owning view of one buffered stream.
#pragma once

#include <nybase/base/NyResult.h>
#include <nybase/files/Path.h>
#include <nybase/text/CStdStr.h>

#include <cstdint>
#include <cstdio>

// How Open reaches the file: access, creation, and whether writes always land at the end.
enum NyOpenMode : int {
  NyOpenModeRead = 0,            // read; the file must exist
  NyOpenModeWrite = 1,           // write; created when missing, kept when present; writes append
  NyOpenModeWriteOverwrite = 2,  // read and write; created or emptied
  NyOpenModeReadWrite = 3,       // read and write; created when missing, kept; writes append
};

// The flags argument of lu::File::Open, a bit set.
enum NyFileFlags : unsigned int {
  NyFileFlagDeleteOnClose = 1,  // the file is removed when its last handle closes
  NyFileFlagExclusive = 2,      // no other handle may open the file; otherwise others may read
  NyFileFlagCreateNew = 4,      // the file must not exist yet, whatever the mode says
};

namespace lu {

using ::NyFileFlagCreateNew;
using ::NyFileFlagDeleteOnClose;
using ::NyFileFlagExclusive;
using ::NyFileFlags;
using ::NyOpenMode;
using ::NyOpenModeRead;
using ::NyOpenModeReadWrite;
using ::NyOpenModeWrite;
using ::NyOpenModeWriteOverwrite;

// Origin of SetFilePointer. Any other value counts as FilePointerBegin.
enum FilePointerPosition : int {
  FilePointerBegin = 0,
  FilePointerCurrent = 1,
  FilePointerEnd = 2,
};

// Why the last failed file operation of this thread failed.
enum FileError : int {
  FileErrorNone = 0,
  FileErrorOther = 1,
  FileErrorDiskFull = 2,
  FileErrorNoSystemResources = 3,
  FileErrorAccessDenied = 4,
  FileErrorSharingViolation = 5,
  FileErrorNotFound = 6,
};

// Last write time (seconds since 1970-01-01 UTC) and size in bytes; zero in both when unknown.
struct FileInfo {
  long long lastWriteTime = 0;
  unsigned long long size = 0;
};

// The binary file. It owns its stream, or is a view that borrows another File's stream; views
// share the owner's position and buffer. One thread at a time; no operation throws.
class File {
 public:
  // A closed file: no stream, not a view.
  File() = default;
  // Takes the stream and the view flag; `other` is left inert (no stream, a view).
  File(File&& other) noexcept;
  // Exchanges the streams; the target takes the source's view flag and the source becomes a view
  // (of the target's former stream, which nobody closes any more): assign only to a closed File.
  File& operator=(File&& other) noexcept;
  // Closes an owned stream.
  virtual ~File();

  // An owner of a stream opened elsewhere (a FILE*).
  static File CreateOwner(void* stream);
  // A view of a stream (a FILE*) or of another File's stream; it must not outlive the owner.
  static File CreateView(void* stream);
  static File CreateView(const File& file);

  // Opens `path` in `mode` with NyFileFlags `flags`. 1 on success; 2 on a view or a failed open
  // (see GetLastError); 31 for an empty path or an unknown mode; 66 when the file or its directory
  // does not exist. A failure leaves this File as it was. Opening again does not close the
  // earlier stream.
  NYRESULT Open(const lu::Path& path, NyOpenMode mode, unsigned int flags);
  // Closes an owned stream: 1, or 2 for a view, a closed File or a failed close. When the buffer
  // cannot be written the stream is kept, still usable; when the close itself fails after that,
  // the stream is dropped on purpose: it is gone either way, and a second close would free it
  // twice.
  NYRESULT Close();
  // Whether there is a stream.
  bool IsOpen() const;
  // The stream (FILE*), null when closed.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-qualifiers"
#endif
  void* const GetFileHandle() const;
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

  // fflush of the stream; on a closed File every open stream is flushed. False on failure.
  bool Flush() const;
  // Makes the current position the end of the file; false when closed or on failure. The stream's
  // buffer is flushed first, on purpose: pending writes land before the cut and no read-ahead
  // byte beyond the new end survives it (a bare handle call would ignore the C buffer).
  bool SetEndOfFile() const;
  // Seeks (any position value but 1 and 2 counts from the start) and returns the new position;
  // -1 when closed or on failure.
  long long SetFilePointer(long long offset, FilePointerPosition position) const;
  // Size of the file in bytes (of a stream over memory, which has no descriptor, its end); all
  // ones when closed or on failure.
  unsigned long long GetFileSize() const;
  // Last write time and size of the open file; the zero record when closed or on failure.
  FileInfo GetFileInfo() const;
  // Gives this open file the last write time of the file at `source`; false on failure.
  bool SetLastWriteTime(const lu::Path& source) const;
  // The reason for this thread's last failed file operation.
  static FileError GetLastError();

  // One buffered read of up to `size` bytes. `done` is zeroed first and holds the count read.
  // True when the stream is open (a short count is not an error here).
  bool Read(void* buffer, unsigned int size, unsigned int& done) const;
  bool Read(void* buffer, unsigned int size) const;
  // True when the stream is open and `done` equals `expected`.
  bool Read(void* buffer, unsigned int size, unsigned int& done, unsigned int expected) const;
  // True when the stream is open and all `size` bytes were read.
  bool ReadExact(void* buffer, unsigned int size) const;
  bool ReadExact(void* buffer, unsigned int size, unsigned int& done) const;

  // The write twins, with the same results.
  bool Write(const void* buffer, unsigned int size, unsigned int& done) const;
  bool Write(const void* buffer, unsigned int size) const;
  bool Write(const void* buffer, unsigned int size, unsigned int& done, unsigned int expected) const;
  bool WriteExact(const void* buffer, unsigned int size) const;
  bool WriteExact(const void* buffer, unsigned int size, unsigned int& done) const;

 private:
  // Copying makes a view of the same stream.
  File(const File& other);
  File(void* stream, bool isView);

  FILE* m_stream = nullptr;
  bool m_isView = false;
  uint32_t m_openFlags = 0;
};

// Last write time and size of the first entry matching `path`, which is a search string (a
// wildcard in its last component is honoured); the zero record when nothing matches.
FileInfo GetFileInfo(const CStdStr<wchar_t>& path);

}  // namespace lu
