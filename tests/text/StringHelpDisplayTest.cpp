// StringHelp display helpers: Localize, special characters, date and time, keys, resources, Concat.
#include <gtest/gtest.h>

#include <ctime>
#include <regex>
#include <string>

#include <nybase/NYBase.h>

#include "../support/TestSupport.h"

TEST(StringHelpDisplay, DateTimeIsTodayInTheUsersShortForms) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    const std::time_t before = std::time(nullptr);
    const CStdStr<wchar_t> date = StringHelp::GetDateTime(StringHelp::DateTimeDateOnly);
    const CStdStr<wchar_t> time = StringHelp::GetDateTime(StringHelp::DateTimeTimeOnly);
    const CStdStr<wchar_t> both = StringHelp::GetDateTime(StringHelp::DateTimeDateAndTime);
    const std::time_t after = std::time(nullptr);
    std::tm a{}, b{};
    localtime_r(&before, &a);
    localtime_r(&after, &b);
    if (a.tm_min != b.tm_min) continue;  // a minute boundary passed: the texts may differ
    char expectDate[16], expectTime[16];
    std::strftime(expectDate, sizeof(expectDate), "%m/%d/%y", &a);
    std::strftime(expectTime, sizeof(expectTime), "%H:%M", &a);
    EXPECT_EQ(date, CStdStr<wchar_t>(expectDate));
    EXPECT_EQ(time, CStdStr<wchar_t>(expectTime));
    EXPECT_EQ(both, date + L" " + time);
    EXPECT_EQ(StringHelp::GetDateTime(static_cast<StringHelp::DateTime>(3)), L"");
    return;
  }
  FAIL() << "the clock kept crossing minute boundaries";
}

TEST(StringHelpConcat, JoinsEveryKindOfTextOnce) {
  const CStdStr<wchar_t> owned = L"ab";
  const std::wstring standard = L"cd";
  const wchar_t* pointer = L"ef";
  const wchar_t* null = nullptr;
  wchar_t buffer[] = L"gh";
  const CStdStr<wchar_t> all = StringHelp::Concat(owned, standard, pointer, null, buffer, L'-',
                                                  lu::BasicStringView<wchar_t>(L"ijk", 2), std::wstring_view(L"kl"), L"!");
  EXPECT_EQ(all, L"abcdefgh-ijkl!");
  EXPECT_EQ(StringHelp::Concat<char>("x", std::string("y"), 'z'), "xyz");
  EXPECT_EQ(StringHelp::Concat(), L"");
}
