// Functions over whole directory trees: existence checks, directory chains, file listings,
// recursive copy and removal.
#pragma once

#include <functional>
#include <set>
#include <vector>

#include <nybase/files/File.h>
#include <nybase/files/Path.h>
#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>
#include <nybase/text/NoCaseStringComp.h>

namespace lu {

// The path exists and is not a directory (as Path::IsFile).
bool FileExists(const CStdStr<wchar_t>& path);
// The path's attributes can be read; a directory counts.
bool PathFileExistsW(const CStdStr<wchar_t>& path);
// Makes sure the directory exists: false for an empty path (or one that is a lone separator) and
// for an illegal character (nothing created); true when the path exists, of any kind; otherwise
// Path::CreateDirectories.
bool EnsureDirectoryExists(const CStdStr<wchar_t>& path);

// Calls `onFile` with the full path and the size and write time of every file under `directory`
// whose name `filter` accepts, depth first in the file system's order. Folders whose name begins
// with "." (".svn" and the like) are never entered, and neither are links to folders. `cancel` is
// read after every entry and may be set by another thread. A folder that cannot be read is passed
// over in silence. Both callbacks must be set.
void GetFilesInfo(volatile bool& cancel, const CStdStr<wchar_t>& directory,
                  const std::function<void(const CStdStr<wchar_t>&, const FileInfo&)>& onFile,
                  const std::function<bool(const BasicStringView<wchar_t>&)>& filter);

// Adds to `out` the files under `directory` whose names match the wildcard `filter` ("*" for all),
// in every subfolder; with bit 0 of `flags`, every folder as well (the top one included). Paths are
// built on the separator-cleaned `directory`. Links to folders are listed like folders but never
// entered, so link loops end; unreadable folders are passed over. False when `directory` is not a
// directory, else whether `out` (which is not cleared) is non-empty.
bool GetFilesRecursive(const CStdStr<wchar_t>& directory, std::set<CStdStr<wchar_t>>& out,
                       const CStdStr<wchar_t>& filter, unsigned int flags);
bool GetFilesRecursive(const CStdStr<wchar_t>& directory, std::set<CStdStr<wchar_t>, NoCaseStringComp>& out,
                       const CStdStr<wchar_t>& filter, unsigned int flags);

// Appends every entry under `directory` that is not a directory (status following links; dangling
// links left out), separator-cleaned. Links to folders are not entered. False when `directory` does
// not exist. Throws std::filesystem::filesystem_error ("recursive_directory_iterator::operator++")
// when a folder of the tree cannot be opened or read: a permission-denied folder ends the walk.
bool ListDirectoryRecursive(const CStdStr<wchar_t>& directory, std::vector<CStdStr<wchar_t>>& out);

// Copies the files under `source` to the same relative places under `destination`, overwriting,
// and creating only the folders that receive a file. Hidden files are left out unless `copyHidden`
// (hidden folders are still entered); `filter`, when set, must accept a file's path. A missing
// `destination` is first made by Path::Copy. True when every copy worked (the loop does not stop
// at a failure); false when `source` is missing or cannot be walked. Throws as
// ListDirectoryRecursive when a folder cannot be read during the walk.
bool CopyFilesRecursive(const CStdStr<wchar_t>& source, const CStdStr<wchar_t>& destination,
                        const std::function<bool(const CStdStr<wchar_t>&)>& filter, bool copyHidden);

// Removes the tree: first every file `filter` accepts (all when unset), then the accepted folders
// deepest first, then `directory` itself; removals that fail (a folder still holding something)
// are passed over. False when `directory` is missing or `filter` refuses it; otherwise true,
// whatever was removed. Throws as ListDirectoryRecursive when a folder cannot be read.
bool RemoveDirectoryRecursive(const CStdStr<wchar_t>& directory,
                              const std::function<bool(const CStdStr<wchar_t>&)>& filter);

// Removes the files of `directory` (not its subfolders) that match `pattern`. False when
// `directory` is not a directory or a removal failed; true otherwise, with no match too.
bool RemoveFiles(const Path& directory, const CStdStr<wchar_t>& pattern);

}  // namespace lu
