// lu::PathFind on the platform's wildcard search.
#include <nybase/files/PathFind.h>

#include <cwchar>

namespace lu {

namespace pf = lu::platform;

PathFind::PathFind(const CStdStr<wchar_t>& pattern) {
  m_directory = Path(Path(pattern).Canonicalize().GetParent());
  // Kinds only: a walk needs no status query per entry; the write time is read when asked.
  pf::FindHandle handle =
      pf::FindFirstFileExW(pattern.data(), pattern.size(), m_findData, pf::FindInfoLevel::NamesAndKinds);
  if (handle == nullptr) return;
  m_handle.reset(handle, [](pf::FindHandle h) { pf::FindClose(h); });
  m_hasNext = true;
  if (IsDots()) {
    CacheNext();
  } else {
    CachePath();
  }
}

PathFind::~PathFind() = default;

bool PathFind::IsNextDirectory() const { return (m_findData.attributes & pf::k_fileAttributeDirectory) != 0; }

bool PathFind::IsNextLink() const { return (m_findData.attributes & pf::k_fileAttributeReparsePoint) != 0; }

int64_t PathFind::NextLastFileWriteTime() const { return m_current.GetLastWriteTime(); }

Path PathFind::Next() {
  if (!m_hasNext) return Path();
  Path result = m_current;
  CacheNext();
  return result;
}

void PathFind::CacheNext() {
  while (m_handle != nullptr && pf::FindNextFileW(m_handle.get(), m_findData)) {
    if (!IsDots()) {
      CachePath();
      return;
    }
  }
  m_hasNext = false;
  m_current.Clear();
}

void PathFind::CachePath() {
  // Path::Join({directory, name}) for a directory that is already canonical and a name without
  // separators, built without its clean-up pass (the walks call this for every entry).
  const CStdStr<wchar_t>& dir = m_directory.GetFsPath().native();
  CStdStr<wchar_t>& out = m_current.GetFsPath().native();
  out.assign(dir);
  if (!out.empty() && out.back() != L'\\' && out.back() != L'/') out.push_back(L'\\');
  out.append(m_findData.fileName, std::wcslen(m_findData.fileName));
}

bool PathFind::IsDots() const {
  const wchar_t* n = m_findData.fileName;
  return n[0] == L'.' && (n[1] == 0 || (n[1] == L'.' && n[2] == 0));
}

}  // namespace lu
