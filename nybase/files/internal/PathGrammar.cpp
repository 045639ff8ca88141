// Windows path grammar on plain code-unit text: root names, file names, stems, normal forms.
#include <nybase/files/internal/PathGrammar.h>

#include <cstring>
#include <locale>

namespace lu::detail {

size_t RootNameLength(std::wstring_view s) noexcept {
  const size_t n = s.size();
  if (n < 2) return 0;
  if (IsAsciiLetter(s[0]) && s[1] == L':') return 2;
  if (!IsPathSeparator(s[0])) return 0;
  // "\\?\", "\\.\" and "\??\": the root name is the first three characters.
  if (n >= 4 && IsPathSeparator(s[3]) && (n == 4 || !IsPathSeparator(s[4])) &&
      ((IsPathSeparator(s[1]) && (s[2] == L'?' || s[2] == L'.')) || (s[1] == L'?' && s[2] == L'?'))) {
    return 3;
  }
  // "\\server": up to the next separator.
  if (n >= 3 && IsPathSeparator(s[1]) && !IsPathSeparator(s[2])) {
    size_t i = 3;
    while (i < n && !IsPathSeparator(s[i])) ++i;
    return i;
  }
  return 0;
}

PathSplit SplitRoot(std::wstring_view s) noexcept {
  PathSplit split;
  split.rootNameEnd = RootNameLength(s);
  size_t i = split.rootNameEnd;
  while (i < s.size() && IsPathSeparator(s[i])) ++i;
  split.rootDirEnd = i;
  return split;
}

size_t FileNameStart(std::wstring_view s) noexcept {
  const size_t relStart = SplitRoot(s).rootDirEnd;
  size_t i = s.size();
  while (i > relStart && !IsPathSeparator(s[i - 1])) --i;
  return i;
}

StemSplit SplitStem(std::wstring_view name) noexcept {
  const size_t colon = name.find(L':');
  const size_t n = colon == std::wstring_view::npos ? name.size() : colon;
  StemSplit split{n, n};
  if (n <= 1) return split;
  if (name[n - 1] == L'.') {
    if (n == 2 && name[0] == L'.') return split;  // ".." is all stem
    split.stemEnd = n - 1;
    return split;
  }
  // A dot in first place never starts an extension: ".wav" is a stem.
  const size_t dot = name.substr(0, n).rfind(L'.');
  if (dot != std::wstring_view::npos && dot > 0) split.stemEnd = dot;
  return split;
}

size_t ParentLength(std::wstring_view s) noexcept {
  const size_t relStart = SplitRoot(s).rootDirEnd;
  size_t end = s.size();
  while (end > relStart && !IsPathSeparator(s[end - 1])) --end;
  while (end > relStart && IsPathSeparator(s[end - 1])) --end;
  return end;
}

bool IsAbsolutePath(std::wstring_view s) noexcept {
  if (s.size() >= 2 && IsAsciiLetter(s[0]) && s[1] == L':') return s.size() >= 3 && IsPathSeparator(s[2]);
  return RootNameLength(s) != 0;
}

NormalizeResult NormalizeSeparatorsInPlace(wchar_t* s, size_t n) noexcept {
  bool onlySeparators = true;
  for (size_t i = 0; i < n; ++i) {
    if (s[i] == L'/') s[i] = L'\\';
    if (s[i] != L'\\') onlySeparators = false;
  }
  if (onlySeparators) return {n, false};

  // The output never outruns the input: each separator written consumed at least one.
  size_t w = 0;
  if (s[0] == L'\\') w = (n > 1 && s[1] == L'\\') ? 2 : 1;
  size_t r = 0;
  while (r < n && s[r] == L'\\') ++r;
  size_t elements = 0;
  while (r < n) {
    const size_t b = r;
    while (r < n && s[r] != L'\\') ++r;
    if (elements != 0) s[w++] = L'\\';
    std::memmove(s + w, s + b, (r - b) * sizeof(wchar_t));
    w += r - b;
    ++elements;
    while (r < n && s[r] == L'\\') ++r;
  }
  return {w, elements == 1 && w == 2 && s[1] == L':'};
}

namespace {

inline bool IsDotDot(const wchar_t* p, size_t len) noexcept { return len == 2 && p[0] == L'.' && p[1] == L'.'; }

}  // namespace

size_t LexicallyNormalInPlace(wchar_t* s, size_t n) noexcept {
  if (n == 0) return 0;
  const size_t rootName = RootNameLength(std::wstring_view(s, n));
  for (size_t i = 0; i < rootName; ++i) {
    if (s[i] == L'/') s[i] = L'\\';
  }
  size_t r = rootName;
  size_t w = rootName;
  bool rootDir = false;
  if (r < n && IsPathSeparator(s[r])) {
    rootDir = true;
    s[w++] = L'\\';
    while (r < n && IsPathSeparator(s[r])) ++r;
  }
  // The relative area [relStart, w) holds elements joined by single "\", followed by one more "\"
  // when `trailing` is set. The write position never passes the read position.
  const size_t relStart = w;
  bool trailing = false;
  bool endsInSeparator = false;

  // Start of the last element, whose end is w (or w - 1 when trailing).
  auto lastElementStart = [&]() {
    size_t b = trailing ? w - 1 : w;
    while (b > relStart && s[b - 1] != L'\\') --b;
    return b;
  };
  auto append = [&](const wchar_t* p, size_t len) {
    if (w > relStart && !trailing) s[w++] = L'\\';
    std::memmove(s + w, p, len * sizeof(wchar_t));
    w += len;
    trailing = false;
  };
  // Drops the last element; the separator before it, if any, becomes the trailing one.
  auto dropLast = [&](size_t start) {
    w = start;
    trailing = w > relStart;
  };

  while (r < n) {
    const size_t b = r;
    while (r < n && !IsPathSeparator(s[r])) ++r;
    const size_t len = r - b;
    endsInSeparator = r < n;
    while (r < n && IsPathSeparator(s[r])) ++r;

    if (len == 1 && s[b] == L'.') {
      if (w > relStart && !trailing) {
        s[w++] = L'\\';
        trailing = true;
      }
    } else if (IsDotDot(s + b, len)) {
      if (w == relStart) {
        // Nothing to cancel: ".." stays unless a root directory is directly before it.
        if (!rootDir) append(s + b, len);
      } else {
        const size_t start = lastElementStart();
        const size_t end = trailing ? w - 1 : w;
        if (IsDotDot(s + start, end - start)) {
          append(s + b, len);
        } else {
          dropLast(start);
        }
      }
    } else {
      append(s + b, len);
    }
  }
  // A final separator after an element stays.
  if (endsInSeparator && w > relStart && !trailing) {
    s[w++] = L'\\';
    trailing = true;
  }
  if (trailing) {
    const size_t start = lastElementStart();
    if (IsDotDot(s + start, w - 1 - start)) {
      --w;
      trailing = false;
    }
  }
  if (w == 0) {
    s[0] = L'.';
    w = 1;
  }
  return w;
}

namespace {

// The reserved device names, matched after trimming with ASCII case folded.
constexpr std::wstring_view k_reservedNames[] = {
    L"AUX",  L"COM1", L"COM2", L"COM3", L"COM4", L"COM5", L"COM6", L"COM7", L"COM8", L"COM9", L"CON",
    L"LPT1", L"LPT2", L"LPT3", L"LPT4", L"LPT5", L"LPT6", L"LPT7", L"LPT8", L"LPT9", L"NUL",  L"PRN",
};

inline wchar_t FoldAscii(wchar_t c) noexcept { return (c >= L'A' && c <= L'Z') ? c + (L'a' - L'A') : c; }

}  // namespace

bool IsReservedName(std::wstring_view name) {
  const std::locale loc;
  const auto& ctype = std::use_facet<std::ctype<wchar_t>>(loc);
  size_t b = 0;
  size_t e = name.size();
  while (b < e && ctype.is(std::ctype_base::space, name[b])) ++b;
  while (e > b && ctype.is(std::ctype_base::space, name[e - 1])) --e;
  const std::wstring_view trimmed = name.substr(b, e - b);
  if (trimmed.size() < 3 || trimmed.size() > 4) return false;
  for (std::wstring_view reserved : k_reservedNames) {
    if (reserved.size() != trimmed.size()) continue;
    size_t i = 0;
    while (i < trimmed.size() && FoldAscii(trimmed[i]) == FoldAscii(reserved[i])) ++i;
    if (i == trimmed.size()) return true;
  }
  return false;
}

bool ContainsReservedName(std::wstring_view path) {
  size_t r = 0;
  const size_t n = path.size();
  while (r < n) {
    while (r < n && IsPathSeparator(path[r])) ++r;
    const size_t b = r;
    while (r < n && !IsPathSeparator(path[r])) ++r;
    if (r == b) break;
    const std::wstring_view element = path.substr(b, r - b);
    // The first non-empty piece between dots counts only when the element begins with it.
    if (element[0] == L'.') continue;
    if (IsReservedName(element.substr(0, element.find(L'.')))) return true;
  }
  return false;
}

}  // namespace lu::detail
