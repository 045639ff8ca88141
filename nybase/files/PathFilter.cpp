// Regular-expression filters over path text.
#include <nybase/files/PathFilter.h>

#include <regex>

namespace lu {

bool RegexPathFilter(const CStdStr<wchar_t>& path, const CStdStr<wchar_t>& pattern) {
  if (pattern.empty()) return false;
  const std::wregex re(pattern, std::regex_constants::ECMAScript);
  return std::regex_match(path, re);
}

namespace PathFilter {

bool Basic(const CStdStr<wchar_t>& path) {
  // Compiled once: the same expression RegexPathFilter would build on every call. "[A-z]" is
  // deliberately as written, punctuation between "Z" and "a" included.
  static const std::wregex k_pseudoPaths(LR"(^((\.+(/|\\)*)+|((/|\\)+\.*)+|([A-z]:(/|\\)?))$)",
                                         std::regex_constants::ECMAScript);
  return !std::regex_match(path, k_pseudoPaths);
}

}  // namespace PathFilter

}  // namespace lu
