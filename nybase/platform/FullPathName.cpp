// The full-path-name service: Windows rules for making a path absolute, with Z: as the current drive.
#include <nybase/platform/FullPathName.h>

#include <nybase/platform/CurrentDirectory.h>
#include <nybase/platform/LastError.h>

namespace lu::platform {

namespace {

inline bool IsSep(wchar_t c) { return c == L'\\' || c == L'/'; }
inline bool IsLetter(wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z'); }
inline wchar_t UpperAscii(wchar_t c) { return (c >= L'a' && c <= L'z') ? c - (L'a' - L'A') : c; }

enum class Kind { Verbatim, RootDevice, Device, Unc, DriveAbsolute, DriveRelative, Rooted, Relative };

Kind Classify(std::wstring_view v) {
  const size_t n = v.size();
  if (n >= 2 && IsSep(v[0]) && IsSep(v[1])) {
    if (n >= 3 && (v[2] == L'.' || v[2] == L'?')) {
      if (n == 3) return Kind::RootDevice;
      if (IsSep(v[3])) {
        // Only the exact backslash form is verbatim; "//?/" is an ordinary device path.
        return (v[0] == L'\\' && v[1] == L'\\' && v[2] == L'?' && v[3] == L'\\') ? Kind::Verbatim : Kind::Device;
      }
    }
    return Kind::Unc;
  }
  if (n >= 2 && IsLetter(v[0]) && v[1] == L':') return (n >= 3 && IsSep(v[2])) ? Kind::DriveAbsolute : Kind::DriveRelative;
  if (n >= 1 && IsSep(v[0])) return Kind::Rooted;
  return Kind::Relative;
}

// Appends the elements of `rest` to `out`, which holds a root of `mark` units that no ".." may
// cut into. Each element goes in behind a "\".
void AppendElements(std::wstring_view rest, size_t mark, std::wstring& out) {
  size_t r = 0;
  const size_t n = rest.size();
  while (r < n) {
    while (r < n && IsSep(rest[r])) ++r;
    const size_t b = r;
    while (r < n && !IsSep(rest[r])) ++r;
    if (r == b) break;
    std::wstring_view e = rest.substr(b, r - b);
    if (e == L".") continue;
    if (e == L"..") {
      size_t cut = out.size();
      while (cut > mark && out[cut - 1] != L'\\') --cut;
      // `cut` is just behind the separator of the last element; drop both.
      if (cut > mark) out.resize(cut - 1);
      continue;
    }
    // An inner element loses one final dot ("a.\b" is "a\b").
    if (r < n && e.back() == L'.') e.remove_suffix(1);
    out.push_back(L'\\');
    out.append(e);
  }
  if (n != 0 && IsSep(rest[n - 1]) && out.size() > mark) out.push_back(L'\\');
}

// `path` is of an absolute kind (drive absolute, UNC or device).
bool Resolve(std::wstring_view path, std::wstring& full) {
  std::wstring out;
  out.reserve(path.size() + 2);
  size_t mark = 0;
  bool rootEndsInSeparator = true;
  std::wstring_view rest;
  switch (Classify(path)) {
    case Kind::Verbatim:
      out.assign(path);
      full.swap(out);
      return true;
    case Kind::RootDevice:
      out = {L'\\', L'\\', path[2], L'\\'};
      full.swap(out);
      return true;
    case Kind::Device:
      out = {L'\\', L'\\', path[2]};
      rest = path.substr(4);
      break;
    case Kind::DriveAbsolute:
      out = {path[0], L':'};
      rest = path.substr(3);
      break;
    case Kind::Unc: {
      // "\\server\share" is the root; ".." never climbs above it.
      size_t i = 2;
      while (i < path.size() && !IsSep(path[i])) ++i;
      size_t j = i;
      while (j < path.size() && IsSep(path[j])) ++j;
      size_t k = j;
      while (k < path.size() && !IsSep(path[k])) ++k;
      out = L"\\\\";
      out.append(path.substr(2, i - 2));
      if (k > j) {
        out.push_back(L'\\');
        out.append(path.substr(j, k - j));
        rest = path.substr(k);
      } else {
        rest = path.substr(i);
      }
      rootEndsInSeparator = false;
      break;
    }
    default:
      SetLastError(k_errorInvalidParameter);
      return false;
  }
  mark = out.size();
  if (rootEndsInSeparator) {
    // The root of a drive or device always shows its separator, and ".." stops behind it.
    AppendElements(rest, mark, out);
    if (out.size() == mark) out.push_back(L'\\');
    ++mark;
  } else {
    AppendElements(rest, mark, out);
    if (out.size() == mark && !rest.empty() && IsSep(rest.back())) out.push_back(L'\\');
  }
  // Final dots and spaces of the last element go.
  while (out.size() > mark && (out.back() == L'.' || out.back() == L' ')) out.pop_back();
  if (out.size() > k_maxFullPathName) {
    SetLastError(k_errorFilenameTooLong);
    return false;
  }
  full.swap(out);
  return true;
}

bool Check(std::wstring_view path) {
  if (path.empty() || path.find(L'\0') != std::wstring_view::npos) {
    SetLastError(k_errorInvalidName);
    return false;
  }
  return true;
}

// The current directory with `rest` behind it.
std::wstring BehindDirectory(std::wstring_view dir, std::wstring_view rest) {
  std::wstring combined;
  combined.reserve(dir.size() + 1 + rest.size());
  combined.append(dir);
  if (!rest.empty()) {
    if (combined.empty() || !IsSep(combined.back())) combined.push_back(L'\\');
    combined.append(rest);
  }
  return combined;
}

bool ResolveAgainst(std::wstring_view path, std::wstring_view cwd, std::wstring& full) {
  const Kind cwdKind = Classify(cwd);
  if (cwdKind != Kind::DriveAbsolute && cwdKind != Kind::Unc) {
    SetLastError(k_errorInvalidParameter);
    return false;
  }
  switch (Classify(path)) {
    case Kind::Relative:
      return Resolve(BehindDirectory(cwd, path), full);
    case Kind::DriveRelative:
      if (cwdKind == Kind::DriveAbsolute && UpperAscii(path[0]) == UpperAscii(cwd[0])) {
        return Resolve(BehindDirectory(cwd, path.substr(2)), full);
      }
      // Another drive has no remembered directory here: its root.
      return Resolve(BehindDirectory(std::wstring{path[0], L':', L'\\'}, path.substr(2)), full);
    default:
      return false;
  }
}

}  // namespace

bool GetFullPathNameFrom(std::wstring_view path, std::wstring_view currentDirectory, std::wstring& full) {
  if (!Check(path)) return false;
  const Kind kind = Classify(path);
  if (kind == Kind::Relative || kind == Kind::DriveRelative) return ResolveAgainst(path, currentDirectory, full);
  if (kind == Kind::Rooted) return Resolve(BehindDirectory(L"Z:", path), full);
  return Resolve(path, full);
}

bool GetFullPathNameW(std::wstring_view path, std::wstring& full) {
  if (!Check(path)) return false;
  const Kind kind = Classify(path);
  if (kind == Kind::Rooted) return Resolve(BehindDirectory(L"Z:", path), full);
  if (kind != Kind::Relative && kind != Kind::DriveRelative) return Resolve(path, full);
  // A drive other than Z: needs no current directory.
  if (kind == Kind::DriveRelative && UpperAscii(path[0]) != L'Z') return GetFullPathNameFrom(path, L"Z:\\", full);
  std::wstring cwd;
  if (!GetCurrentDirectoryW(cwd)) return false;
  return GetFullPathNameFrom(path, cwd, full);
}

}  // namespace lu::platform
