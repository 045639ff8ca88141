// The members of lu::Path that read or change the disk, on the platform's directory services.
#include <nybase/files/Path.h>

#include <algorithm>
#include <string>
#include <vector>

#include <nybase/files/internal/SystemErrorCondition.h>
#include <nybase/platform/CurrentDirectory.h>
#include <nybase/platform/DirectoryApi.h>
#include <nybase/platform/FileApi.h>
#include <nybase/platform/LastError.h>

namespace lu {

namespace {

namespace pf = lu::platform;

constexpr int k_codeSuccess = 0;
constexpr int k_codeNoSource = 2;
constexpr int k_codeInvalid = 22;
constexpr int k_removeRetries = 10;

bool StatusOf(const std::wstring& text, pf::FileStatus& status) {
  return !text.empty() && pf::GetFileStatus(text.data(), text.size(), status) && status.kind != pf::FileKind::NotFound;
}

pf::FileKind KindOf(const std::wstring& text) {
  pf::FileStatus status;
  return StatusOf(text, status) ? status.kind : pf::FileKind::NotFound;
}

uint32_t AttributesOf(const std::wstring& text) {
  if (text.empty()) {
    pf::SetLastError(pf::k_errorPathNotFound);
    return pf::k_invalidFileAttributes;
  }
  return pf::GetFileAttributesW(text.data(), text.size());
}

bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

// The elements of `text` behind its root: [begin, end) offsets, empty elements left out.
std::vector<std::pair<size_t, size_t>> Elements(const std::wstring& text, size_t from) {
  std::vector<std::pair<size_t, size_t>> out;
  size_t i = from;
  while (i < text.size()) {
    while (i < text.size() && IsSeparator(text[i])) ++i;
    const size_t start = i;
    while (i < text.size() && !IsSeparator(text[i])) ++i;
    if (i > start) out.emplace_back(start, i);
  }
  return out;
}

size_t RootEnd(const std::wstring& text) {
  FsPath p{CStdStr<wchar_t>(text)};
  return p.root_path().native().size();
}

// The path with each existing leading part replaced by its canonical form and the rest normalised
// lexically.
std::wstring Resolve(const std::wstring& text) {
  std::wstring canonical;
  if (pf::GetCanonicalPath(text.data(), text.size(), canonical)) return canonical;
  const size_t root = RootEnd(text);
  const auto elements = Elements(text, root);
  std::wstring base;
  size_t used = 0;
  // Longest existing prefix, searched from the longest down.
  for (size_t n = elements.size(); n-- > 0;) {
    const std::wstring prefix = text.substr(0, elements[n].second);
    if (pf::GetCanonicalPath(prefix.data(), prefix.size(), canonical)) {
      base = canonical;
      used = n + 1;
      break;
    }
  }
  if (used == 0 && root > 0) {
    const std::wstring prefix = text.substr(0, root);
    if (pf::GetCanonicalPath(prefix.data(), prefix.size(), canonical)) base = canonical;
  }
  std::wstring joined = used == 0 && base.empty() ? text.substr(0, root) : base;
  for (size_t i = used; i < elements.size(); ++i) {
    if (!joined.empty() && !IsSeparator(joined.back())) joined.push_back(L'\\');
    joined.append(text, elements[i].first, elements[i].second - elements[i].first);
  }
  return FsPath(CStdStr<wchar_t>(joined)).lexically_normal().native();
}

struct CopyProgress {
  IProgress* sink;
  bool first;
};

bool OnCopyProgress(uint64_t total, uint64_t transferred, void* context) {
  auto* p = static_cast<CopyProgress*>(context);
  if (p->sink == nullptr) return true;
  if (p->first) {
    p->sink->SetRange(0, static_cast<int64_t>((total + 1023) / 1024));
    p->first = false;
  }
  p->sink->SetPosition(static_cast<uint32_t>(std::min(transferred, total) / 1024));
  // The copy always continues; the sink's cancel flag is not consulted here (on purpose).
  return true;
}

bool RemoveOnce(const std::wstring& text, bool& removed, uint32_t& error) {
  const bool ok = pf::RemoveEntry(text.data(), text.size(), removed);
  error = ok ? pf::k_errorSuccess : pf::GetLastError();
  return ok;
}

bool RemoveTree(const std::wstring& text);

// Empties the directory `text`: subdirectories go through RemoveTree, other entries are removed.
bool RemoveContents(const std::wstring& text) {
  const std::wstring pattern = text + L"\\*";
  pf::FindData data;
  pf::FindHandle find = pf::FindFirstFileExW(pattern.data(), pattern.size(), data, pf::FindInfoLevel::NamesAndKinds);
  if (find == nullptr) return pf::GetLastError() == pf::k_errorFileNotFound;
  bool ok = true;
  do {
    const std::wstring name = data.fileName;
    if (name == L"." || name == L"..") continue;
    const std::wstring child = text + L"\\" + name;
    if (data.attributes & pf::k_fileAttributeDirectory) {
      ok = RemoveTree(child);
    } else {
      bool removed;
      uint32_t error;
      ok = RemoveOnce(child, removed, error);
    }
  } while (ok && pf::FindNextFileW(find, data));
  pf::FindClose(find);
  return ok;
}

bool RemoveTree(const std::wstring& text) {
  bool removed = false;
  uint32_t error = pf::k_errorSuccess;
  RemoveOnce(text, removed, error);
  if (error != pf::k_errorDirNotEmpty) return removed && error == pf::k_errorSuccess;
  if (!RemoveContents(text)) return false;
  bool anyRemoved = false;
  for (int attempt = 0; attempt < k_removeRetries; ++attempt) {
    RemoveOnce(text, removed, error);
    anyRemoved = anyRemoved || removed;
    if (error != pf::k_errorDirNotEmpty && error != pf::k_errorAccessDenied) break;
  }
  return error == pf::k_errorSuccess && anyRemoved;
}

}  // namespace

bool Path::Exists() const { return AttributesOf(Text()) != pf::k_invalidFileAttributes; }

bool Path::IsFile() const {
  const pf::FileKind kind = KindOf(Text());
  return kind != pf::FileKind::NotFound && kind != pf::FileKind::Directory;
}

bool Path::IsDirectory() const { return KindOf(Text()) == pf::FileKind::Directory; }

bool Path::IsHidden() const {
  if (Text().empty()) return false;
  // No check of failure, on purpose: the failure value has every bit set, so a missing path is hidden.
  return (AttributesOf(Text()) & pf::k_fileAttributeHidden) != 0;
}

bool Path::SetHiddenStatus(bool hidden) const {
  const uint32_t attributes = AttributesOf(Text());
  if (attributes == pf::k_invalidFileAttributes) return false;
  if (((attributes & pf::k_fileAttributeHidden) != 0) == hidden) return true;
  const uint32_t changed = hidden ? (attributes | pf::k_fileAttributeHidden) : (attributes & ~pf::k_fileAttributeHidden);
  return pf::SetFileAttributesW(Text().data(), Text().size(), changed);
}

bool Path::IsReadOnly() const {
  pf::FileStatus status;
  return StatusOf(Text(), status) && status.readOnly;
}

bool Path::RemoveReadOnlyStatus() const {
  const uint32_t attributes = AttributesOf(Text());
  if (attributes == pf::k_invalidFileAttributes) return false;
  return pf::SetFileAttributesW(Text().data(), Text().size(), attributes & ~pf::k_fileAttributeReadOnly);
}

uint64_t Path::GetFileSize() const {
  pf::FileStatus status;
  return StatusOf(Text(), status) ? status.size : 0;
}

int64_t Path::GetLastWriteTime() const {
  pf::FileAttributeData data;
  if (Text().empty() || !pf::GetFileAttributesExW(Text().data(), Text().size(), data)) return -1;
  return (data.lastWriteTime - pf::k_fileTimeUnixEpoch) / pf::k_fileTimeUnitsPerSecond;
}

bool Path::Copy(const Path& destination, IProgress* progress, std::error_condition* condition) const {
  const pf::FileKind sourceKind = KindOf(Text());
  if (sourceKind == pf::FileKind::NotFound) {
    detail::ReportGeneric(condition, k_codeNoSource);
    return false;
  }
  const Path parent(destination.GetParent());
  const pf::FileKind parentKind = KindOf(parent.Text());
  if (parentKind != pf::FileKind::Directory) {
    if (!parent.IsEmpty() && parentKind != pf::FileKind::NotFound) {
      // A parent that is a file: the copy below fails with the system's own error.
      detail::ReportGeneric(condition, k_codeSuccess);
    } else if (!parent.IsEmpty() && !FilePathHasInvalidCharacters(parent.Text())) {
      if (!parent.CreateDirectories(condition)) return false;
    } else {
      // An empty parent too: a bare file name is no valid destination.
      detail::ReportGeneric(condition, k_codeInvalid);
      return false;
    }
  }
  if (sourceKind == pf::FileKind::Directory) return destination.CreateDirectoryW(condition);
  CopyProgress context{progress, true};
  const std::wstring& to = destination.Text();
  if (!pf::CopyFileExW(Text().data(), Text().size(), to.data(), to.size(), &OnCopyProgress, &context)) {
    detail::ReportSystem(condition, pf::GetLastError());
    return false;
  }
  detail::ReportGeneric(condition, k_codeSuccess);
  return true;
}

bool Path::FsPathCopy(const Path& from, const Path& to, IProgress* progress, std::error_condition* condition) {
  if (progress) {
    progress->SetRange(0, 100);
    progress->SetPosition(0);
  }
  uint32_t error = pf::k_errorSuccess;
  const pf::FileKind kind = KindOf(from.Text());
  if (kind == pf::FileKind::NotFound) {
    error = pf::k_errorFileNotFound;
  } else if (kind == pf::FileKind::Directory) {
    // A directory is created, never copied with its contents.
    if (!to.IsDirectory() && !pf::CreateDirectoryW(to.Text().data(), to.Text().size())) error = pf::GetLastError();
  } else if (!pf::CopyFileExW(from.Text().data(), from.Text().size(), to.Text().data(), to.Text().size(), nullptr,
                              nullptr)) {
    error = pf::GetLastError();
  }
  if (progress) progress->SetPosition(100);
  detail::ReportSystem(condition, error);
  return error == pf::k_errorSuccess;
}

bool Path::Move(const Path& destination) const {
  const std::wstring& to = destination.Text();
  return !Text().empty() && !to.empty() && pf::MoveFileExW(Text().data(), Text().size(), to.data(), to.size());
}

bool Path::Remove(bool recursive) const {
  if (Text().empty()) return false;
  if (!recursive || !IsDirectory()) {
    bool removed = false;
    uint32_t error = pf::k_errorSuccess;
    RemoveOnce(Text(), removed, error);
    return removed && error == pf::k_errorSuccess;
  }
  return RemoveTree(Text());
}

bool Path::CreateDirectoryW(std::error_condition* condition) const {
  if (Exists()) {
    detail::ReportGeneric(condition, k_codeSuccess);
    return true;
  }
  if (!Path(GetParent()).Exists() || FilePathHasInvalidCharacters(Text())) {
    detail::ReportGeneric(condition, k_codeInvalid);
    return false;
  }
  const uint32_t error =
      pf::CreateDirectoryW(Text().data(), Text().size()) ? pf::k_errorSuccess : pf::GetLastError();
  detail::ReportSystem(condition, error);
  return error == pf::k_errorSuccess;
}

bool Path::CreateDirectories(std::error_condition* condition) const {
  if (Text().empty()) {
    detail::ReportGeneric(condition, k_codeInvalid);
    return false;
  }
  if (Exists()) {
    detail::ReportGeneric(condition, k_codeSuccess);
    return true;
  }
  if (FilePathHasInvalidCharacters(Text())) {
    detail::ReportGeneric(condition, k_codeInvalid);
    return false;
  }
  const auto elements = Elements(Text(), RootEnd(Text()));
  uint32_t telling = pf::k_errorSuccess;
  uint32_t last = pf::k_errorSuccess;
  for (const auto& element : elements) {
    const std::wstring prefix = Text().substr(0, element.second);
    last = pf::k_errorSuccess;
    if (!pf::CreateDirectoryW(prefix.data(), prefix.size())) {
      last = pf::GetLastError();
      // An existing directory on the way is what a chain expects.
      if (last == pf::k_errorAlreadyExists && KindOf(prefix) == pf::FileKind::Directory) last = pf::k_errorSuccess;
    }
    constexpr uint32_t k_errorBadNetPath = 53;
    if (last != pf::k_errorSuccess && last != pf::k_errorFileNotFound && last != pf::k_errorPathNotFound &&
        last != k_errorBadNetPath && last != pf::k_errorInvalidName) {
      telling = last;
    }
  }
  if (last == pf::k_errorSuccess) {
    detail::ReportGeneric(condition, k_codeSuccess);
    return true;
  }
  detail::ReportSystem(condition, telling != pf::k_errorSuccess ? telling : last);
  return false;
}

bool Path::IsEquivalent(const Path& other) const {
  uint64_t volumeA = 0, indexA = 0, volumeB = 0, indexB = 0;
  const std::wstring& a = Text();
  const std::wstring& b = other.Text();
  if (a.empty() || b.empty()) return false;
  return pf::GetFileId(a.data(), a.size(), volumeA, indexA) && pf::GetFileId(b.data(), b.size(), volumeB, indexB) &&
         volumeA == volumeB && indexA == indexB;
}

CStdStr<wchar_t> Path::GetFileDirectory(bool addTrailingSeparator) const {
  if (Text().empty()) return {};
  Path result = IsDirectory() ? *this : Path(m_fsPath.parent_path());
  if (addTrailingSeparator) result.AddTrailingSeparator();
  return result.Text();
}

CStdStr<wchar_t> Path::GetPathRelative(const Path& base) const {
  if (base.IsEmpty()) return Text();
  if (Text().empty()) return {};
  const FsPath self{CStdStr<wchar_t>(Resolve(Text()))};
  const FsPath from{CStdStr<wchar_t>(Resolve(base.Text()))};
  if (self.root_name().native() != from.root_name().native() ||
      self.has_root_directory() != from.has_root_directory()) {
    return {};
  }
  const std::wstring& s = self.native();
  const std::wstring& f = from.native();
  const auto se = Elements(s, self.root_path().native().size());
  const auto fe = Elements(f, from.root_path().native().size());
  auto element = [](const std::wstring& t, const std::pair<size_t, size_t>& e) {
    return std::wstring_view(t).substr(e.first, e.second - e.first);
  };
  size_t common = 0;
  while (common < se.size() && common < fe.size() && element(s, se[common]) == element(f, fe[common])) ++common;
  long ups = 0;
  for (size_t i = common; i < fe.size(); ++i) {
    const std::wstring_view e = element(f, fe[i]);
    if (e == L"..") {
      --ups;
    } else if (e != L".") {
      ++ups;
    }
  }
  // A base that climbs above the common part cannot be undone lexically.
  if (ups < 0) return {};
  CStdStr<wchar_t> result;
  for (long i = 0; i < ups; ++i) result.append(result.empty() ? L".." : L"\\..");
  for (size_t i = common; i < se.size(); ++i) {
    if (!result.empty()) result.push_back(L'\\');
    result.append(element(s, se[i]));
  }
  if (result.empty()) result = L".";
  return result;
}

Path& Path::MakePathRelative(const Path& base) {
  CStdStr<wchar_t> relative = GetPathRelative(base);
  if (!relative.empty()) Text() = std::move(relative);
  return *this;
}

Path Path::GetCurrent() {
  std::wstring dir;
  if (!pf::GetCurrentDirectoryW(dir)) return Path();
  return Path(CStdStr<wchar_t>(dir));
}

bool Path::SetCurrent(const Path& path) {
  return !path.IsEmpty() && pf::SetCurrentDirectoryW(path.Text().data(), path.Text().size());
}

}  // namespace lu
