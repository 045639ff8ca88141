// StringHelp splitting, cleaning and comparison: the stated results on edge texts, both widths.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include <nybase/NYBase.h>

namespace {

using W = CStdStr<wchar_t>;

template <typename S>
S Join(const std::vector<S>& items) {
  S out;
  for (const auto& s : items) out += s + S(1, '|');
  return out;
}

}  // namespace

TEST(StringHelpSplit, SplitStringFollowsGetline) {
  const struct {
    const char* text;
    const char* items;
  } cases[] = {{"", ""}, {"a,b,", "a|b|"}, {",a", "|a|"}, {"a,,b", "a||b|"}, {",", "|"}, {"abc", "abc|"}};
  for (const auto& c : cases) {
    std::vector<std::string> n{"stale"};
    StringHelp::SplitString(std::string(c.text), ',', n);
    EXPECT_EQ(Join(n), c.items) << c.text;
    const std::string s(c.text);
    std::vector<W> w{W(L"stale")};
    StringHelp::SplitString(W(std::wstring(s.begin(), s.end())), L',', w);
    EXPECT_EQ(W(Join(w)), W(c.items)) << c.text;
  }
  // The CStdStr form stops at a NUL; the std::basic_string forms keep it.
  std::vector<W> w;
  StringHelp::SplitString(W(std::wstring(L"a,b\0c,d", 7)), L',', w);
  EXPECT_EQ(Join(w), W(L"a|b|"));
  std::vector<std::wstring> s;
  StringHelp::SplitString(std::wstring(L"a,b\0c,d", 7), L',', s);
  ASSERT_EQ(s.size(), 3u);
  EXPECT_EQ(s[1], std::wstring(L"b\0c", 3));
}

TEST(StringHelpSplit, ParseToMapKeepsLaterValuesAndThrowsAtAnOpenEnd) {
  const struct {
    const wchar_t* text;
    const wchar_t* pairs;
    bool throws;
  } cases[] = {
      {L"a=1;b=2", L"a=1|b=2|", false},  {L"a=1;b=2;", L"a=1|b=2|", false}, {L"==a=b", L"a=b|", false},
      {L"a=b=c;", L"a=b=c|", false},     {L"a=1;a=2", L"a=2|", false},     {L"a=1;b", L"a=1|b=|", true},
      {L"a=", L"a=|", true},             {L"a", L"a=|", true},              {L"a=;b=1", L"a=b=1|", false},
      {L";;", L";;=|", true},            {L"", L"", false},
  };
  for (const auto& c : cases) {
    std::map<W, W> map{{W(L"kept"), W(L"1")}};
    bool threw = false;
    try {
      StringHelp::ParseToMap(c.text, map);
    } catch (const std::invalid_argument& e) {
      threw = true;
      EXPECT_STREQ(e.what(), "Invalid start");
    }
    EXPECT_EQ(threw, c.throws) << c.text;
    W pairs;
    for (const auto& [k, v] : map) {
      if (k != L"kept") pairs += k + L"=" + v + L"|";
    }
    EXPECT_EQ(pairs, W(c.pairs)) << c.text;
    EXPECT_EQ(map[W(L"kept")], W(L"1"));
  }
  std::map<W, W> map;
  StringHelp::ParseToMap(nullptr, map);
  EXPECT_TRUE(map.empty());
}

TEST(StringHelpClean, TrimRemoveAndLowerInBothWidths) {
  std::string n = "  xa b x ";
  StringHelp::Trim(n, " x");
  EXPECT_EQ(n, "a b");
  std::wstring w = L"   ";
  StringHelp::Trim(w, L" ");
  EXPECT_EQ(w, L"");
  w = L" a ";
  StringHelp::Trim(w, L"");
  EXPECT_EQ(w, L" a ");
  StringHelp::Remove(n, " b");
  EXPECT_EQ(n, "a");
  w = L"a-b_c-";
  StringHelp::Remove(w, L"-_");
  EXPECT_EQ(w, L"abc");
  n = "AbC\xC3\x89";  // the UTF-8 bytes of 'É' stay
  StringHelp::ToLower(n);
  EXPECT_EQ(n, "abc\xC3\x89");
  w = L"AbC\u00c9\u0391";
  StringHelp::ToLower(w);
  EXPECT_EQ(w, L"abc\u00e9\u03b1");
}

TEST(StringHelpClean, ControlAnsiAndUnderscoreDigits) {
  W t(L"a\tb\r\nc\x1f\x20");
  EXPECT_EQ(&StringHelp::RemoveControlCharacters(t), &t);
  EXPECT_EQ(t, W(L"abc "));
  const struct {
    const wchar_t* in;
    const wchar_t* out;
  } ansi[] = {{L"plain", L"plain"},
              {L"\x1b[31mred\x1b[0m!", L"red!"},
              {L"a\x1b[1;32mb", L"ab"},
              {L"x\x1bzzmy", L"xy"},
              {L"a\x1b[1", L"a\x1b[1"},  // no "m": kept, and the walk ends
              {L"\x1b[0ma\x1b", L"a\x1b"}};
  for (const auto& c : ansi) EXPECT_EQ(StringHelp::RemoveAnsiCode(W(c.in)), W(c.out)) << c.out;
  const struct {
    const wchar_t* in;
    const wchar_t* out;
  } tails[] = {{L"Name_12", L"Name"}, {L"Name_", L"Name_"}, {L"Name12", L"Name12"},
               {L"12", L"12"},        {L"_12", L""},         {L"a_1_2", L"a_1"}, {L"", L""}};
  for (const auto& c : tails) EXPECT_EQ(StringHelp::RemoveUnderscoreDigitAtTheEnd(W(c.in)), W(c.out)) << c.in;
}

TEST(StringHelpCompare, CaseInsensitiveSearchFoldsBeyondAscii) {
  const struct {
    const wchar_t* text;
    const wchar_t* sought;
    bool found;
  } cases[] = {
      {L"Hello World", L"WORLD", true}, {L"Hello", L"", true},       {L"", L"", false},
      {L"abc", L"abcd", false},         {L"aaab", L"AAB", true},     {L"\u00c9T\u00c9", L"\u00e9t\u00e9", true},
      {L"abc", L"abd", false},          {L"xyz", L"Z", true},        {L"stra\u00dfe", L"STRASSE", false},
  };
  for (const auto& c : cases) EXPECT_EQ(StringHelp::CaseInsensitiveSearch(W(c.text), W(c.sought)), c.found) << c.text;
  const W longSought(100, L'A');
  EXPECT_TRUE(StringHelp::CaseInsensitiveSearch(W(L"b") + W(100, L'a'), longSought));
}

TEST(StringHelpCompare, CompareTextOnlyIgnoresBlanksAndCase) {
  EXPECT_TRUE(StringHelp::CompareTextOnly(L"Foo Bar", L"foobar"));
  EXPECT_FALSE(StringHelp::CompareTextOnly(L"Foo\tBar", L"foobar"));
  EXPECT_TRUE(StringHelp::CompareTextOnly(L" \u00c9t\u00e9 ", L"\u00e9T\u00c9"));
  EXPECT_FALSE(StringHelp::CompareTextOnly(L"foo", L"foob"));
  EXPECT_FALSE(StringHelp::CompareTextOnly(L"foob", L"foo"));
  EXPECT_TRUE(StringHelp::CompareTextOnly(L"   ", nullptr));
}

TEST(StringHelpSplit, SplitWordsLowerCasesEachWord) {
  std::vector<W> words{W(L"stale")};
  StringHelp::SplitWords(W(L"FooBar \u00c9T\u00c9 x9"), words, true);
  EXPECT_EQ(Join(words), W(L"foo|bar|foobar|\u00e9t\u00e9|x|9|"));
  StringHelp::SplitWords(W(L""), words, true);
  EXPECT_TRUE(words.empty());
}
