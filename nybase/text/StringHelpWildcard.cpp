// StringHelp::WildcardTextCompare: a one-star backtracking match with no allocation.
#include <nybase/text/StringHelpWildcard.h>

namespace StringHelp {

namespace {

wchar_t FoldAscii(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; }

}  // namespace

bool WildcardTextCompare(const wchar_t* text, const wchar_t* pattern, bool caseSensitive, wchar_t terminator,
                         const wchar_t* textEnd) {
  const wchar_t* t = text;
  const wchar_t* p = pattern;
  const wchar_t* star = nullptr;  // the pattern behind the last '*'
  const wchar_t* mark = nullptr;  // where the text's match behind that '*' began
  const auto fold = [caseSensitive](wchar_t c) { return caseSensitive ? c : FoldAscii(c); };
  const auto textAt = [&](const wchar_t* at) { return textEnd != nullptr && at >= textEnd ? terminator : *at; };
  const auto ends = [terminator](wchar_t c) { return c == L'\0' || c == terminator; };
  for (;;) {
    const wchar_t c = textAt(t);
    const wchar_t q = *p;
    if (!ends(c)) {
      if (fold(c) == fold(q)) {
        ++t;
        ++p;
        continue;
      }
      if (q != L'*') {
        if (star == nullptr) return false;
        if (p != star) {
          p = star;
          if (fold(c) == fold(*star)) ++p;
        }
        ++t;
        continue;
      }
      ++p;
      if (ends(*p)) return true;
      star = p;
      mark = t;
      continue;
    }
    if (ends(q)) return true;
    if (q == L'*') {
      ++p;
      continue;
    }
    if (mark == nullptr || ends(textAt(mark))) return false;
    t = mark;
    p = star;
    ++mark;
  }
}

}  // namespace StringHelp
