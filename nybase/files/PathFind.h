// lu::PathFind: the entries of one directory that match a wildcard pattern, one at a time.
#pragma once

#include <cstdint>
#include <memory>

#include <nybase/files/Path.h>
#include <nybase/platform/FileApi.h>
#include <nybase/text/CStdStr.h>

namespace lu {

// Wildcards follow the Windows rules: "*" any run, "?" one character, "*.*" every name (dotted or
// not), compared without regard to case; "." and ".." are never handed out. Entries come in name
// order. A name on disk that is not valid UTF-8 is skipped (see platform::GetSkippedNameCount).
//
// The copy constructor copies the search handle itself, on purpose: a copy shares the search, so
// advancing one advances the other's source of entries. The last of them closes it (never twice).
// Copies are for reading one entry only.
class PathFind {
 public:
  // Starts the search; HasNext is false when nothing (but "." and "..") matches or the search fails.
  explicit PathFind(const CStdStr<wchar_t>& pattern);
  PathFind(const PathFind& other) = default;
  PathFind& operator=(const PathFind&) = delete;
  ~PathFind();

  bool HasNext() const { return m_hasNext; }
  // The cached entry is a directory (a link to one included).
  bool IsNextDirectory() const;
  // The cached entry is a symbolic link (IsNextDirectory then tells the kind of its target).
  bool IsNextLink() const;
  // The cached entry's last write time in seconds since 1970-01-01 UTC, read when asked; -1 when it
  // cannot be read any more.
  int64_t NextLastFileWriteTime() const;
  // The cached entry's full path, then advances; an empty path when there is none.
  Path Next();
  // The cached entry's full path, without advancing.
  const Path& PeekNext() const { return m_current; }
  // The cached entry's name as the search listed it (NUL-terminated), without advancing.
  const wchar_t* PeekNextName() const { return m_findData.fileName; }
  // Advances to the next entry that is not "." or ".."; clears the cache at the end.
  void CacheNext();

 private:
  void CachePath();
  bool IsDots() const;

  bool m_hasNext = false;
  Path m_directory;
  Path m_current;
  platform::FindData m_findData;
  std::shared_ptr<platform::FindState> m_handle;
};

}  // namespace lu
