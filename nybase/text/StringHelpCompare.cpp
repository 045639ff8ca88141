// StringHelp comparison: case-insensitive search and comparison that ignores blanks and case.
#include <nybase/text/StringHelp.h>

#include <nybase/text/internal/TextLocale.h>

namespace StringHelp {

bool CaseInsensitiveSearch(const CStdStr<wchar_t>& text, const CStdStr<wchar_t>& sought) {
  if (sought.empty()) return !text.empty();
  const size_t n = text.size();
  const size_t m = sought.size();
  if (m > n) return false;
  const std::ctype<wchar_t>& ct = detail::SharedCType();
  // The sought text is folded once; the text is folded unit by unit as the scan reaches it, so
  // nothing is copied. A plain search from the left: the first unit is looked for, then the rest
  // compared.
  wchar_t small[64];
  std::wstring large;
  wchar_t* folded = small;
  if (m > std::size(small)) {
    large.resize(m);
    folded = large.data();
  }
  for (size_t k = 0; k < m; ++k) folded[k] = detail::ToUpper(sought[k], ct);
  const wchar_t first = folded[0];
  const wchar_t* t = text.data();
  for (size_t i = 0; i + m <= n; ++i) {
    if (detail::ToUpper(t[i], ct) != first) continue;
    size_t k = 1;
    while (k < m && detail::ToUpper(t[i + k], ct) == folded[k]) ++k;
    if (k == m) return true;
  }
  return false;
}

bool CompareTextOnly(const wchar_t* a, const wchar_t* b) {
  // Walking both texts past their blanks and comparing the folded units in step gives the result
  // of removing the blanks, comparing the lengths and then the folded copies, without the copies.
  if (a == nullptr) a = L"";
  if (b == nullptr) b = L"";
  const std::ctype<wchar_t>& ct = detail::SharedCType();
  for (;;) {
    while (*a == L' ') ++a;
    while (*b == L' ') ++b;
    if (*a == 0 || *b == 0) return *a == *b;
    if (detail::ToLower(*a, ct) != detail::ToLower(*b, ct)) return false;
    ++a;
    ++b;
  }
}

}  // namespace StringHelp
