// StringHelp GUID text: the four printing forms, case normalisation and refused texts.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <nybase/NYBase.h>

namespace {

const NyGuid k_guid = {0x0123ABCD, 0x4E5F, 0xA6B7, {0xC8, 0xD9, 0xEA, 0xFB, 0x0C, 0x1D, 0x2E, 0x3F}};
const char k_text[] = "{0123ABCD-4E5F-A6B7-C8D9-EAFB0C1D2E3F}";

}  // namespace

TEST(StringHelpGuid, EveryPrintingFormWritesTheSameUpperCaseText) {
  CStdStr<char> n = "previous";
  CStdStr<wchar_t> w = L"previous";
  char a[39];
  wchar_t wa[39];
  char raw[40];
  std::memset(a, 'x', sizeof(a));
  std::wmemset(wa, L'x', 39);
  std::memset(raw, 'x', sizeof(raw));
  StringHelp::ConvertNyGuidToString(k_guid, n);
  StringHelp::ConvertNyGuidToString(k_guid, w);
  StringHelp::ConvertNyGuidToString(k_guid, a);
  StringHelp::ConvertNyGuidToString(k_guid, wa);
  StringHelp::unsafe::ConvertNyGuidToString(k_guid, raw);
  EXPECT_EQ(n, k_text);
  EXPECT_EQ(w, CStdStr<wchar_t>(k_text));
  EXPECT_STREQ(a, k_text);
  EXPECT_EQ(std::wstring(wa), w);
  EXPECT_STREQ(raw, k_text);
  EXPECT_EQ(raw[39], 'x');  // exactly 39 bytes written

  NyGuid null{};
  StringHelp::ConvertNyGuidToString(null, n);
  EXPECT_EQ(n, "{00000000-0000-0000-0000-000000000000}");
}

TEST(StringHelpGuid, ParsingAndPrintingAgainNormalisesCase) {
  const char* lower = "{0123abcd-4e5f-a6b7-c8d9-eafb0c1d2e3f}";
  const NyGuid fromNarrow = StringHelp::ConvertStringToNyGuid(lower);
  const NyGuid fromWide = StringHelp::ConvertStringToNyGuid(CStdStr<wchar_t>(lower));
  EXPECT_EQ(fromNarrow, k_guid);
  EXPECT_EQ(fromWide, k_guid);
  CStdStr<wchar_t> back;
  StringHelp::ConvertNyGuidToString(fromWide, back);
  EXPECT_EQ(back, CStdStr<wchar_t>(k_text));
}

TEST(StringHelpGuid, AnyMalformedTextGivesTheNullGuid) {
  const std::string good = k_text;
  std::string dashMoved = good;
  std::swap(dashMoved[9], dashMoved[10]);
  const std::string cases[] = {
      "",
      good.substr(1, 36),                        // no braces
      good + " ",                                // too long
      good.substr(0, 37),                        // too short
      dashMoved,
      "{0123ABCD-4E5F-A6B7-C8D9-EAFB0C1D2E3G}",  // not a hex digit
      "{0123ABCD+4E5F-A6B7-C8D9-EAFB0C1D2E3F}",
      "{ 123ABCD-4E5F-A6B7-C8D9-EAFB0C1D2E3F}",
  };
  for (const std::string& c : cases) {
    EXPECT_TRUE(StringHelp::ConvertStringToNyGuid(c).IsNull()) << c;
    EXPECT_TRUE(StringHelp::ConvertStringToNyGuid(CStdStr<wchar_t>(c)).IsNull()) << c;
  }
  // A wide unit whose low byte is a hex digit is still no digit.
  std::wstring wide = CStdStr<wchar_t>(k_text);
  wide[5] = static_cast<wchar_t>(0x10041);
  EXPECT_TRUE(StringHelp::ConvertStringToNyGuid(wide).IsNull());
  // Only the view's 38 units are read.
  const std::string longer = good + "trailing";
  EXPECT_EQ(StringHelp::ConvertStringToNyGuid(lu::BasicStringView<char>(longer.data(), 38)), k_guid);
}
