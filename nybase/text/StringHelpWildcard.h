// StringHelp::WildcardTextCompare: matching a text against a pattern where only '*' is special.
#pragma once

namespace StringHelp {

// Whether `text` matches `pattern`, where '*' stands for any run of characters (also none) and
// every other character, '?' included, only for itself; a '*' in the text matches a '*' of the
// pattern as a plain character. With `caseSensitive` false both sides fold 'A' to 'Z' (and no
// other letter) to lower case. The text ends at a NUL, at `terminator`, or at `textEnd` when that
// is not null; the pattern at a NUL or at `terminator` (so one item of a list such as "a;b;c"
// matches in place). Backtracking returns to the last '*' only, so this allocates nothing. An
// empty pattern matches only an empty text. Never fails.
bool WildcardTextCompare(const wchar_t* text, const wchar_t* pattern, bool caseSensitive, wchar_t terminator,
                         const wchar_t* textEnd);

}  // namespace StringHelp
