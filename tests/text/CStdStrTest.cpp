// CStdStr width crossing and lu::BasicStringView construction.
#include <gtest/gtest.h>

#include <nybase/NYBase.h>

#include "../support/TestSupport.h"

TEST(CStdStr, WideFromNarrowIsUtf8UpToTheFirstNul) {
  EXPECT_EQ(CStdStr<wchar_t>("caf\xC3\xA9"), L"caf\u00E9");
  EXPECT_EQ(CStdStr<wchar_t>("ab\0cd", 5), L"ab");
  EXPECT_EQ(CStdStr<wchar_t>("abcdef", 3), L"abcdef");  // the length is not a bound
  EXPECT_EQ(CStdStr<wchar_t>(static_cast<const char*>(nullptr)), L"");
  EXPECT_EQ(CStdStr<wchar_t>("\xF0\x9F\x8E\xB5"), nytest::W16(u"\U0001F3B5"));
  EXPECT_EQ(CStdStr<wchar_t>("\xFF"), L"\uFFFD");
}

TEST(CStdStr, NarrowFromWideIsUtf8) {
  EXPECT_EQ(CStdStr<char>(L"caf\u00E9"), "caf\xC3\xA9");
  EXPECT_EQ(CStdStr<char>(nytest::W16(u"\U0001F3B5")), "\xF0\x9F\x8E\xB5");
}

TEST(CStdStr, FormatIsPrintfStyle) {
  CStdStr<wchar_t> w;
  w.Format(L"%s-%03d", L"x", 7);
  EXPECT_EQ(w, L"x-007");
  CStdStr<char> n;
  n.Format("%.2f", 1.005f);
  EXPECT_EQ(n, "1.00");
}

TEST(BasicStringView, ConstructsFromEveryOwnerOfItsWidth) {
  const CStdStr<wchar_t> owned(L"abc");
  lu::BasicStringView<wchar_t> a = owned;
  lu::BasicStringView<wchar_t> d(L"ijk", 2);
  lu::BasicStringView<wchar_t> e(static_cast<const wchar_t*>(nullptr));
  EXPECT_EQ(a.size(), 3u);
  EXPECT_EQ(a.data(), owned.data());
  EXPECT_EQ(d.view(), L"ij");
  EXPECT_TRUE(e.empty());
}
