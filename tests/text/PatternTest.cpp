// Wildcards (against fnmatch for the cases both define alike), wildcard expressions, and the
// Windows command-line rules.
#include <fnmatch.h>

#include <gtest/gtest.h>

#include <cwchar>
#include <random>
#include <regex>
#include <vector>

#include <nybase/text/CommandLine.h>
#include <nybase/text/RegexHelpers.h>
#include <nybase/text/StringHelpWildcard.h>

namespace {

bool Match(const wchar_t* text, const wchar_t* pattern, bool caseSensitive = true, wchar_t terminator = L'\0',
           const wchar_t* end = nullptr) {
  return StringHelp::WildcardTextCompare(text, pattern, caseSensitive, terminator, end);
}

// The matching steps as written, restarting behind the last star one character later each time
// the text ends first: the reference for the library's loop, which skips restarts known to fail.
bool LiteralSteps(const wchar_t* t, const wchar_t* p, bool caseSensitive, wchar_t terminator, const wchar_t* end) {
  const wchar_t *star = nullptr, *mark = nullptr;
  const auto fold = [&](wchar_t c) { return !caseSensitive && c >= L'A' && c <= L'Z' ? wchar_t(c + 32) : c; };
  const auto at = [&](const wchar_t* x) { return end != nullptr && x >= end ? terminator : *x; };
  const auto ends = [&](wchar_t c) { return c == 0 || c == terminator; };
  for (;;) {
    const wchar_t c = at(t), q = *p;
    if (!ends(c)) {
      if (fold(c) == fold(q)) {
        ++t, ++p;
      } else if (q != L'*') {
        if (star == nullptr) return false;
        if (p != star) p = star + (fold(c) == fold(*star) ? 1 : 0);
        ++t;
      } else {
        if (ends(*++p)) return true;
        star = p, mark = t;
      }
    } else if (ends(q)) {
      return true;
    } else if (q == L'*') {
      ++p;
    } else {
      if (mark == nullptr || ends(at(mark))) return false;
      t = mark++, p = star;
    }
  }
}

}  // namespace

TEST(Wildcard, SameAnswersAsTheLiteralSteps) {
  // Segments whose first character recurs, where the leftmost occurrence is not what the steps find.
  for (const auto* c : {L"aaabaaaabaaaaaaaa\0*aaba*ba*aa", L"aaaabaaaba\0**aaab*ab*", L"aaabaaaaaabb\0*aab*a*b"}) {
    const wchar_t* pattern = c + std::wcslen(c) + 1;
    EXPECT_EQ(Match(c, pattern), LiteralSteps(c, pattern, true, L'\0', nullptr)) << c << " ~ " << pattern;
  }
  std::mt19937 rng(11);
  const wchar_t alphabet[] = L"abAB*;";
  for (int i = 0; i < 300000; ++i) {
    std::wstring t, p;
    for (int n = int(rng() % 12); n > 0; --n) t += alphabet[rng() % (rng() % 4 == 0 ? 6 : 4)];
    for (int n = int(rng() % 8); n > 0; --n) p += alphabet[rng() % 6];
    const bool cs = rng() % 2;
    // Letters and '*' as terminators too: those the loop's shortcuts must leave to the plain steps.
    const wchar_t terminator = rng() % 3 == 0 ? L";;aA*"[rng() % 5] : L'\0';
    const wchar_t* end = rng() % 3 == 0 ? t.c_str() + rng() % (t.size() + 1) : nullptr;
    ASSERT_EQ(Match(t.c_str(), p.c_str(), cs, terminator, end), LiteralSteps(t.c_str(), p.c_str(), cs, terminator, end))
        << t << " ~ " << p << " case " << cs << " terminator " << int(terminator);
  }
}

TEST(Wildcard, Table) {
  const struct {
    const wchar_t *text, *pattern;
    bool caseSensitive;
    wchar_t terminator;
    bool matches;
  } cases[] = {
      {L"anything", L"*", true, 0, true},     {L"", L"**", true, 0, true},        {L"a", L"a*", true, 0, true},
      {L"abc", L"a*", true, 0, true},         {L"ba", L"a*", true, 0, false},     {L"b", L"*b", true, 0, true},
      {L"ab", L"*b", true, 0, true},          {L"ba", L"*b", true, 0, false},     {L"a?", L"a?", true, 0, true},
      {L"ab", L"a?", true, 0, false},         {L"", L"", true, 0, true},          {L"a", L"", true, 0, false},
      {L"foo;bar", L"foo", true, L';', true}, {L"foo;bar", L"foo;ignored", true, L';', true},
      {L"ABC", L"a*c", false, 0, true},       {L"ABC", L"a*c", true, 0, false},   {L"\u00C9", L"\u00E9", false, 0, false},
      {L"a*b", L"a*b", true, 0, true},        {L"abcbd", L"a*bd", true, 0, true}, {L"aXbXc", L"a*b*c", true, 0, true},
      {L"abcab", L"*ab", true, 0, true},      {L"mississippi", L"*sip*", true, 0, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Match(c.text, c.pattern, c.caseSensitive, c.terminator), c.matches) << c.text << " ~ " << c.pattern;
  }
  const wchar_t* text = L"abcdef";
  EXPECT_TRUE(Match(text, L"ab", true, L'\0', text + 2));
  EXPECT_FALSE(Match(text, L"abc", true, L'\0', text + 2));
  // An end pointer with no NUL behind it: nothing past it is read (ASan checks).
  const std::vector<wchar_t> unterminated = {L'x', L'a'};
  EXPECT_FALSE(Match(unterminated.data(), L"*ab*", true, L'\0', unterminated.data() + 2));
}

// Over '*' and plain letters (no '?', '[' or '\\', which fnmatch treats specially) and texts
// without '*', both define the same language.
TEST(Wildcard, AgreesWithFnmatch) {
  std::mt19937 rng(7);
  const char alphabet[] = "ab*";
  for (int i = 0; i < 20000; ++i) {
    std::string text, pattern;
    for (int n = int(rng() % 7); n > 0; --n) text += "ab"[rng() % 2];
    for (int n = int(rng() % 6); n > 0; --n) pattern += alphabet[rng() % 3];
    const std::wstring wt(text.begin(), text.end()), wp(pattern.begin(), pattern.end());
    ASSERT_EQ(Match(wt.c_str(), wp.c_str()), ::fnmatch(pattern.c_str(), text.c_str(), 0) == 0)
        << text << " ~ " << pattern;
  }
}

TEST(CommandLine, SplitsByTheWindowsRules) {
  using W = std::vector<CStdStr<wchar_t>>;
  const struct {
    const wchar_t* line;
    W words;
  } cases[] = {
      {L"", {}},
      {L"  \t ", {}},
      {L"prog \"a b c\" d e", {L"prog", L"a b c", L"d", L"e"}},
      {L"prog \"ab\\\"c\" \"\\\\\" d", {L"prog", L"ab\"c", L"\\", L"d"}},
      {L"prog a\\\\\\b d\"e f\"g h", {L"prog", L"a\\\\\\b", L"de fg", L"h"}},
      {L"prog a\\\\\\\"b c d", {L"prog", L"a\\\"b", L"c", L"d"}},
      {L"prog a\\\\\\\\\"b c\" d e", {L"prog", L"a\\\\b c", L"d", L"e"}},
      {L"prog a\"b\"\" c d", {L"prog", L"ab\" c d"}},
      {L"\"C:\\Program Files\\x.exe\" -v", {L"C:\\Program Files\\x.exe", L"-v"}},
      {L"C:\\dir\\x.exe\\", {L"C:\\dir\\x.exe\\"}},
      {L"prog \"unclosed arg", {L"prog", L"unclosed arg"}},
      {L"prog \"\"", {L"prog", L""}},
  };
  for (const auto& c : cases) EXPECT_EQ(lu::SplitCommandLine(c.line), c.words) << c.line;
}
