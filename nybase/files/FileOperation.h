// lu::FileOperation: whole-file helpers on lu::File (exclusive creation, temporary files,
// writability probes, comparison, whole text reads, text streams), and lu::CreateGuid.
#pragma once

#include <cstdio>
#include <fstream>
#include <string>

#include <nybase/base/NyGuid.h>
#include <nybase/files/File.h>
#include <nybase/files/Path.h>
#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>

namespace lu {

// A new random (version 4, variant 10) GUID from a process-wide Mersenne Twister seeded once from
// the system's random source. The generator is not locked: concurrent callers may draw the same
// value.
NyGuid CreateGuid();

namespace FileOperation {

// Creates `path`, which must not exist yet, for exclusive reading and writing. The File is
// returned whether or not that worked: a closed File means failure (an existing file included).
File CreateNew(const Path& path);

// Creates a file with a fresh GUID name and `extension` in `directory`, opened for reading and
// writing with the caller's NyFileFlags (without NyFileFlagCreateNew a name collision would
// overwrite). Up to five names are tried. On success `createdPath` receives the full name; on
// failure (no such directory, five failed opens) it is left alone and the File is closed.
File CreateNewTempFile(const Path& directory, Path& createdPath, BasicStringView<wchar_t> extension,
                       unsigned int flags);

// Whether a file could be written at `path`: for a directory, whether a file can be created in it;
// otherwise whether `path` opens for reading and writing. The probe leaves no new file behind and
// changes no existing one. False when it cannot.
bool IsWritable(const Path& path);

// True when both files have the same bytes. Two empty files are identical; a missing file is never
// identical to anything (two missing files included). Sizes are compared before anything is opened.
bool AreFilesIdentical(const Path& a, const Path& b);

// The whole file decoded as UTF-8 up to its first NUL byte; a byte order mark stays as U+FEFF at the
// front. Empty when the file cannot be read or holds nothing.
CStdStr<wchar_t> ReadTextFile(const Path& path);
// As ReadTextFile, but a UTF-8 byte order mark is removed first.
CStdStr<wchar_t> ReadUtf8File(const Path& path);
// The file's bytes, less a leading UTF-8 byte order mark, followed by one NUL that is part of the
// string: the length is one more than the content (deliberately; callers rely on the terminator).
// Empty when the file cannot be opened.
std::string ReadUtf8FileRaw(const Path& path);

// Opens `stream` on `path` for reading text as UTF-8 (units of the BMP only, a byte order mark
// consumed); when the first character cannot be read so, reopens it as UTF-16 (big-endian unless
// the file starts with FF FE). True when a first character could be read; an empty file is false.
bool OpenTextStream(std::wifstream& stream, const Path& path);
// "End-of-File reached", "Logical error on I/O", "Read error on I/O" by the stream's state, tested
// in this order, or the empty string. The strings live for the whole process.
const CStdStr<wchar_t>& GetTextStreamErrorString(const std::wifstream& stream);

// fopen with a Windows-grammar name and a wide mode; null on failure.
FILE* OpenFile(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& mode);
// Stores OpenFile's result through `out` and answers whether it is non-null; false for a null `out`.
bool WithOpenFile(FILE** out, const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& mode);
// The handle of a stream: in this library a file handle is the stream pointer itself.
void* ConvertFILEToHandle(FILE* stream);

}  // namespace FileOperation
}  // namespace lu
