// StringHelp comparison: case-insensitive search and comparison that ignores blanks and case.
#include <nybase/text/StringHelp.h>

#include <nybase/text/internal/TextLocale.h>

namespace StringHelp {

bool CaseInsensitiveSearch(const CStdStr<wchar_t>& text, const CStdStr<wchar_t>& sought) {
  if (sought.empty()) return !text.empty();
  const size_t n = text.size();
  const size_t m = sought.size();
  if (m > n) return false;
  const detail::CaseMap& fold = detail::SharedCaseMap();
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
  for (size_t k = 0; k < m; ++k) folded[k] = fold.Upper(sought[k]);
  const wchar_t first = folded[0];
  const wchar_t* t = text.data();
  for (size_t i = 0; i + m <= n; ++i) {
    if (fold.Upper(t[i]) != first) continue;
    size_t k = 1;
    while (k < m && fold.Upper(t[i + k]) == folded[k]) ++k;
    if (k == m) return true;
  }
  return false;
}

bool CompareTextOnly(const wchar_t* a, const wchar_t* b) {
  // Walking both texts past their blanks and comparing the folded units in step gives the result
  // of removing the blanks, comparing the lengths and then the folded copies, without the copies.
  if (a == nullptr) a = L"";
  if (b == nullptr) b = L"";
  const detail::CaseMap& fold = detail::SharedCaseMap();
  for (;;) {
    while (*a == L' ') ++a;
    while (*b == L' ') ++b;
    if (*a == 0 || *b == 0) return *a == *b;
    if (fold.Lower(*a) != fold.Lower(*b)) return false;
    ++a;
    ++b;
  }
}

}  // namespace StringHelp
