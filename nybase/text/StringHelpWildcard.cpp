// StringHelp::WildcardTextCompare: a one-star backtracking match with no allocation.
#include <nybase/text/StringHelpWildcard.h>

#include <cstddef>
#include <cwchar>

namespace StringHelp {

namespace {

wchar_t FoldAscii(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; }

// The loop, compiled once for each combination of case rule and text end so that the per-character
// work carries no test of either.
//
// The steps: two positions t and p, a saved star (the pattern behind the last '*') and mark (where
// the next restart behind it begins); a character pair that matches advances both; a mismatch
// behind a star puts p back to the star (one further when the text character matches the star's
// first character) and advances t; the end of the text restarts behind the star from mark, one
// character later each time. The answers are exactly those of these steps; three shortcuts take
// them faster where they provably agree:
// - While p stands at the star, the steps only advance t until a character matches the star's
//   first character or the text ends: that is one tight scan.
// - Behind the last '*' of a pattern whose rest has no further '*', the steps say whether the text
//   from the star's mark ends with that rest (p - star always counts the text characters just
//   before t that match the rest's beginning, and the restarts try every later start): that is
//   one comparison at the end of the text.
// - When the first character of the segment behind the star does not occur again in the segment,
//   a run of the steps reaches the leftmost occurrence of the segment from its start before any
//   other (a partial match never hides the start of another), so that occurrence is searched
//   directly. With none, or when the run fails at the end of the text without a text '*' having
//   matched the pattern's '*' behind the segment, every later restart fails the same way: the
//   answer is false at once.
// The second and third need a terminator that no other character folds to (and that is not '*'):
// otherwise the pattern may be read across its terminator, and only the plain steps are taken.
//
// Kept out of line: it is the slow path behind Segments, and inlining it would give the common
// entry the register saves of this much larger loop.
template <bool kCaseSensitive, bool kHasEnd>
[[gnu::noinline]] bool Compare(const wchar_t* text, const wchar_t* pattern, wchar_t terminator,
                               const wchar_t* textEnd) {
  const wchar_t* t = text;
  const wchar_t* p = pattern;
  const wchar_t* star = nullptr;      // the pattern behind the last '*'
  const wchar_t* mark = nullptr;      // where the next restart behind that '*' begins
  const wchar_t* runStart = nullptr;  // where the run that is under way began
  bool alone = false;                 // the shortcuts hold for the segment behind star
  bool literalStar = false;           // a text '*' was matched as a plain character behind star
  const auto fold = [](wchar_t c) { return kCaseSensitive ? c : FoldAscii(c); };
  const auto textAt = [&](const wchar_t* at) { return kHasEnd && at >= textEnd ? terminator : *at; };
  const auto ends = [terminator](wchar_t c) { return c == L'\0' || c == terminator; };
  const bool letterTerminator =
      (terminator >= L'A' && terminator <= L'Z') || (terminator >= L'a' && terminator <= L'z');
  const bool plainTerminator = terminator != L'*' && (kCaseSensitive || !letterTerminator);
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
          ++t;
          continue;
        }
        // At the star: skip to the next character that matches its first one, or to the end.
        const wchar_t first = fold(q);
        wchar_t d;
        do {
          ++t;
          d = textAt(t);
        } while (!ends(d) && fold(d) != first);
        continue;
      }
      ++p;
      if (ends(*p)) return true;
      star = p;
      mark = t;
      runStart = t;
      literalStar = false;
      alone = false;
      if (!plainTerminator || *p == L'*') continue;
      const wchar_t* e = p;  // the end of the segment behind this star
      while (!ends(*e) && *e != L'*') ++e;
      const size_t length = static_cast<size_t>(e - p);
      if (ends(*e)) {
        // The last segment: the text from here must end with it.
        const wchar_t* te = t;
        while (!ends(textAt(te))) ++te;
        if (static_cast<size_t>(te - t) < length) return false;
        for (const wchar_t* x = te - length; p != e; ++x, ++p) {
          if (fold(*x) != fold(*p)) return false;
        }
        return true;
      }
      const wchar_t first = fold(*p);
      alone = true;
      for (const wchar_t* x = p + 1; alone && x != e; ++x) alone = fold(*x) != first;
      if (!alone) continue;
      // The run finds the leftmost occurrence of the segment: search it directly.
      for (;;) {
        wchar_t d = textAt(t);
        while (!ends(d) && fold(d) != first) d = textAt(++t);
        if (ends(d)) return false;
        size_t k = 1;
        while (k < length && !ends(d = textAt(t + k)) && fold(d) == fold(p[k])) ++k;
        if (k == length) break;
        if (ends(d)) return false;
        t += k;  // no occurrence starts inside the partial match: its characters are not `first`
      }
      t += length;
      p = e;
      // A '*' in the text now matches the pattern's '*' as a plain character and the run goes on
      // behind it with this star: the third shortcut no longer holds for it.
      literalStar = textAt(t) == L'*';
      continue;
    }
    if (ends(q)) return true;
    if (q == L'*') {
      ++p;
      continue;
    }
    if (mark == nullptr) return false;
    if (alone && !literalStar) return false;
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

// The same answers as Compare, taken segment by segment for the patterns and texts where the
// shortcuts above decide everything; anything else is handed to Compare from the start. Needs a
// terminator that no other character folds to and that is not '*'. kNul: the text ends at its NUL
// only (no terminator, no end pointer), so the end test is one comparison.
// - Up to the first '*' the steps compare character by character and fail at the first mismatch.
// - At a '*' whose text character is a '*', the steps match the two as plain characters: Compare.
// - The segment behind a '*' can only be matched by consecutive text characters at or after the
//   star's mark, since the steps never move t back behind the mark and walk the segment in step
//   with the text; so when no occurrence is left the answer is false, whatever the segment.
// - A middle segment whose first character does not recur in it: its leftmost occurrence, as the
//   third shortcut says. One that does recur is searched too, so that its absence still answers
//   false at once (in linear time for a fixed segment); once found, Compare.
// - The last segment: whether the text ends with it, as the second shortcut says.
// The search looks for the segment's first two characters together, so that a first character
// followed by anything else is passed over in the same loop. Out of line so that the entry's
// dispatch stays a plain jump for each form.
template <bool kCaseSensitive, bool kHasEnd, bool kNul>
[[gnu::noinline]] bool Segments(const wchar_t* text, const wchar_t* pattern, wchar_t terminator,
                                const wchar_t* textEnd) {
  const wchar_t* t = text;
  const wchar_t* p = pattern;
  const auto fold = [](wchar_t c) { return kCaseSensitive ? c : FoldAscii(c); };
  const auto textAt = [&](const wchar_t* at) { return kHasEnd && at >= textEnd ? terminator : *at; };
  const auto ends = [terminator](wchar_t c) { return kNul ? c == L'\0' : c == L'\0' || c == terminator; };
  for (;; ++t, ++p) {
    const wchar_t q = *p;
    if (q == L'*') break;
    const wchar_t c = textAt(t);
    if (ends(q)) return ends(c);
    if (ends(c) || fold(c) != fold(q)) return false;
  }
  for (;;) {  // p stands at a '*'
    if (textAt(t) == L'*') return Compare<kCaseSensitive, kHasEnd>(text, pattern, terminator, textEnd);
    ++p;
    if (*p == L'*') continue;
    if (ends(*p)) return true;
    const wchar_t first = fold(p[0]);
    bool alone = true;  // the first character does not recur in the segment
    const wchar_t* e = p + 1;
    for (; !ends(*e) && *e != L'*'; ++e) alone &= fold(*e) != first;
    const size_t n = static_cast<size_t>(e - p);
    if (ends(*e)) {
      // The last segment: the text must end with it.
      const wchar_t* te = t;
      if (kNul) {
        te += wcslen(t);
      } else {
        while (!ends(textAt(te))) ++te;
      }
      if (static_cast<size_t>(te - t) < n) return false;
      // Every character is compared, with no early exit: one unpredictable branch fewer.
      wchar_t diff = 0;
      for (const wchar_t* x = te - n; p != e; ++x, ++p) diff |= fold(*x) ^ fold(*p);
      return diff == 0;
    }
    // Reading t[1] is safe once t[0] is not the end: without an end pointer the text goes on to
    // its NUL at least.
    const bool pair = !kHasEnd && n >= 2;
    const wchar_t second = fold(p[1]);
    for (;;) {
      wchar_t d = textAt(t);
      if (pair) {
        while (!ends(d) && (fold(d) != first || fold(t[1]) != second)) d = *++t;
      } else {
        while (!ends(d) && fold(d) != first) d = textAt(++t);
      }
      if (ends(d)) return false;
      size_t k = 1;
      while (k < n && fold(textAt(t + k)) == fold(p[k])) ++k;
      if (k == n) break;
      if (ends(textAt(t + k))) return false;  // the text ends inside the segment: no later start fits
      // When the segment is alone no occurrence starts inside the partial match (its characters are
      // not `first`); otherwise the next start is tried.
      t += alone ? k : 1;
    }
    if (!alone) return Compare<kCaseSensitive, kHasEnd>(text, pattern, terminator, textEnd);
    t += n;
    p = e;
  }
}

}  // namespace

bool WildcardTextCompare(const wchar_t* text, const wchar_t* pattern, bool caseSensitive, wchar_t terminator,
                         const wchar_t* textEnd) {
  // The common form first: every test before the jump costs each call.
  if (terminator == L'\0' && textEnd == nullptr) {
    return caseSensitive ? Segments<true, false, true>(text, pattern, terminator, nullptr)
                         : Segments<false, false, true>(text, pattern, terminator, nullptr);
  }
  const bool letterTerminator =
      (terminator >= L'A' && terminator <= L'Z') || (terminator >= L'a' && terminator <= L'z');
  if (terminator != L'*' && (caseSensitive || !letterTerminator)) {
    if (textEnd != nullptr) {
      return caseSensitive ? Segments<true, true, false>(text, pattern, terminator, textEnd)
                           : Segments<false, true, false>(text, pattern, terminator, textEnd);
    }
    return caseSensitive ? Segments<true, false, false>(text, pattern, terminator, nullptr)
                         : Segments<false, false, false>(text, pattern, terminator, nullptr);
  }
  if (textEnd != nullptr) {
    return caseSensitive ? Compare<true, true>(text, pattern, terminator, textEnd)
                         : Compare<false, true>(text, pattern, terminator, textEnd);
  }
  return caseSensitive ? Compare<true, false>(text, pattern, terminator, nullptr)
                       : Compare<false, false>(text, pattern, terminator, nullptr);
}

}  // namespace StringHelp
