// RegexHelpers: a user's wildcard filter as a standard regular expression.
#pragma once

#include <regex>
#include <string>

#include <nybase/text/CStdStr.h>

namespace RegexHelpers {

// `text` with a backslash before each of . ^ $ | ( ) [ ] { } + ? and '\' (not '*' or '-'); the
// result replaces what `out` held.
void RegexEscape(const wchar_t* text, std::basic_string<wchar_t>& out);

// The expression of a wildcard pattern: escaped as above, each run of '*' made ".*", compiled
// ECMAScript and case-insensitive, not anchored (regex_match for a whole match, regex_search for
// a part). '?' is a literal question mark. Every input gives a valid expression.
void BuildRegex(const CStdStr<wchar_t>& pattern, std::basic_regex<wchar_t>& out);

}  // namespace RegexHelpers
