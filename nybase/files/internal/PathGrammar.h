// Windows path grammar on plain code-unit text: root names, file names, stems, normal forms.
#pragma once

#include <cstddef>
#include <string_view>

namespace lu::detail {

inline constexpr bool IsPathSeparator(wchar_t c) noexcept { return c == L'\\' || c == L'/'; }
inline constexpr bool IsAsciiLetter(wchar_t c) noexcept {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

// The split of a path text into root name [0, rootNameEnd), root directory (the run of separators
// after it) [rootNameEnd, rootDirEnd) and relative part [rootDirEnd, size).
struct PathSplit {
  size_t rootNameEnd = 0;
  size_t rootDirEnd = 0;
};

// Length of the root name: "X:" (any ASCII letter); the device and verbatim forms "\\?\", "\\.\"
// and "\??\" (any separator may be "/"), whose root name is their first three characters; a UNC
// "\\server" up to the next separator. Zero when the text has none.
size_t RootNameLength(std::wstring_view s) noexcept;
PathSplit SplitRoot(std::wstring_view s) noexcept;

// Start of the file name: what follows the last separator behind the root directory. The file
// name is empty when the text ends in a separator or is only a root.
size_t FileNameStart(std::wstring_view s) noexcept;

// Stem and extension of a file name. Both stop at the first ':' (an alternate data stream belongs
// to neither): the stem is [0, stemEnd) and the extension [stemEnd, extEnd) of the name.
struct StemSplit {
  size_t stemEnd = 0;
  size_t extEnd = 0;
};
StemSplit SplitStem(std::wstring_view fileName) noexcept;

// Length of the grammatical parent: the file name and the separators before it are dropped, but
// never below the start of the relative part.
size_t ParentLength(std::wstring_view s) noexcept;

// True for "X:\..." and for every other text with a root name ("\\server", "\\?\x"); "X:" and
// "X:foo" are drive-relative and "\foo" is rooted but not absolute.
bool IsAbsolutePath(std::wstring_view s) noexcept;

// Separator clean-up in place (never resolves "." or ".."): "/" becomes "\", runs of "\" collapse
// and trailing "\" go, but a leading "\\" stays two. A text of separators only is left as
// separators. Returns the new length, and whether one "\" must then be appended (a drive alone,
// "C:" or "C:\\", becomes "C:\"), which cannot be done in place.
struct NormalizeResult {
  size_t length = 0;
  bool appendSeparator = false;
};
NormalizeResult NormalizeSeparatorsInPlace(wchar_t* s, size_t n) noexcept;

// The lexical normal form in place: "/" becomes "\" (in the root name too), separator runs
// collapse, "." elements go, "x\.." pairs cancel, ".." directly behind a root directory goes,
// a separator behind a final ".." goes, and an empty result becomes ".". The result is never
// longer than the input; returns its length.
size_t LexicallyNormalInPlace(wchar_t* s, size_t n) noexcept;

// True when the name, stripped of white space at both ends (as the global locale classes it),
// is one of the reserved device names (AUX, CON, NUL, PRN, COM1-9, LPT1-9), ASCII case folded.
bool IsReservedName(std::wstring_view name);

// True when some element of the path (split on either separator) does not begin with "." and its
// text before the first "." is a reserved name: "a\CON.txt", " NUL", "COM1.tar.gz"; not ".CON".
bool ContainsReservedName(std::wstring_view path);

// The fixed character sets of path legality.
inline constexpr std::wstring_view k_nameIllegalChars = L":<>*?\"\\/|";
inline constexpr std::wstring_view k_pathIllegalChars = L"<>*?\"|";

}  // namespace lu::detail
