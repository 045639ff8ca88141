// FileHelp: the wrappers that only build a lu::Path and call one member.
#include <nybase/files/FileHelp.h>

#include <vector>

#include <nybase/files/DirectoryRecursive.h>
#include <nybase/files/FileOperation.h>
#include <nybase/files/Path.h>

namespace FileHelp {

namespace {

size_t LastDot(lu::BasicStringView<wchar_t> path) { return path.view().rfind(L'.'); }

}  // namespace

bool AreFileIdentical(const CStdStr<wchar_t>& a, const CStdStr<wchar_t>& b) {
  return lu::FileOperation::AreFilesIdentical(lu::Path(a), lu::Path(b));
}

bool FileNameHasInvalidCharacters(const CStdStr<wchar_t>& s) { return lu::FileNameHasInvalidCharacters(s); }
bool FilePathHasInvalidCharacters(const CStdStr<wchar_t>& s) { return lu::FilePathHasInvalidCharacters(s); }

bool FolderAddBackslash(CStdStr<wchar_t>& path) {
  lu::Path p(path);
  p.AddTrailingSeparator();
  if (p.GetFsPath().native() == path) return false;
  path = p.GetFullPath();
  return true;
}

void FolderRemoveBackslash(CStdStr<wchar_t>& path) {
  lu::Path p(path);
  p.RemoveTrailingSeparator();
  path = p.GetFullPath();
}

lu::BasicStringView<wchar_t> GetFileExtension(lu::BasicStringView<wchar_t> path) {
  const size_t dot = LastDot(path);
  if (dot == std::wstring_view::npos) return {};
  return {path.data() + dot, path.size() - dot};
}

lu::BasicStringView<wchar_t> GetFileExtensionNoDot(lu::BasicStringView<wchar_t> path) {
  const size_t dot = LastDot(path);
  if (dot == std::wstring_view::npos) return {};
  return {path.data() + dot + 1, path.size() - dot - 1};
}

CStdStr<wchar_t> GetFileExtension(const CStdStr<wchar_t>& path) { return lu::Path(path).GetFileExtension(); }
CStdStr<wchar_t> GetFileName(const CStdStr<wchar_t>& path) { return lu::Path(path).GetFileName(); }
CStdStr<wchar_t> GetFileNameNoExtension(const CStdStr<wchar_t>& path) { return lu::Path(path).GetStem(); }

bool OpenTextStream(std::wifstream& stream, const wchar_t* path) {
  return lu::FileOperation::OpenTextStream(stream, lu::Path(path));
}

CStdStr<wchar_t> PathAddBackslashW(CStdStr<wchar_t>& path) {
  if (!path.empty() && path.back() != L'\\') path.push_back(L'\\');
  return path;
}

CStdStr<wchar_t> PathAddTrailingSeparator(const CStdStr<wchar_t>& path) {
  lu::Path p(path);
  return p.AddTrailingSeparator().GetFullPath();
}

CStdStr<wchar_t> PathCanonicalizeW(const CStdStr<wchar_t>& path) {
  lu::Path p(path);
  return p.Canonicalize().GetFullPath();
}

CStdStr<wchar_t> PathRemoveBackslashW(const CStdStr<wchar_t>& path) {
  lu::Path p(path);
  return p.RemoveTrailingSeparator().GetFullPath();
}

CStdStr<wchar_t> PathRemoveTrailingSeparator(const CStdStr<wchar_t>& path) { return PathRemoveBackslashW(path); }

CStdStr<wchar_t> PathCombineW(const CStdStr<wchar_t>& a, const CStdStr<wchar_t>& b) {
  return lu::Path::Join({a, b}).GetFullPath();
}

CStdStr<wchar_t> PathReplaceExtension(const CStdStr<wchar_t>& path, const CStdStr<wchar_t>& extension) {
  lu::Path p(path);
  return p.ReplaceExtension(extension).GetFullPath();
}

CStdStr<wchar_t> ReadTextFile(const wchar_t* path) { return lu::FileOperation::ReadTextFile(lu::Path(path)); }

bool CopyFilesRecursively(const CStdStr<wchar_t>& source, const CStdStr<wchar_t>& destination,
                          const std::function<bool(const CStdStr<wchar_t>&)>& filter, bool copyHidden) {
  return lu::CopyFilesRecursive(source, destination, filter, copyHidden);
}

bool EnsureDirectoryExists(const wchar_t* path) {
  return lu::EnsureDirectoryExists(CStdStr<wchar_t>(path != nullptr ? path : L""));
}

int64_t GetFileSize(const CStdStr<wchar_t>& path) { return static_cast<int64_t>(lu::Path(path).GetFileSize()); }

bool IsHidden(const CStdStr<wchar_t>& path) { return lu::Path(path).IsHidden(); }

bool IsReadOnly(const CStdStr<wchar_t>& path) {
  const lu::Path p(path);
  return p.Exists() && !lu::FileOperation::IsWritable(p);
}

void MakePathRelative(CStdStr<wchar_t>& path, const CStdStr<wchar_t>& base) {
  lu::Path p(path);
  p.MakePathRelative(lu::Path(base));
  path = p.GetFsPath().native();
}

CStdStr<wchar_t> PathGetDirectory(const CStdStr<wchar_t>& path) {
  const lu::Path p(path);
  return p.IsDirectory() ? p.GetParent() : p.GetFileDirectory(false);
}

bool RemoveDirectoryRecursive(const wchar_t* path) {
  return lu::Path(CStdStr<wchar_t>(path != nullptr ? path : L"")).Remove(true);
}

void RemoveReadOnlyFlag(const CStdStr<wchar_t>& path) { lu::Path(path).RemoveReadOnlyStatus(); }

void RemoveReadOnlyFlagRecursive(const CStdStr<wchar_t>& path) {
  std::vector<CStdStr<wchar_t>> files;
  lu::ListDirectoryRecursive(path, files);
  for (const CStdStr<wchar_t>& file : files) lu::Path(file).RemoveReadOnlyStatus();
}

}  // namespace FileHelp
