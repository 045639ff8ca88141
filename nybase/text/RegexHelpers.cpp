// RegexHelpers: escaping and wildcard-to-expression with two expressions compiled once.
#include <nybase/text/RegexHelpers.h>

namespace RegexHelpers {

void RegexEscape(const wchar_t* text, std::basic_string<wchar_t>& out) {
  static const std::wregex k_special(LR"([.^$|()\[\]{}+?\\])", std::regex_constants::ECMAScript);
  // The replacement is backslash, backslash, ampersand: in sed format an escaped backslash, then the match.
  out = std::regex_replace(std::wstring(text != nullptr ? text : L""), k_special, L"\\\\&",
                           std::regex_constants::format_sed);
}

void BuildRegex(const CStdStr<wchar_t>& pattern, std::basic_regex<wchar_t>& out) {
  static const std::wregex k_stars(LR"(\*+)", std::regex_constants::ECMAScript);
  std::wstring escaped;
  RegexEscape(pattern.c_str(), escaped);
  const std::wstring expression =
      std::regex_replace(escaped, k_stars, L".*", std::regex_constants::format_sed);
  out.assign(expression, std::regex_constants::ECMAScript | std::regex_constants::icase);
}

}  // namespace RegexHelpers
