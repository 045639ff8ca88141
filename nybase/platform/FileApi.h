// File services in the shape the logic needs: a Windows-style open, buffered streams, times, attributes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace lu::platform {

// The end of a search (ERROR_NO_MORE_FILES).
inline constexpr uint32_t k_errorNoMoreFiles = 18;

// A file handle as the open call returns it; k_invalidFileHandle when there is none.
using FileHandle = int;
inline constexpr FileHandle k_invalidFileHandle = -1;

// Desired access.
inline constexpr uint32_t k_genericRead = 0x80000000u;
inline constexpr uint32_t k_genericWrite = 0x40000000u;
// Share mode: what other handles of this library may do while this one is open.
inline constexpr uint32_t k_fileShareRead = 0x1u;
inline constexpr uint32_t k_fileShareWrite = 0x2u;
inline constexpr uint32_t k_fileShareDelete = 0x4u;
// Creation disposition.
inline constexpr uint32_t k_createNew = 1;
inline constexpr uint32_t k_createAlways = 2;
inline constexpr uint32_t k_openExisting = 3;
inline constexpr uint32_t k_openAlways = 4;
inline constexpr uint32_t k_truncateExisting = 5;
// Flags and attributes.
inline constexpr uint32_t k_fileAttributeReadOnly = 0x1u;
inline constexpr uint32_t k_fileAttributeHidden = 0x2u;
inline constexpr uint32_t k_fileAttributeDirectory = 0x10u;
inline constexpr uint32_t k_fileAttributeNormal = 0x80u;
// A search entry that is a symbolic link (its other bits describe the target).
inline constexpr uint32_t k_fileAttributeReparsePoint = 0x400u;
inline constexpr uint32_t k_fileFlagDeleteOnClose = 0x04000000u;
inline constexpr uint32_t k_fileFlagSequentialScan = 0x08000000u;
inline constexpr uint32_t k_invalidFileAttributes = 0xFFFFFFFFu;

// Times are 100 ns units since 1601-01-01 UTC; this many of them lie between 1601 and 1970.
inline constexpr int64_t k_fileTimeUnixEpoch = 116444736000000000;
inline constexpr int64_t k_fileTimeUnitsPerSecond = 10000000;

// What GetFileInformationByHandle reports.
struct FileInformation {
  uint32_t attributes = 0;
  int64_t creationTime = 0;
  int64_t lastAccessTime = 0;
  int64_t lastWriteTime = 0;
  uint64_t volumeSerialNumber = 0;
  uint64_t fileSize = 0;
  uint32_t numberOfLinks = 0;
  uint64_t fileIndex = 0;
};

// What GetFileAttributesExW (standard level) reports.
struct FileAttributeData {
  uint32_t attributes = 0;
  int64_t creationTime = 0;
  int64_t lastAccessTime = 0;
  int64_t lastWriteTime = 0;
  uint64_t fileSize = 0;
};

// One entry of a search (FindFirstFileExW, basic information level: no short name).
struct FindData {
  uint32_t attributes = 0;
  int64_t creationTime = 0;
  int64_t lastAccessTime = 0;
  int64_t lastWriteTime = 0;
  uint64_t fileSize = 0;  // 0 for directories
  wchar_t fileName[260] = {};
};

// An open search; null when there is none.
struct FindState;
using FindHandle = FindState*;

// Opens or creates the file at `path` (Windows grammar, `len` units, mapped through ToNativePath).
// - access: k_genericRead and/or k_genericWrite. shareMode: k_fileShareRead or 0; the share mode is
//   enforced between this library's handles with advisory locks on regular files, and an open that
//   another handle's share mode excludes fails with k_errorSharingViolation (32) without touching
//   the file. A handle with write access or with delete-on-close excludes every other handle.
// - disposition: k_createNew fails with k_errorFileExists (80) when the file exists;
//   k_createAlways and k_truncateExisting empty an existing file only once the share check passed.
// - flags: k_fileFlagDeleteOnClose removes the name when the handle's stream or the handle is
//   closed; k_fileFlagSequentialScan is a read-ahead hint.
// Refused: a directory or a read-only file (no owner write bit) opened for write or delete
// (k_errorAccessDenied, 5, also for root); a name with a character Windows forbids
// (< > : " | ? * or a control character: k_errorInvalidName, 123). A missing file is
// k_errorFileNotFound (2), a missing directory k_errorPathNotFound (3), as is any drive but Z:.
// Returns the handle, or k_invalidFileHandle with the last error set; a failed open creates and
// truncates nothing. A successful open sets the last error to 0.
FileHandle CreateFileW(const wchar_t* path, size_t len, uint32_t access, uint32_t shareMode,
                       uint32_t disposition, uint32_t flagsAndAttributes);

// Closes a handle that no stream owns (with its delete-on-close). False with the last error set.
bool CloseHandle(FileHandle handle);

// Wraps a handle in a buffered stream with the stdio `mode`; `append` makes every write land at
// the end of the file. On success the stream owns the handle. On failure returns null, the handle
// stays open and the last error is set.
FILE* OpenStream(FileHandle handle, bool append, const char* mode);

// How CloseStream ended.
enum class CloseResult {
  Closed,        // the stream and its handle are gone
  StillOpen,     // flushing the buffer failed; the stream is untouched and still usable
  FailedClosed,  // the handle's close failed after a good flush; the stream is gone all the same
};
// Flushes and closes a stream opened here or elsewhere, re-applies a pinned last write time
// (SetFileTime) and performs a delete-on-close. The last error is set on failure.
CloseResult CloseStream(FILE* stream);
// Closes a stream whose buffer could not be flushed, dropping the unwritten bytes.
void DiscardStream(FILE* stream);

// The handle under a stream (k_invalidFileHandle for null).
FileHandle GetStreamHandle(FILE* stream);

// One buffered read or write of `size` bytes; returns the count done. A short count sets the last
// error only when the stream reports an error (end of file is not one). A read of 16 KiB or more
// bypasses the buffer (one read(2) into `buffer`) whenever the stream holds no read-ahead after a
// flush; the stream's position stays right either way.
size_t ReadStream(FILE* stream, void* buffer, size_t size);
size_t WriteStream(FILE* stream, const void* buffer, size_t size);
// Seeks the stream (origin 0 start, 1 current, 2 end) and returns the new position, -1 on failure.
int64_t SeekStream(FILE* stream, int64_t offset, int origin);
// The stream's position, -1 on failure.
int64_t TellStream(FILE* stream);
// Flushes the stream's buffer; a null stream flushes every open stream. False on failure.
bool FlushStream(FILE* stream);
// Makes the stream's current position the end of its file, flushing its buffer first (pending
// writes land before the cut, read-ahead is dropped). False, with the last error, on failure.
bool SetEndOfFile(FILE* stream);

// How CopyStreamRange ended.
enum class RangeCopy {
  Copied,       // `copied` bytes moved; fewer than asked only where the source file ends
  Unsupported,  // the kernel cannot copy between these files; nothing was copied or moved
  Failed,       // a read or write failed; the last error is set (a full disk is 112)
};
// Copies up to `size` bytes of `source`'s file, starting at byte `sourceOffset`, to `target`'s
// file at `target`'s position, without passing them through user memory, and leaves `target`
// positioned after them. Both streams are flushed first, so earlier buffered writes on either
// side are in the files before the copy reads them; `source`'s own position is not used and does
// not move. Unsupported covers different filesystems, special files, a target opened for append
// and overlapping ranges of one file: the caller then copies through memory instead.
RangeCopy CopyStreamRange(FILE* source, int64_t sourceOffset, FILE* target, size_t size, size_t& copied);

// Size of the handle's file. False with the last error set on failure.
bool GetFileSize(FileHandle handle, uint64_t& size);
// Attributes, times and identity of the handle's file. False with the last error set on failure.
bool GetFileInformationByHandle(FileHandle handle, FileInformation& info);
// Sets the times that are given (null leaves a time as it is). A last write time set here stays
// as set until the handle closes: buffered data written afterwards does not move it.
bool SetFileTime(FileHandle handle, const int64_t* creationTime, const int64_t* lastAccessTime,
                 const int64_t* lastWriteTime);

// Attributes, times and size of the file or directory at `path`. False with the last error set.
bool GetFileAttributesExW(const wchar_t* path, size_t len, FileAttributeData& data);

// Starts a search for `pattern` (Windows grammar; its last component may hold the wildcards * and
// ?, matched without regard to case). Entries come in name order, "." and ".." included where the
// pattern matches them. Returns null with the last error set (k_errorFileNotFound when nothing
// matches).
// NamesAndKinds fills the name and, of the attributes, only the directory bit (k_fileAttributeNormal
// otherwise), taken from the directory entry's type, so that walks cost no status query per entry
// (a link is still followed with one). Times and size stay 0. A name that is not valid UTF-8 is
// skipped and counted (GetSkippedNameCount), at both levels.
enum class FindInfoLevel { Standard, NamesAndKinds };
FindHandle FindFirstFileExW(const wchar_t* pattern, size_t len, FindData& data,
                            FindInfoLevel level = FindInfoLevel::Standard);
// The next entry; false with k_errorNoMoreFiles (18) at the end.
bool FindNextFileW(FindHandle find, FindData& data);
// Ends a search; null is accepted.
bool FindClose(FindHandle find);
// Whether a search for a last component of `pattern` would list the entry `name` (a name without
// separators): the same wildcard and case rules as FindFirstFileExW.
bool MatchesSearchPattern(const std::wstring& pattern, const wchar_t* name, size_t len);

// Converts between a time in 100 ns units since 1601 and seconds plus nanoseconds since 1970.
int64_t FileTimeFromUnix(int64_t seconds, long nanoseconds);
void FileTimeToUnix(int64_t fileTime, int64_t& seconds, long& nanoseconds);

}  // namespace lu::platform
