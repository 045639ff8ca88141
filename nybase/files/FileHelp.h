// FileHelp: string-in, string-out wrappers over lu::Path and lu::FileOperation for callers that
// hold plain strings.
#pragma once

#include <fstream>

#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>

namespace FileHelp {

// FileOperation::AreFilesIdentical of the two paths.
bool AreFileIdentical(const CStdStr<wchar_t>& a, const CStdStr<wchar_t>& b);
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
// Path::Join({a, b}).
CStdStr<wchar_t> PathCombineW(const CStdStr<wchar_t>& a, const CStdStr<wchar_t>& b);
// Path::ReplaceExtension of a copy.
CStdStr<wchar_t> PathReplaceExtension(const CStdStr<wchar_t>& path, const CStdStr<wchar_t>& extension);
// FileOperation::ReadTextFile (a null path counts as empty and gives "").
CStdStr<wchar_t> ReadTextFile(const wchar_t* path);

}  // namespace FileHelp
