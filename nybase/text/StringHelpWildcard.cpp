// StringHelp::WildcardTextCompare: a one-star backtracking match with no allocation.
#include <nybase/text/StringHelpWildcard.h>

namespace StringHelp {

namespace {

wchar_t FoldAscii(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; }

// The loop, compiled once for each combination of case rule and text end so that the per-character
// work carries no test of either.
template <bool kCaseSensitive, bool kHasEnd>
bool Compare(const wchar_t* text, const wchar_t* pattern, wchar_t terminator, const wchar_t* textEnd) {
  const wchar_t* t = text;
  const wchar_t* p = pattern;
  const wchar_t* star = nullptr;      // the pattern behind the last '*'
  const wchar_t* mark = nullptr;      // where the next restart behind that '*' begins
  const wchar_t* runStart = nullptr;  // where the run that is under way began
  const auto fold = [](wchar_t c) { return kCaseSensitive ? c : FoldAscii(c); };
  const auto textAt = [&](const wchar_t* at) { return kHasEnd && at >= textEnd ? terminator : *at; };
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
      runStart = t;
      continue;
    }
    if (ends(q)) return true;
    if (q == L'*') {
      ++p;
      continue;
    }
    if (mark == nullptr) return false;
    // The run just made failed. The restart behind the star one character later (first from the
    // run's own start, once more) is taken as the steps say, except that runs known to fail are
    // not repeated: a run from the start just made would repeat it, and a run from s, when the
    // character before s does not match the first character behind the star, is the tail of the
    // failed run from s - 1 (which was at that very pattern position there). Same answers, linear
    // work instead of quadratic on texts that do not match.
    const wchar_t* s = mark;
    for (;;) {
      if (ends(textAt(s))) return false;
      if (*star == L'*') break;  // a further star: no shortcut, take the step as it stands
      if (s != runStart && fold(textAt(s - 1)) == fold(*star)) break;
      ++s;
    }
    t = s;
    p = star;
    mark = s + 1;
    runStart = s;
  }
}

}  // namespace

bool WildcardTextCompare(const wchar_t* text, const wchar_t* pattern, bool caseSensitive, wchar_t terminator,
                         const wchar_t* textEnd) {
  if (textEnd != nullptr) {
    return caseSensitive ? Compare<true, true>(text, pattern, terminator, textEnd)
                         : Compare<false, true>(text, pattern, terminator, textEnd);
  }
  return caseSensitive ? Compare<true, false>(text, pattern, terminator, nullptr)
                       : Compare<false, false>(text, pattern, terminator, nullptr);
}

}  // namespace StringHelp
