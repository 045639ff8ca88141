// Tree functions on PathFind, the platform's search and its recursive walk.
#include <nybase/files/DirectoryRecursive.h>

#include <cerrno>
#include <cwchar>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <system_error>

#include <nybase/files/PathFind.h>
#include <nybase/platform/DirectoryApi.h>
#include <nybase/platform/FileApi.h>

namespace lu {

namespace {

namespace pf = lu::platform;

// The one exception the tree walks throw, on purpose: callers of the recursive functions expect it.
[[noreturn]] void ThrowWalkError(int err) {
  throw std::filesystem::filesystem_error("recursive_directory_iterator::operator++",
                                          std::error_code(err != 0 ? err : EIO, std::generic_category()));
}

bool Present(const CStdStr<wchar_t>& path) {
  pf::FileStatus status;
  return !path.empty() && pf::GetFileStatus(path.data(), path.size(), status) && status.kind != pf::FileKind::NotFound;
}

// A filter that the folder's one listing can match name by name, as a search for it would: a
// wildcard of plain characters (no separator, nothing a native name could not hold). Any other
// filter (a plain name is looked up as typed, not listed) gets its own search.
bool IsNameWildcard(const CStdStr<wchar_t>& filter) {
  if (filter.find_first_of(L"*?") == CStdStr<wchar_t>::npos) return false;
  for (const wchar_t c : filter) {
    if (c < 0x20 || c >= 0x7F || std::wcschr(L"\\/:<>\"|", c) != nullptr) return false;
  }
  return true;
}

// Whether the listed entry's name matches the filter.
bool MatchesName(const CStdStr<wchar_t>& filter, const PathFind& find) {
  const wchar_t* name = find.PeekNextName();
  return pf::MatchesSearchPattern(filter, name, std::wcslen(name));
}

template <class Set>
bool FilesRecursive(const CStdStr<wchar_t>& directory, Set& out, const CStdStr<wchar_t>& filter, unsigned int flags) {
  Path dir(directory);
  if (!dir.IsDirectory()) return false;
  dir.NormalizeFilePath();
  // Entries arrive in (nearly) ascending order, so the end is the right hint almost always; a
  // wrong hint costs one comparison more.
  if (flags & 1u) out.insert(out.end(), dir.GetFullPath());
  const bool all = filter == L"*";
  const bool matchNames = !all && IsNameWildcard(filter);
  for (PathFind find(Path::Join({dir, L"*"})); find.HasNext(); find.CacheNext()) {
    if (find.IsNextDirectory()) {
      // A link to a folder is listed as a folder but not entered, so loops end.
      if (!find.IsNextLink()) {
        FilesRecursive(find.PeekNext().GetFullPath(), out, filter, flags);
      } else if (flags & 1u) {
        out.insert(out.end(), find.PeekNext().GetFullPath());
      }
    } else if (all || (matchNames && MatchesName(filter, find))) {
      out.insert(out.end(), find.PeekNext().GetFullPath());
    }
  }
  if (!all && !matchNames) {
    for (PathFind find(Path::Join({dir, filter})); find.HasNext(); find.CacheNext()) {
      if (!find.IsNextDirectory()) out.insert(out.end(), find.PeekNext().GetFullPath());
    }
  }
  return !out.empty();
}

// The separator-cleaned form of a walk's entries. A walk builds every entry as the root as given,
// "\" and names joined by "\"; cleaning separators rewrites only runs of separators, "/" and the
// ends, so for names that hold no "\" run at their edges the cleaned entry is the cleaned root
// with its separator followed by the names unchanged. That prefix is worked out once; any other
// entry is cleaned in full.
class CleanWalkPaths {
 public:
  explicit CleanWalkPaths(const CStdStr<wchar_t>& root) : m_rootLength(root.size()) {
    Path probe(CStdStr<wchar_t>(root + L"\\x"));
    probe.NormalizeFilePath();
    m_prefix = probe.GetFullPath();
    m_prefix.pop_back();
  }

  CStdStr<wchar_t> operator()(std::wstring&& entry) const {
    const std::wstring_view names = std::wstring_view(entry).substr(m_rootLength + 1);
    if (IsPlain(names)) {
      CStdStr<wchar_t> path;
      path.reserve(m_prefix.size() + names.size());
      path.append(m_prefix);
      path.append(names.data(), names.size());
      return path;
    }
    Path path(CStdStr<wchar_t>(std::move(entry)));
    path.NormalizeFilePath();
    return path.GetFullPath();
  }

 private:
  // Names the cleaning leaves as they are: no separator at either end and no run of two.
  static bool IsPlain(std::wstring_view names) {
    if (names.empty() || names.front() == L'\\' || names.back() == L'\\') return false;
    for (size_t i = 1; i < names.size(); ++i) {
      if (names[i] == L'\\' && names[i - 1] == L'\\') return false;
    }
    return true;
  }

  size_t m_rootLength;
  CStdStr<wchar_t> m_prefix;
};

// Opens a walk on `root`; a walk that cannot start throws like one that fails half way.
void OpenOrThrow(pf::DirectoryWalk& walk, const CStdStr<wchar_t>& root) {
  if (!walk.Open(root.data(), root.size())) ThrowWalkError(walk.ErrorNumber());
}

}  // namespace

bool FileExists(const CStdStr<wchar_t>& path) { return Path(path).IsFile(); }

bool PathFileExistsW(const CStdStr<wchar_t>& path) { return Path(path).Exists(); }

bool EnsureDirectoryExists(const CStdStr<wchar_t>& path) {
  if (path.empty()) return false;
  Path dir(path);
  dir.RemoveTrailingSeparator();
  if (dir.IsEmpty()) return false;
  if (dir.Exists()) return true;
  if (FilePathHasInvalidCharacters(dir.GetFullPath())) return false;
  return dir.CreateDirectories(nullptr);
}

void GetFilesInfo(volatile bool& cancel, const CStdStr<wchar_t>& directory,
                  const std::function<void(const CStdStr<wchar_t>&, const FileInfo&)>& onFile,
                  const std::function<bool(const BasicStringView<wchar_t>&)>& filter) {
  if (cancel) return;
  const std::wstring pattern = directory + L"\\*";
  pf::FindData data;
  pf::FindHandle find = pf::FindFirstFileExW(pattern.data(), pattern.size(), data);
  if (find == nullptr) return;
  do {
    const size_t length = std::wcslen(data.fileName);
    if (data.attributes & pf::k_fileAttributeDirectory) {
      // Only the first character is compared, on purpose: every dot folder (".svn") is skipped.
      if (data.fileName[0] != L'.' && (data.attributes & pf::k_fileAttributeReparsePoint) == 0) {
        CStdStr<wchar_t> sub(directory);
        sub.push_back(L'\\');
        sub.append(data.fileName, length);
        GetFilesInfo(cancel, sub, onFile, filter);
      }
    } else if (filter(BasicStringView<wchar_t>(data.fileName, length))) {
      FileInfo info;
      info.lastWriteTime = (data.lastWriteTime - pf::k_fileTimeUnixEpoch) / pf::k_fileTimeUnitsPerSecond;
      info.size = data.fileSize;
      CStdStr<wchar_t> file(directory);
      file.push_back(L'\\');
      file.append(data.fileName, length);
      onFile(file, info);
    }
  } while (!cancel && pf::FindNextFileW(find, data));
  pf::FindClose(find);
}

bool GetFilesRecursive(const CStdStr<wchar_t>& directory, std::set<CStdStr<wchar_t>>& out,
                       const CStdStr<wchar_t>& filter, unsigned int flags) {
  return FilesRecursive(directory, out, filter, flags);
}

bool GetFilesRecursive(const CStdStr<wchar_t>& directory, std::set<CStdStr<wchar_t>, NoCaseStringComp>& out,
                       const CStdStr<wchar_t>& filter, unsigned int flags) {
  return FilesRecursive(directory, out, filter, flags);
}

bool ListDirectoryRecursive(const CStdStr<wchar_t>& directory, std::vector<CStdStr<wchar_t>>& out) {
  if (!Present(directory)) return false;
  pf::DirectoryWalk walk;
  OpenOrThrow(walk, directory);
  const CleanWalkPaths clean(directory);
  pf::WalkEntry entry;
  for (;;) {
    const pf::DirectoryWalk::Step step = walk.Next(entry);
    if (step == pf::DirectoryWalk::Step::End) break;
    if (step == pf::DirectoryWalk::Step::Error) ThrowWalkError(walk.ErrorNumber());
    if (entry.kind == pf::FileKind::Directory || entry.kind == pf::FileKind::NotFound) continue;
    out.push_back(clean(std::move(entry.path)));
  }
  return true;
}

bool CopyFilesRecursive(const CStdStr<wchar_t>& source, const CStdStr<wchar_t>& destination,
                        const std::function<bool(const CStdStr<wchar_t>&)>& filter, bool copyHidden) {
  const Path from(source);
  if (!from.Exists()) return false;
  if (!Path(destination).Exists() && !from.Copy(Path(destination))) return false;
  pf::DirectoryWalk walk;
  if (!walk.Open(source.data(), source.size())) return false;
  std::vector<CStdStr<wchar_t>> files;
  pf::WalkEntry entry;
  for (;;) {
    const pf::DirectoryWalk::Step step = walk.Next(entry);
    if (step == pf::DirectoryWalk::Step::End) break;
    if (step == pf::DirectoryWalk::Step::Error) ThrowWalkError(walk.ErrorNumber());
    if (entry.kind == pf::FileKind::Directory) continue;
    const Path file(CStdStr<wchar_t>(entry.path));
    if (!copyHidden && file.IsHidden()) continue;
    if (filter && entry.kind != pf::FileKind::NotFound && !filter(file.GetFullPath())) continue;
    files.push_back(file.GetFullPath());
  }
  bool ok = true;
  for (const CStdStr<wchar_t>& file : files) {
    // The walk builds every path as `source`, "\" and the names below it, and never enters a
    // link, so the text behind that prefix is what GetPathRelative(source) would resolve to,
    // without resolving both paths on the disk for every file.
    const CStdStr<wchar_t> relative(file.substr(source.size() + 1));
    const Path target = Path::Combine({destination, relative});
    if (relative.empty() || !Path(file).Copy(target)) ok = false;
  }
  return ok;
}

bool RemoveDirectoryRecursive(const CStdStr<wchar_t>& directory,
                              const std::function<bool(const CStdStr<wchar_t>&)>& filter) {
  if (!Present(directory)) return false;
  if (filter && !filter(directory)) return false;
  pf::DirectoryWalk walk;
  OpenOrThrow(walk, directory);
  std::vector<CStdStr<wchar_t>> files;
  std::map<size_t, std::vector<CStdStr<wchar_t>>> folders;
  pf::WalkEntry entry;
  for (;;) {
    const pf::DirectoryWalk::Step step = walk.Next(entry);
    if (step == pf::DirectoryWalk::Step::End) break;
    if (step == pf::DirectoryWalk::Step::Error) ThrowWalkError(walk.ErrorNumber());
    if (entry.kind == pf::FileKind::NotFound) continue;
    CStdStr<wchar_t> path(std::move(entry.path));
    if (filter && !filter(path)) continue;
    if (entry.kind == pf::FileKind::Directory) {
      folders[entry.depth].push_back(std::move(path));
    } else {
      files.push_back(std::move(path));
    }
  }
  bool removed;
  for (const CStdStr<wchar_t>& file : files) pf::RemoveEntry(file.data(), file.size(), removed);
  // Deepest first; a folder that still holds something stays, harmlessly.
  for (auto level = folders.rbegin(); level != folders.rend(); ++level) {
    for (const CStdStr<wchar_t>& folder : level->second) pf::RemoveEntry(folder.data(), folder.size(), removed);
  }
  pf::RemoveEntry(directory.data(), directory.size(), removed);
  // True whatever the removals achieved, on purpose: callers only learn that the walk ran.
  return true;
}

bool RemoveFiles(const Path& directory, const CStdStr<wchar_t>& pattern) {
  if (!directory.IsDirectory()) return false;
  bool ok = true;
  for (PathFind find(Path::Join({directory, pattern})); find.HasNext(); find.CacheNext()) {
    if (!find.IsNextDirectory() && !find.PeekNext().Remove(false)) ok = false;
  }
  return ok;
}

}  // namespace lu
