// Directory and whole-file services: status, identity, create, remove, move, copy with progress,
// attributes, canonical paths and a recursive walk that never follows directory links.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace lu::platform {

// ERROR_NOT_SAME_DEVICE: a directory cannot be moved to another file system.
inline constexpr uint32_t k_errorNotSameDevice = 17;

// The kind a status query that follows symbolic links reports.
enum class FileKind { NotFound, Regular, Directory, Other };

// What a status query reports (times in 100 ns units since 1601, as FileApi's).
struct FileStatus {
  FileKind kind = FileKind::NotFound;
  bool readOnly = false;  // no owner write bit
  uint64_t size = 0;      // 0 for directories
  int64_t lastWriteTime = 0;
};

// Status of `path` following symbolic links, with one stat call. A missing file, a dangling link or
// a link loop gives kind NotFound and true (the answer is known); false with the last error set
// when the status cannot be read for another reason (permission, illegal name, other drive).
bool GetFileStatus(const wchar_t* path, size_t len, FileStatus& status);

// Volume serial and file index of `path`, following links; opens nothing. False with the last error.
bool GetFileId(const wchar_t* path, size_t len, uint64_t& volume, uint64_t& index);

// Attributes as GetFileAttributesExW reports them (k_invalidFileAttributes on failure, last error set).
uint32_t GetFileAttributesW(const wchar_t* path, size_t len);
// Applies the read-only bit (the owner write bit) and the hidden bit (the `user.nybase.hidden`
// extended attribute). A name that begins with "." is hidden by its name: clearing hidden on it
// fails with k_errorAccessDenied, since no attribute can change what its name says. A file system
// without user extended attributes fails with k_errorNotSupported (50). False with the last error.
bool SetFileAttributesW(const wchar_t* path, size_t len, uint32_t attributes);

// Creates one directory level (mode 0777 less the umask). An existing entry of any kind fails with
// k_errorAlreadyExists (183), a missing parent with k_errorPathNotFound (3). False with the last error.
bool CreateDirectoryW(const wchar_t* path, size_t len);

// Removes one entry: a file, a link or an empty directory (never the target of a link). `removed`
// tells whether something went; a missing entry is no error (true, removed false). False with the
// last error (a directory that is not empty is k_errorDirNotEmpty, 145).
bool RemoveEntry(const wchar_t* path, size_t len, bool& removed);

// Moves (renames) `from` to `to`, replacing an existing file. Across file systems a file is copied
// and the source removed; a directory fails there with k_errorNotSameDevice. False with the last error.
bool MoveFileExW(const wchar_t* from, size_t fromLen, const wchar_t* to, size_t toLen);

// Called with the total and transferred byte counts: once before the first byte and after every
// chunk. A false return cancels the copy (k_errorRequestAborted).
inline constexpr uint32_t k_errorRequestAborted = 1235;
using CopyProgressRoutine = bool (*)(uint64_t total, uint64_t transferred, void* context);
// Copies the file `from` to `to`, overwriting an existing `to` unless it is read-only
// (k_errorAccessDenied) or a directory (k_errorAccessDenied). The copy keeps the source's last
// write time and read-only bit. A failed or cancelled copy removes the partial target, so a full
// disk (k_errorDiskFull, 112) leaves no truncated file behind; the source is only read.
// False with the last error set.
bool CopyFileExW(const wchar_t* from, size_t fromLen, const wchar_t* to, size_t toLen,
                 CopyProgressRoutine progress, void* context);

// The canonical form of an existing `path` (links resolved, "." and ".." gone), in the form
// FromNativePath gives ("Z:\..."). False with the last error when it does not exist.
bool GetCanonicalPath(const wchar_t* path, size_t len, std::wstring& canonical);

// Names on disk are bytes. A name that is not valid UTF-8 could not be handed back as a path that
// opens the same entry, so searches and walks skip it; this counts the names the calling thread's
// searches and walks have skipped so far.
uint64_t GetSkippedNameCount() noexcept;
// Adds one to the calling thread's count (for the backend's searches).
void CountSkippedName() noexcept;
// True when the bytes are valid UTF-8 (and so survive the trip to UTF-16 and back).
bool IsValidUtf8Name(const char* name, size_t len) noexcept;

// One entry of a recursive walk.
struct WalkEntry {
  std::wstring path;         // the root as given, then "\" and the names below it
  FileKind kind = FileKind::NotFound;  // status following links; NotFound for a dangling link
  size_t depth = 0;          // 0 for entries directly in the root
};

// A depth-first walk of a directory tree in the file system's order, like a recursive directory
// iterator: a directory is reported and then entered, except a symbolic link to a directory,
// which is reported (kind Directory) but never entered, so link loops end. A subdirectory that
// vanished between being listed and being opened is passed over. One thread.
class DirectoryWalk {
 public:
  enum class Step { Entry, End, Error };

  DirectoryWalk() = default;
  DirectoryWalk(const DirectoryWalk&) = delete;
  DirectoryWalk& operator=(const DirectoryWalk&) = delete;
  ~DirectoryWalk();

  // Starts the walk at `root` (Windows grammar). False with the last error and ErrorNumber() set.
  bool Open(const wchar_t* root, size_t len);
  // The next entry. Error when a directory could not be opened or read (a permission-denied
  // folder, for one): the last error and ErrorNumber() are set, and the walk cannot go on.
  Step Next(WalkEntry& entry);
  // The POSIX error number of the last failure, for the caller's report.
  int ErrorNumber() const noexcept { return m_errno; }

 private:
  struct Level;
  bool Push(int parentFd, const std::string& name, std::wstring widePath);
  void PopAll();

  std::vector<Level*> m_stack;
  int m_errno = 0;
};

}  // namespace lu::platform
