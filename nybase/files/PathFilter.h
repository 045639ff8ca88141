// Regular-expression filters over path text.
#pragma once

#include <nybase/text/CStdStr.h>

namespace lu {

// True when the ECMAScript regular expression `pattern` (wide, no other flags) matches the whole
// of `path`. An empty pattern gives false. An invalid pattern throws std::regex_error.
bool RegexPathFilter(const CStdStr<wchar_t>& path, const CStdStr<wchar_t>& pattern);

namespace PathFilter {

// False for paths that name no real entry: only dots and separators beginning with a dot
// ("." "..\" ".\."), only separators and dots beginning with a separator ("\" "/.."), and a bare
// drive with at most one separator ("C:" "C:\"; the class [A-z] also spans [\]^_` there).
// True for everything else.
bool Basic(const CStdStr<wchar_t>& path);

}  // namespace PathFilter

}  // namespace lu
