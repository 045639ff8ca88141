// StringHelp display helpers: Localize, special characters, date and time, keys, resources, Concat.
#include <gtest/gtest.h>

#include <ctime>
#include <regex>
#include <string>

#include <nybase/NYBase.h>

#include "../support/TestSupport.h"

TEST(StringHelpDisplay, LocalizeCopiesToTheNulWhateverTheLength) {
  EXPECT_EQ(StringHelp::Localize(L"Bytes"), L"Bytes");
  EXPECT_EQ(StringHelp::Localize("KB"), "KB");
  EXPECT_EQ(StringHelp::Localize(lu::BasicStringView<wchar_t>(L"Bytes", 2)), L"Bytes");
  EXPECT_EQ(StringHelp::Localize(lu::BasicStringView<char>(nullptr, 5)), "");
}

TEST(StringHelpDisplay, SpecialCharacters) {
  EXPECT_STREQ(StringHelp::GetSpecialCharacter(StringHelp::SpecialCharRegistered), L"\u00AE");
  EXPECT_STREQ(StringHelp::GetSpecialCharacter(StringHelp::SpecialCharTrademark), L"\u2122");
  EXPECT_STREQ(StringHelp::GetSpecialCharacter(StringHelp::SpecialCharDegree), L"\u00B0");
  EXPECT_STREQ(StringHelp::GetSpecialCharacter(static_cast<StringHelp::SpecialChar>(3)), L"");
}

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

TEST(StringHelpDisplay, VKeyNamesOnlyFunctionKeys) {
  struct Case {
    uint16_t key;
    const wchar_t* before;
    bool result;
    const wchar_t* after;
  };
  const Case cases[] = {
      {112, L"", true, L"F1"},   {135, L"x", true, L"F24"},  {111, L"", false, L""},
      {111, L"kept", true, L"kept"}, {136, L"", false, L""},
  };
  for (const auto& c : cases) {
    CStdStr<wchar_t> s = c.before;
    EXPECT_EQ(StringHelp::VKeyToString(c.key, s), c.result) << c.key;
    EXPECT_EQ(s, c.after) << c.key;
  }
}

TEST(StringHelpDisplay, FindAndLoadResourceByFlag) {
  namespace pf = lu::platform;
  static const char k_text[] = "caf\xC3\xA9\0tail";  // 10 bytes and the literal's NUL
  static const char k_unterminated[] = {'a', 'b', 'c'};
  auto* module = reinterpret_cast<HMODULE>(0x5000);
  ASSERT_TRUE(pf::RegisterResource(module, L"GREETING", L"TEXT", k_text, 10));
  ASSERT_TRUE(pf::RegisterResource(module, pf::MakeIntResource(7), L"TEXT", k_unterminated, 3));

  EXPECT_EQ(StringHelp::FindAndLoadResource(module, L"GREETING", L"TEXT", false), L"caf\u00E9");
  EXPECT_EQ(StringHelp::FindAndLoadResource(module, L"greeting", L"text", true),
            std::wstring(L"caf\u00E9\0tail", 9));
  EXPECT_EQ(StringHelp::FindAndLoadResource(module, pf::MakeIntResource(7), L"TEXT", false), L"abc");
  // Missing in any way: the empty string.
  EXPECT_EQ(StringHelp::FindAndLoadResource(module, L"OTHER", L"TEXT", false), L"");
  EXPECT_EQ(StringHelp::FindAndLoadResource(module, L"GREETING", L"HTML", true), L"");
  EXPECT_EQ(StringHelp::FindAndLoadResource(nullptr, L"GREETING", L"TEXT", true), L"");

  EXPECT_TRUE(pf::UnregisterResource(module, L"GREETING", L"TEXT"));
  EXPECT_TRUE(pf::UnregisterResource(module, pf::MakeIntResource(7), L"TEXT"));
  EXPECT_EQ(StringHelp::FindAndLoadResource(module, L"GREETING", L"TEXT", false), L"");
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
