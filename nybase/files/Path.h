// lu::Path and lu::FsPath: a path value in Windows grammar, kept exactly as given, and its algebra.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <system_error>
#include <utility>

#include <nybase/base/IProgress.h>
#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>
#include <nybase/text/ConcatHelper.h>

namespace lu {

// The filesystem path value: one wide string in native (Windows) form, and its decomposition.
// Both "\" and "/" separate; the grammar is the same on every system. The decomposition members
// return new values and never fail.
class FsPath {
 public:
  FsPath() = default;
  explicit FsPath(CStdStr<wchar_t> text) : m_text(std::move(text)) {}
  FsPath(const FsPath&) = default;
  FsPath& operator=(const FsPath&) = default;
  // A moved-from path is empty.
  FsPath(FsPath&& o) noexcept : m_text(std::move(o.m_text)) { o.m_text.clear(); }
  FsPath& operator=(FsPath&& o) noexcept {
    if (this != &o) {
      m_text = std::move(o.m_text);
      o.m_text.clear();
    }
    return *this;
  }

  const CStdStr<wchar_t>& native() const noexcept { return m_text; }
  CStdStr<wchar_t>& native() noexcept { return m_text; }
  const wchar_t* c_str() const noexcept { return m_text.c_str(); }
  bool empty() const noexcept { return m_text.empty(); }

  // "C:", "\\server", "\\?", or empty.
  FsPath root_name() const;
  // The run of separators behind the root name, as written.
  FsPath root_directory() const;
  // Root name and root directory.
  FsPath root_path() const;
  // Everything behind the root directory.
  FsPath relative_path() const;
  // The path without its file name and the separators before it (never cut into the root).
  FsPath parent_path() const;
  // What follows the last separator behind the root; empty after a final separator.
  FsPath filename() const;
  // The file name up to its alternate data stream (":"), without the extension.
  FsPath stem() const;
  // The extension with its dot; ".wav" has none (a leading dot starts no extension), "a." has ".".
  FsPath extension() const;
  // The lexical normal form: "\" only, single separators, "." and "x\.." removed, "." if empty.
  FsPath lexically_normal() const;
  // A copy with every "\" turned into "/".
  CStdStr<wchar_t> generic_wstring() const;

  bool has_root_name() const noexcept;
  bool has_root_directory() const noexcept;
  bool has_filename() const noexcept;
  // "C:\x", "\\server\x", "\\?\x"; not "C:x" nor "\x".
  bool is_absolute() const noexcept;

 private:
  CStdStr<wchar_t> m_text;
};

// A path value in Windows grammar. No constructor normalises, trims or checks the text; the
// algebra below is pure string work (nothing touches the disk) and never fails.
class Path {
 public:
  Path() = default;
  Path(const wchar_t* text) : m_fsPath(CStdStr<wchar_t>(text ? text : L"")) {}
  Path(const CStdStr<wchar_t>& text) : m_fsPath(text) {}
  Path(CStdStr<wchar_t>&& text) : m_fsPath(std::move(text)) {}
  Path(FsPath&& fsPath) : m_fsPath(std::move(fsPath)) {}
  Path(const Path&) = default;
  // A moved-from path is empty.
  Path(Path&&) noexcept = default;
  Path& operator=(const Path&) = default;
  Path& operator=(Path&&) noexcept = default;
  virtual ~Path() = default;

  FsPath& GetFsPath() noexcept { return m_fsPath; }
  const FsPath& GetFsPath() const noexcept { return m_fsPath; }

  // The name separator "\", one constant for the whole process.
  static const CStdStr<wchar_t>& GetNameSeparator() noexcept;

  // A copy of the text.
  CStdStr<wchar_t> GetFullPath() const { return m_fsPath.native(); }
  operator CStdStr<wchar_t>() const { return m_fsPath.native(); }
  // The stored text without a copy.
  operator BasicStringView<wchar_t>() const noexcept { return m_fsPath.native(); }
  operator const std::wstring&() const noexcept { return m_fsPath.native(); }
  const wchar_t* c_str() const noexcept { return m_fsPath.native().c_str(); }

  bool IsEmpty() const noexcept { return m_fsPath.native().empty(); }
  Path& Clear() noexcept {
    m_fsPath.native().clear();
    return *this;
  }
  // Replaces the text as it stands.
  void SetFullPath(const CStdStr<wchar_t>& text) { m_fsPath.native() = text; }
  // A copy with every "\" turned into "/".
  CStdStr<wchar_t> GenericString() const;

  // --- Building -------------------------------------------------------------------------------
  // Joins the non-empty parts with "\", then cleans separators (NormalizeFilePath) and keeps a
  // final "\" of the joined text (a final "/" is not kept). No parts, or only empty ones, give "\".
  // One allocation for the result.
  static Path Join(std::initializer_list<BasicStringView<wchar_t>> parts);
  // As Join, but with Canonicalize in place of NormalizeFilePath; a drive alone ("C:") comes out
  // as "C:\".
  static Path Combine(std::initializer_list<BasicStringView<wchar_t>> parts);
  // Join({this, part}) and Join({part, this}), assigned to this path.
  Path& Append(const CStdStr<wchar_t>& part);
  Path& Prepend(const CStdStr<wchar_t>& part);
  // Replaces one final separator ("\" or "/") by "\", or adds one; an empty path becomes "\".
  Path& AddTrailingSeparator();
  // Removes one final separator from a text of two or more characters: "C:\" becomes "C:", "\"
  // stays, "a\\" becomes "a\".
  Path& RemoveTrailingSeparator();
  // Cuts the extension (and any alternate data stream) and appends `ext`, with a "." put in front
  // unless it has one; an empty `ext` only cuts.
  Path& ReplaceExtension(BasicStringView<wchar_t> ext);

  // --- Decomposition (each a new string) --------------------------------------------------------
  // "C:", "\\server", "\\?" or empty.
  CStdStr<wchar_t> GetRootName() const;
  CStdStr<wchar_t> GetDrive() const { return GetRootName(); }
  // The last element, alternate data stream included; empty after a final separator.
  CStdStr<wchar_t> GetFileName() const;
  CStdStr<wchar_t> GetName() const { return GetFileName(); }
  // The file name without extension and alternate data stream.
  CStdStr<wchar_t> GetStem() const;
  CStdStr<wchar_t> GetFileNameOnly() const { return GetStem(); }
  // The extension with its dot, or empty. When there is none and the whole text begins with ".",
  // the file name instead: ".wav" gives ".wav", ".\foo" gives "foo", but "dir\.wav" gives "".
  CStdStr<wchar_t> GetFileExtension() const;
  // The path without its file name and the separators before it, never cut into the root:
  // "C:\foo" gives "C:\", "C:\" gives "C:\", "C:foo" and "C:" give "C:", "foo" gives "".
  CStdStr<wchar_t> GetParent() const;
  // The first element of the separator-cleaned text: "a\b" gives "a", "\a\b" gives "".
  CStdStr<wchar_t> GetTopFolderPath() const;

  // --- Normal forms -----------------------------------------------------------------------------
  // Separator clean-up, without resolving "." or "..": "/" becomes "\", runs collapse (a leading
  // "\\" stays two), trailing separators go, and a drive alone ends in "\" ("C:" gives "C:\").
  Path& NormalizeFilePath();
  // The lexical normal form, then: "." becomes "\", one final "." goes ("foo." gives "foo"), and
  // one final separator goes ("C:\" gives "C:"). An empty path stays empty.
  Path& Canonicalize();
  // The path made absolute against the process's current directory (drive Z:), canonicalized,
  // with its first character upper-cased. An empty path, or a failure of the system, gives an
  // unchanged copy.
  Path GetPathAbsolute() const;
  // Join({base, this}) canonicalized when `base` is absolute and this path relative; otherwise an
  // unchanged copy.
  Path GetPathAbsolute(const Path& base) const;
  Path& MakePathAbsolute();
  Path& MakePathAbsolute(const Path& base);

  // --- Predicates -------------------------------------------------------------------------------
  // "C:\x", "\\server\x", "\\?\x" are absolute; "C:x" and "\x" are not.
  bool IsAbsolute() const noexcept;
  // Not the negation of IsAbsolute: a text that begins with "\" and a root are neither.
  bool IsRelative() const noexcept;
  // "C:", "C:\", "\", "/", "\\", "\\server\share" (server of two characters or more).
  bool IsRoot() const noexcept;

  // Code unit by code unit, no normalisation: case matters and "/" differs from "\".
  friend bool operator==(const Path& a, const Path& b) noexcept;
  // Code units as unsigned numbers; on a tie over the shorter length the shorter is smaller.
  friend bool operator<(const Path& a, const Path& b) noexcept;

  // --- Legality ---------------------------------------------------------------------------------
  // False for any of <>*?"| in the text, for a reserved device name as an element, and for a text
  // that begins with "."; an empty path is legal.
  bool IsLegal() const;
  // As IsLegal, and also false when the text ends in ".".
  bool IsLegalDirectoryName() const;
  // Repairs the file name only: each of :<>*?"\/| becomes "_", and one final "." goes; the
  // result is Join({parent, name}). An empty file name leaves the path alone.
  Path& MakeLegal();
  // True when an element begins with a reserved device name ("a\CON.txt\b", " NUL").
  bool ContainsReservedName() const;

  // --- The disk (PathDisk.cpp) -----------------------------------------------------------------
  // Status queries follow symbolic links. None of them fails loudly: a missing path is simply
  // not there.
  // The attributes can be read; a directory counts.
  bool Exists() const;
  // Exists and is neither a directory nor missing: a device or a link to one counts.
  bool IsFile() const;
  bool FileExists() const { return IsFile(); }
  bool IsDirectory() const;
  bool DirectoryExists() const { return IsDirectory(); }
  // False for an empty path; otherwise the hidden attribute (a dot name or `user.nybase.hidden`)
  // read without a check of failure, so a missing path reads as hidden (deliberately).
  bool IsHidden() const;
  // Sets or clears the hidden attribute; true without a write when it already is as asked. False
  // when the attributes cannot be read or written (a dot name cannot be made visible).
  bool SetHiddenStatus(bool hidden) const;
  // No owner write permission; false for a missing path.
  bool IsReadOnly() const;
  // Gives the owner write permission back; false on failure.
  bool RemoveReadOnlyStatus() const;
  // Size in bytes; 0 on any failure (a missing file and an empty one look alike).
  uint64_t GetFileSize() const;
  // Last write time in seconds since 1970-01-01 UTC (directories have one too); -1 on failure.
  int64_t GetLastWriteTime() const;
  // Copies this file to `destination`, overwriting it, after creating the destination's missing
  // parent folders; a directory source only creates the directory `destination`. Progress goes in
  // KiB: SetRange(0, ceil(total / 1024)) once, then SetPosition(done / 1024) per step. False with
  // code 2 for a missing source, 22 for a destination without a usable parent (a bare file name
  // included), or the system's error.
  bool Copy(const Path& destination, IProgress* progress = nullptr, std::error_condition* condition = nullptr) const;
  // Renames this path to `destination`, replacing an existing file; across file systems a file is
  // copied and removed. False on failure.
  bool Move(const Path& destination) const;
  // Removes the entry. Recursive removal of a directory empties it first and retries the final
  // removal up to 10 times. False when nothing was removed (a missing path) or on an error.
  bool Remove(bool recursive) const;
  // Creates one directory level: true (code 0) when the path already exists, of any kind; code 22
  // for a missing parent or an illegal character; otherwise the system's error.
  bool CreateDirectoryW(std::error_condition* condition = nullptr) const;
  // Creates the whole chain. True when the path exists (of any kind) or its last element could be
  // made; code 22 for an empty path or an illegal character, else the most telling system error.
  bool CreateDirectories(std::error_condition* condition = nullptr) const;
  // Both paths exist and name the same file (same volume and file index). False otherwise.
  bool IsEquivalent(const Path& other) const;
  // The path itself when it is an existing directory, otherwise its parent; empty for an empty
  // path. With `addTrailingSeparator`, ends in "".
  CStdStr<wchar_t> GetFileDirectory(bool addTrailingSeparator) const;
  CStdStr<wchar_t> GetDirectory(bool addTrailingSeparator) const { return GetFileDirectory(addTrailingSeparator); }
  // The path relative to `base`, after resolving the existing leading parts of both; "." for the
  // same path. A copy of this path for an empty base; empty for different roots or on failure.
  CStdStr<wchar_t> GetPathRelative(const Path& base) const;
  // Assigns GetPathRelative(base) unless it is empty.
  Path& MakePathRelative(const Path& base);
  // The process's current directory ("Z:\..."); empty on failure.
  static Path GetCurrent();
  // Sets the process's current directory; false on failure.
  static bool SetCurrent(const Path& path);

 private:
  // Appends `part` to `out`, with a "\" first when `out` is not empty; skips an empty part.
  static void ConcatenatePart(const BasicStringView<wchar_t>& part, CStdStr<wchar_t>& out);
  // A final "\" only: a final "/" is not seen.
  bool HasTrailingSeparator() const noexcept;
  static bool IsReservedName(const CStdStr<wchar_t>& name);
  // Copies one entry with the standard copy (no recursion into a directory), overwriting files;
  // progress 0 and 100 of a range of 100. False with the error in `condition`.
  static bool FsPathCopy(const Path& from, const Path& to, IProgress* progress, std::error_condition* condition);

  CStdStr<wchar_t>& Text() noexcept { return m_fsPath.native(); }
  const CStdStr<wchar_t>& Text() const noexcept { return m_fsPath.native(); }

  FsPath m_fsPath;
};

// True when `s` holds any of :<>*?"\/| (so a separator counts); false for an empty string.
bool FileNameHasInvalidCharacters(const CStdStr<wchar_t>& s);
// True when `s` holds any of <>*?"|; false for an empty string.
bool FilePathHasInvalidCharacters(const CStdStr<wchar_t>& s);

namespace priv {

// StringHelp::Concat takes a path as its text.
template <>
struct ConcatHelper<Path> {
  static size_t GetSize(const Path& p) noexcept { return p.GetFsPath().native().size(); }
  static wchar_t* Concat(wchar_t* dst, const Path& p) noexcept {
    const CStdStr<wchar_t>& s = p.GetFsPath().native();
    return std::char_traits<wchar_t>::copy(dst, s.data(), s.size()) + s.size();
  }
};

}  // namespace priv

}  // namespace lu
