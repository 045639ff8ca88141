// FileHelp: string-in, string-out wrappers over lu::Path and lu::FileOperation for callers that
// hold plain strings.
#pragma once

#include <cstdint>
#include <fstream>
#include <functional>

#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>

namespace FileHelp {

// FileOperation::AreFilesIdentical of the two paths.
bool AreFileIdentical(const CStdStr<wchar_t>& a, const CStdStr<wchar_t>& b);
// lu::CopyFilesRecursive under another name.
bool CopyFilesRecursively(const CStdStr<wchar_t>& source, const CStdStr<wchar_t>& destination,
                          const std::function<bool(const CStdStr<wchar_t>&)>& filter, bool copyHidden);
// lu::EnsureDirectoryExists; a null pointer counts as the empty string.
bool EnsureDirectoryExists(const wchar_t* path);
// lu::FileNameHasInvalidCharacters and lu::FilePathHasInvalidCharacters.
bool FileNameHasInvalidCharacters(const CStdStr<wchar_t>& s);
bool FilePathHasInvalidCharacters(const CStdStr<wchar_t>& s);
// Path::AddTrailingSeparator; `path` is assigned only when the text changes. True when it did.
bool FolderAddBackslash(CStdStr<wchar_t>& path);
// Path::RemoveTrailingSeparator, in place.
void FolderRemoveBackslash(CStdStr<wchar_t>& path);
// The text from the last "." to the end, dot included, or an empty view without a dot. The
// search does not stop at separators ("a.b\c" gives ".b\c"), unlike the string overload below,
// which follows Path's rule and gives "" there; the two differ on purpose.
lu::BasicStringView<wchar_t> GetFileExtension(lu::BasicStringView<wchar_t> path);
// The same without the dot ("a." gives an empty view).
lu::BasicStringView<wchar_t> GetFileExtensionNoDot(lu::BasicStringView<wchar_t> path);
// Path::GetFileExtension.
CStdStr<wchar_t> GetFileExtension(const CStdStr<wchar_t>& path);
// Path::GetFileName and Path::GetStem.
CStdStr<wchar_t> GetFileName(const CStdStr<wchar_t>& path);
CStdStr<wchar_t> GetFileNameNoExtension(const CStdStr<wchar_t>& path);
// Path::GetFileSize as a signed value (0 on failure).
int64_t GetFileSize(const CStdStr<wchar_t>& path);
// Path::IsHidden (a missing path reads as hidden, as there).
bool IsHidden(const CStdStr<wchar_t>& path);
// True when the path exists and FileOperation::IsWritable says no: a test by opening, not by the
// permission bits, so it also answers for a file another process holds locked.
bool IsReadOnly(const CStdStr<wchar_t>& path);
// Path::MakePathRelative, written back into `path`.
void MakePathRelative(CStdStr<wchar_t>& path, const CStdStr<wchar_t>& base);
// FileOperation::OpenTextStream (a null path counts as empty, which fails).
bool OpenTextStream(std::wifstream& stream, const wchar_t* path);
// Appends "\" to `path` itself unless it ends in one, and returns a copy; an empty string stays
// empty, and a final "/" stays in front of the new "\".
CStdStr<wchar_t> PathAddBackslashW(CStdStr<wchar_t>& path);
// Path::AddTrailingSeparator, Path::Canonicalize and Path::RemoveTrailingSeparator of a copy.
CStdStr<wchar_t> PathAddTrailingSeparator(const CStdStr<wchar_t>& path);
CStdStr<wchar_t> PathCanonicalizeW(const CStdStr<wchar_t>& path);
CStdStr<wchar_t> PathRemoveBackslashW(const CStdStr<wchar_t>& path);
CStdStr<wchar_t> PathRemoveTrailingSeparator(const CStdStr<wchar_t>& path);
// Path::GetParent when `path` is an existing directory, otherwise Path::GetFileDirectory(false):
// the directory above a directory, and the directory of a file.
CStdStr<wchar_t> PathGetDirectory(const CStdStr<wchar_t>& path);
// Path::Join({a, b}).
CStdStr<wchar_t> PathCombineW(const CStdStr<wchar_t>& a, const CStdStr<wchar_t>& b);
// Path::ReplaceExtension of a copy.
CStdStr<wchar_t> PathReplaceExtension(const CStdStr<wchar_t>& path, const CStdStr<wchar_t>& extension);
// FileOperation::ReadTextFile (a null path counts as empty and gives "").
CStdStr<wchar_t> ReadTextFile(const wchar_t* path);
// Path::Remove(true), not the filtered lu::RemoveDirectoryRecursive; a null path counts as empty.
bool RemoveDirectoryRecursive(const wchar_t* path);
// Path::RemoveReadOnlyStatus, its result dropped.
void RemoveReadOnlyFlag(const CStdStr<wchar_t>& path);
// lu::ListDirectoryRecursive, then RemoveReadOnlyStatus on each file listed; throws as the
// listing does when a folder cannot be read (nothing is changed then).
void RemoveReadOnlyFlagRecursive(const CStdStr<wchar_t>& path);

}  // namespace FileHelp
