// The path algebra of lu::Path and lu::FsPath: pure string work in Windows grammar.
#include <nybase/files/Path.h>

#include <cstdint>
#include <cwctype>
#include <string_view>

#include <nybase/files/internal/PathGrammar.h>
#include <nybase/platform/FullPathName.h>

namespace lu {

namespace {

using View = std::wstring_view;

inline View ViewOf(const std::wstring& s) noexcept { return View(s.data(), s.size()); }

inline CStdStr<wchar_t> CopyOf(View v) { return CStdStr<wchar_t>(v.data(), v.size()); }

// The name separator, built when the library loads.
const CStdStr<wchar_t> k_csNameSeparator(L"\\");

void CanonicalizeText(CStdStr<wchar_t>& s) {
  if (s.empty()) return;
  s.resize(detail::LexicallyNormalInPlace(s.data(), s.size()));
  if (s.size() == 1 && s[0] == L'.') {
    // Deliberately the root, not the current directory: callers rely on "." mapping to "\".
    s[0] = L'\\';
    return;
  }
  const size_t n = s.size();
  if (n >= 3 && s[n - 1] == L'.' && s[n - 2] != L'.') s.pop_back();
  if (s.size() >= 2 && detail::IsPathSeparator(s.back())) s.pop_back();
}

void NormalizeText(CStdStr<wchar_t>& s) {
  const detail::NormalizeResult r = detail::NormalizeSeparatorsInPlace(s.data(), s.size());
  s.resize(r.length);
  if (r.appendSeparator) s.push_back(L'\\');
}

void AddTrailingSeparatorTo(CStdStr<wchar_t>& s) {
  if (s.size() >= 2 && detail::IsPathSeparator(s.back())) s.pop_back();
  s.push_back(L'\\');
}

}  // namespace

// --- FsPath -----------------------------------------------------------------------------------

FsPath FsPath::root_name() const { return FsPath(CopyOf(ViewOf(m_text).substr(0, detail::RootNameLength(ViewOf(m_text))))); }

FsPath FsPath::root_directory() const {
  const detail::PathSplit split = detail::SplitRoot(ViewOf(m_text));
  return FsPath(CopyOf(ViewOf(m_text).substr(split.rootNameEnd, split.rootDirEnd - split.rootNameEnd)));
}

FsPath FsPath::root_path() const { return FsPath(CopyOf(ViewOf(m_text).substr(0, detail::SplitRoot(ViewOf(m_text)).rootDirEnd))); }

FsPath FsPath::relative_path() const { return FsPath(CopyOf(ViewOf(m_text).substr(detail::SplitRoot(ViewOf(m_text)).rootDirEnd))); }

FsPath FsPath::parent_path() const { return FsPath(CopyOf(ViewOf(m_text).substr(0, detail::ParentLength(ViewOf(m_text))))); }

FsPath FsPath::filename() const { return FsPath(CopyOf(ViewOf(m_text).substr(detail::FileNameStart(ViewOf(m_text))))); }

FsPath FsPath::stem() const {
  const View name = ViewOf(m_text).substr(detail::FileNameStart(ViewOf(m_text)));
  return FsPath(CopyOf(name.substr(0, detail::SplitStem(name).stemEnd)));
}

FsPath FsPath::extension() const {
  const View name = ViewOf(m_text).substr(detail::FileNameStart(ViewOf(m_text)));
  const detail::StemSplit split = detail::SplitStem(name);
  return FsPath(CopyOf(name.substr(split.stemEnd, split.extEnd - split.stemEnd)));
}

FsPath FsPath::lexically_normal() const {
  if (m_text.empty()) return FsPath();
  CStdStr<wchar_t> s(m_text);
  s.resize(detail::LexicallyNormalInPlace(s.data(), s.size()));
  return FsPath(std::move(s));
}

CStdStr<wchar_t> FsPath::generic_wstring() const {
  CStdStr<wchar_t> s(m_text);
  for (wchar_t& c : s) {
    if (c == L'\\') c = L'/';
  }
  return s;
}

bool FsPath::has_root_name() const noexcept { return detail::RootNameLength(ViewOf(m_text)) != 0; }

bool FsPath::has_root_directory() const noexcept {
  const detail::PathSplit split = detail::SplitRoot(ViewOf(m_text));
  return split.rootDirEnd != split.rootNameEnd;
}

bool FsPath::has_filename() const noexcept { return detail::FileNameStart(ViewOf(m_text)) != m_text.size(); }

bool FsPath::is_absolute() const noexcept { return detail::IsAbsolutePath(ViewOf(m_text)); }

// --- Path: access and building -----------------------------------------------------------------

const CStdStr<wchar_t>& Path::GetNameSeparator() noexcept { return k_csNameSeparator; }

CStdStr<wchar_t> Path::GenericString() const { return m_fsPath.generic_wstring(); }

void Path::ConcatenatePart(const BasicStringView<wchar_t>& part, CStdStr<wchar_t>& out) {
  if (part.empty()) return;
  // No check for a separator already there: "a\" and "b" give "a\\b" at this stage.
  if (!out.empty()) out.push_back(L'\\');
  out.append(part.data(), part.size());
}

namespace {

// The joined text of `parts`, reserved once for everything the normal forms may add to it.
CStdStr<wchar_t> JoinParts(std::initializer_list<BasicStringView<wchar_t>> parts, void (*concat)(const BasicStringView<wchar_t>&, CStdStr<wchar_t>&)) {
  size_t total = parts.size() + 1;
  for (const BasicStringView<wchar_t>& p : parts) total += p.size();
  CStdStr<wchar_t> out;
  out.reserve(total);
  for (const BasicStringView<wchar_t>& p : parts) concat(p, out);
  return out;
}

}  // namespace

Path Path::Join(std::initializer_list<BasicStringView<wchar_t>> parts) {
  CStdStr<wchar_t> s = JoinParts(parts, &Path::ConcatenatePart);
  if (s.empty()) {
    s.push_back(L'\\');
    return Path(std::move(s));
  }
  // Only a final "\" is remembered; a final "/" is dropped by the clean-up like any separator.
  const bool trailing = s.back() == L'\\';
  NormalizeText(s);
  if (trailing) AddTrailingSeparatorTo(s);
  return Path(std::move(s));
}

Path Path::Combine(std::initializer_list<BasicStringView<wchar_t>> parts) {
  CStdStr<wchar_t> s = JoinParts(parts, &Path::ConcatenatePart);
  if (s.empty()) {
    s.push_back(L'\\');
    return Path(std::move(s));
  }
  const bool trailing = s.back() == L'\\';
  CanonicalizeText(s);
  if (trailing) AddTrailingSeparatorTo(s);
  if (s.size() == 2 && s[1] == L':') AddTrailingSeparatorTo(s);
  return Path(std::move(s));
}

Path& Path::Append(const CStdStr<wchar_t>& part) {
  *this = Join({BasicStringView<wchar_t>(Text()), BasicStringView<wchar_t>(part)});
  return *this;
}

Path& Path::Prepend(const CStdStr<wchar_t>& part) {
  *this = Join({BasicStringView<wchar_t>(part), BasicStringView<wchar_t>(Text())});
  return *this;
}

Path& Path::AddTrailingSeparator() {
  AddTrailingSeparatorTo(Text());
  return *this;
}

Path& Path::RemoveTrailingSeparator() {
  CStdStr<wchar_t>& s = Text();
  if (s.size() >= 2 && detail::IsPathSeparator(s.back())) s.pop_back();
  return *this;
}

Path& Path::ReplaceExtension(BasicStringView<wchar_t> ext) {
  CStdStr<wchar_t>& s = Text();
  const size_t nameStart = detail::FileNameStart(ViewOf(s));
  // Cutting at the end of the stem takes an alternate data stream with the extension.
  s.resize(nameStart + detail::SplitStem(ViewOf(s).substr(nameStart)).stemEnd);
  if (!ext.empty()) {
    if (ext[0] != L'.') s.push_back(L'.');
    s.append(ext.data(), ext.size());
  }
  return *this;
}

// --- Decomposition -----------------------------------------------------------------------------

CStdStr<wchar_t> Path::GetRootName() const { return CopyOf(ViewOf(Text()).substr(0, detail::RootNameLength(ViewOf(Text())))); }

CStdStr<wchar_t> Path::GetFileName() const { return CopyOf(ViewOf(Text()).substr(detail::FileNameStart(ViewOf(Text())))); }

CStdStr<wchar_t> Path::GetStem() const {
  const View name = ViewOf(Text()).substr(detail::FileNameStart(ViewOf(Text())));
  return CopyOf(name.substr(0, detail::SplitStem(name).stemEnd));
}

CStdStr<wchar_t> Path::GetFileExtension() const {
  const View text = ViewOf(Text());
  const View name = text.substr(detail::FileNameStart(text));
  const detail::StemSplit split = detail::SplitStem(name);
  // Deliberately beyond the grammar: with no extension, a text that begins with "." answers its
  // file name (".wav" gives ".wav", ".\foo" gives "foo").
  if (split.extEnd == split.stemEnd && !text.empty() && text[0] == L'.') return CopyOf(name);
  return CopyOf(name.substr(split.stemEnd, split.extEnd - split.stemEnd));
}

CStdStr<wchar_t> Path::GetParent() const {
  // The grammatical parent never ends inside the root, so a parent that is a root name alone
  // ("C:" of "C:foo") already carries the path's whole root directory (none).
  return CopyOf(ViewOf(Text()).substr(0, detail::ParentLength(ViewOf(Text()))));
}

CStdStr<wchar_t> Path::GetTopFolderPath() const {
  CStdStr<wchar_t> s(Text());
  NormalizeText(s);
  const size_t sep = s.find(L'\\');
  if (sep != CStdStr<wchar_t>::npos) s.resize(sep);
  return s;
}

// --- Normal forms ------------------------------------------------------------------------------

Path& Path::NormalizeFilePath() {
  NormalizeText(Text());
  return *this;
}

Path& Path::Canonicalize() {
  CanonicalizeText(Text());
  return *this;
}

Path Path::GetPathAbsolute() const {
  if (IsEmpty()) return *this;
  std::wstring full;
  if (!platform::GetFullPathNameW(ViewOf(Text()), full)) return *this;
  if (!full.empty()) full[0] = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(full[0])));
  CStdStr<wchar_t> s(std::move(full));
  CanonicalizeText(s);
  return Path(std::move(s));
}

Path Path::GetPathAbsolute(const Path& base) const {
  if (base.IsEmpty() || !base.IsAbsolute() || !IsRelative()) return *this;
  Path joined = Join({BasicStringView<wchar_t>(base.Text()), BasicStringView<wchar_t>(Text())});
  joined.Canonicalize();
  return joined;
}

Path& Path::MakePathAbsolute() {
  *this = GetPathAbsolute();
  return *this;
}

Path& Path::MakePathAbsolute(const Path& base) {
  *this = GetPathAbsolute(base);
  return *this;
}

// --- Predicates --------------------------------------------------------------------------------

bool Path::IsAbsolute() const noexcept { return detail::IsAbsolutePath(ViewOf(Text())); }

bool Path::IsRelative() const noexcept {
  // Deliberately not the negation of IsAbsolute: "\foo" is neither, "/foo" is relative.
  const CStdStr<wchar_t>& s = Text();
  if (!s.empty() && s[0] == L'\\') return false;
  if (IsRoot()) return false;
  return !IsAbsolute();
}

bool Path::IsRoot() const noexcept {
  const View s = ViewOf(Text());
  if (s.empty()) return false;
  if (s.size() >= 2 && s[0] == L'\\' && s[1] == L'\\') {
    if (s.size() == 2) return true;
    // "\\server\share" with no further "\". The search starts two units into the server name,
    // so a one-character server ("\\a\share") is deliberately no root.
    const View t = s.substr(2);
    const size_t sep = t.find(L'\\', 2);
    if (sep == View::npos || sep == t.size() - 1) return false;
    return t.find(L'\\', sep + 1) == View::npos;
  }
  return detail::SplitRoot(s).rootDirEnd == s.size();
}

bool Path::HasTrailingSeparator() const noexcept { return !Text().empty() && Text().back() == L'\\'; }

bool operator==(const Path& a, const Path& b) noexcept { return a.Text() == b.Text(); }

bool operator<(const Path& a, const Path& b) noexcept {
  const CStdStr<wchar_t>& x = a.Text();
  const CStdStr<wchar_t>& y = b.Text();
  const size_t n = x.size() < y.size() ? x.size() : y.size();
  for (size_t i = 0; i < n; ++i) {
    const auto cx = static_cast<uint32_t>(x[i]);
    const auto cy = static_cast<uint32_t>(y[i]);
    if (cx != cy) return cx < cy;
  }
  return x.size() < y.size();
}

// --- Legality ----------------------------------------------------------------------------------

bool Path::IsReservedName(const CStdStr<wchar_t>& name) { return detail::IsReservedName(ViewOf(name)); }

bool Path::ContainsReservedName() const { return detail::ContainsReservedName(ViewOf(Text())); }

bool Path::IsLegal() const {
  const CStdStr<wchar_t>& s = Text();
  if (ViewOf(s).find_first_of(detail::k_pathIllegalChars) != View::npos) return false;
  if (ContainsReservedName()) return false;
  if (s.empty()) return true;
  // A path that begins with a dot is illegal; that covers ".\x" and "..\x" too.
  return s[0] != L'.';
}

bool Path::IsLegalDirectoryName() const {
  const CStdStr<wchar_t>& s = Text();
  if (!s.empty() && s.back() == L'.') return false;
  return IsLegal();
}

Path& Path::MakeLegal() {
  CStdStr<wchar_t> name = GetFileName();
  if (name.empty()) return *this;
  for (wchar_t& c : name) {
    if (detail::k_nameIllegalChars.find(c) != View::npos) c = L'_';
  }
  // One final dot goes; a second stays.
  if (name.back() == L'.') name.pop_back();
  const CStdStr<wchar_t> parent = GetParent();
  *this = Join({BasicStringView<wchar_t>(parent), BasicStringView<wchar_t>(name)});
  return *this;
}

// --- Free functions ----------------------------------------------------------------------------

bool FileNameHasInvalidCharacters(const CStdStr<wchar_t>& s) {
  return ViewOf(s).find_first_of(detail::k_nameIllegalChars) != View::npos;
}

bool FilePathHasInvalidCharacters(const CStdStr<wchar_t>& s) {
  return ViewOf(s).find_first_of(detail::k_pathIllegalChars) != View::npos;
}

}  // namespace lu
