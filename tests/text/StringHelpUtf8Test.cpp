// StringHelp UTF-8 conversion into callers' buffers, truncation for UTF-8 limits, glyph counts.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include <nybase/NYBase.h>

#include "../support/TestSupport.h"

using nytest::W16;

TEST(StringHelpUtf8, WCharToUTF8AlwaysTerminatesAndFailsWhole) {
  struct Case {
    std::wstring text;
    int length;
    int capacity;
    int result;
    std::string out;
  };
  const Case cases[] = {
      {L"abc", 3, 10, 3, "abc"},
      {L"abc", -1, 10, 4, std::string("abc\0", 4)},  // the NUL is converted and counted
      {L"abc", 3, 3, 2, "ab"},                         // fits without its NUL: the NUL takes the last byte
      {L"abc", 3, 2, 0, ""},                           // too small: nothing
      {L"\u00E9t\u00E9", 3, 6, 5, "\xC3\xA9t\xC3\xA9"},
      {W16(u"\U0001F3B5"), 2, 5, 4, "\xF0\x9F\x8E\xB5"},
      {L"abc", 1, 4, 1, "a"},
  };
  for (const auto& c : cases) {
    char buf[16];
    std::memset(buf, 'x', sizeof(buf));
    EXPECT_EQ(StringHelp::WCharToUTF8(c.text.c_str(), c.length, buf, c.capacity), c.result);
    EXPECT_EQ(std::string(buf, static_cast<size_t>(c.result)), c.out);
    EXPECT_EQ(buf[c.result], '\0');
  }
  char one = 'x';
  EXPECT_EQ(StringHelp::WCharToUTF8(L"abc", 3, &one, 0), 0);
  EXPECT_EQ(one, 'x');  // no room: nothing written
  EXPECT_EQ(StringHelp::WCharToUTF8(L"abc", 3, nullptr, 8), 0);
}

TEST(StringHelpUtf8, UTF8ToWCharMirrorsIt) {
  wchar_t buf[8];
  std::wmemset(buf, L'x', 8);
  EXPECT_EQ(StringHelp::UTF8ToWChar("h\xC3\xA9llo", 6, buf, 8), 5);
  EXPECT_EQ(std::wstring(buf), L"h\u00E9llo");
  EXPECT_EQ(StringHelp::UTF8ToWChar("\xF0\x9F\x8E\xB5", 4, buf, 8), 2);
  EXPECT_EQ(std::wstring(buf), W16(u"\U0001F3B5"));
  EXPECT_EQ(StringHelp::UTF8ToWChar("abcdefghij", 10, buf, 8), 0);
  EXPECT_EQ(buf[0], L'\0');
  EXPECT_EQ(StringHelp::UTF8ToWChar("ab", -1, buf, 8), 3);
}

TEST(StringHelpUtf8, CStringToUTF8ReturnsNullForNothing) {
  char buf[8];
  EXPECT_EQ(StringHelp::CStringToUTF8(L"h\u00E9", buf, 8), buf);
  EXPECT_STREQ(buf, "h\xC3\xA9");
  std::memset(buf, 'x', sizeof(buf));
  EXPECT_EQ(StringHelp::CStringToUTF8(L"", buf, 8), nullptr);
  EXPECT_EQ(buf[0], '\0');
  std::memset(buf, 'x', sizeof(buf));
  EXPECT_EQ(StringHelp::CStringToUTF8(L"abcdefgh", buf, 8), nullptr);  // needs 9 bytes with its NUL
  EXPECT_EQ(buf[0], '\0');
  char untouched = 'x';
  EXPECT_EQ(StringHelp::CStringToUTF8(L"a", &untouched, 0), nullptr);
  EXPECT_EQ(untouched, 'x');
  EXPECT_EQ(StringHelp::CStringToUTF8(L"a", &untouched, 1), &untouched);  // a size query: "" but not null
  EXPECT_EQ(untouched, '\0');
}

TEST(StringHelpUtf8, TruncateForUTF8IsTheLongestPrefixBelowTheLimit) {
  // Random mixes of every UTF-8 length class and stray surrogates, checked against the codec.
  std::mt19937 rng(1234);
  const wchar_t pool[] = {L'a', L'~', 0xE9, 0x7FF, 0x800, 0x2122, 0xFFFD, 0xD83C, 0xDFB5, 0xDC00};
  for (int round = 0; round < 300; ++round) {
    std::wstring text;
    const size_t len = rng() % 24;
    for (size_t i = 0; i < len; ++i) text.push_back(pool[rng() % std::size(pool)]);
    const unsigned limit = static_cast<unsigned>(rng() % 40);
    CStdStr<wchar_t> s = text;
    StringHelp::TruncateForUTF8(s, limit);
    ASSERT_EQ(s, text.substr(0, s.size()));
    const size_t bytes = lu::platform::Utf8LengthOfUtf16(s.data(), s.size());
    if (limit == 0) {
      EXPECT_TRUE(s.empty());
      continue;
    }
    EXPECT_LT(bytes, limit) << "never exceeds the limit with its NUL";
    if (s.size() < text.size() && s.size() + 1 <= limit - 1) {
      EXPECT_GE(lu::platform::Utf8LengthOfUtf16(text.data(), s.size() + 1), limit) << "one more unit must not fit";
    }
  }
}

TEST(StringHelpUtf8, CountUTF8GlyphsSkipsContinuationBytes) {
  EXPECT_EQ(StringHelp::CountUTF8Glyphs(nullptr), 0u);
  EXPECT_EQ(StringHelp::CountUTF8Glyphs("h\xC3\xA9\xE2\x84\xA2\xF0\x9F\x8E\xB5!"), 5u);
  EXPECT_EQ(StringHelp::CountUTF8Glyphs("\x80\x80z"), 1u);  // stray continuation bytes count for nothing
  EXPECT_EQ(StringHelp::CountUTF8Glyphs("\xFF\xC3"), 2u);
}
