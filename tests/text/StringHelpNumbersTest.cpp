// StringHelp printers: integers, compacted decimals, locale numbers, sizes, type names, joins.
#include <gtest/gtest.h>

#include <limits>

#include <nybase/NYBase.h>

TEST(StringHelpPrint, IntegersInBothWidthsReplaceTheString) {
  CStdStr<char> n = "old text";
  CStdStr<wchar_t> w = L"old text";
  StringHelp::IntToString(-42, n);
  StringHelp::IntToString(-42, w);
  EXPECT_EQ(n, "-42");
  EXPECT_EQ(w, L"-42");
  StringHelp::Int64ToString(std::numeric_limits<int64_t>::min(), n);
  EXPECT_EQ(n, "-9223372036854775808");
  StringHelp::UInt64ToString(18446744073709551615ull, w);
  EXPECT_EQ(w, L"18446744073709551615");
  StringHelp::UInt64ToString(0, n);
  EXPECT_EQ(n, "0");
}

TEST(StringHelpPrint, UIntPadsOnlySingleDigitsWhenAsked) {
  struct Case {
    unsigned value;
    bool pad;
    const wchar_t* text;
  };
  const Case cases[] = {{9, true, L"09"}, {10, true, L"10"}, {9, false, L"9"}};
  for (const auto& c : cases) {
    CStdStr<wchar_t> w = L"x";
    CStdStr<char> n = "x";
    StringHelp::UIntToString(c.value, w, c.pad);
    StringHelp::UIntToString(c.value, n, c.pad);
    EXPECT_EQ(w, c.text) << c.value;
    EXPECT_EQ(CStdStr<wchar_t>(n), c.text) << c.value;
  }
}

TEST(StringHelpPrint, CompactNumberString) {
  const std::pair<const char*, const char*> cases[] = {
      {"1.500", "1.5"}, {"2.000", "2"}, {"-0.000", "0"}, {"100", "100"}, {".0", ""},
      {"100.", "100"},  {".", "."},   {"1.0e10", "1.0e1"}, {"-10.00", "-10"},
  };
  for (const auto& [in, out] : cases) {
    CStdStr<char> n = in;
    CStdStr<wchar_t> w = CStdStr<wchar_t>(in);
    StringHelp::CompactNumberString(n);
    StringHelp::CompactNumberString(w);
    EXPECT_EQ(n, out) << in;
    EXPECT_EQ(w, CStdStr<wchar_t>(out)) << in;
  }
}

TEST(StringHelpPrint, FormatNumberStringGroupsByBlankWithoutLeadingZero) {
  struct Case {
    const wchar_t* number;
    unsigned decimals;
    const wchar_t* text;
  };
  const Case cases[] = {
      {L"1234.5", 2, L"1 234.50"},
      {L"123456789", 0, L"123 456 789"},
      {L"0.5", 1, L".5"},
      {L"0.5", 0, L"1"},
      {L"-0.25", 1, L"-.3"},
      {L"999.995", 2, L"1 000.00"},
      {L"0", 2, L".00"},
      {L"0012", 0, L"12"},
      {L"-0.001", 2, L".00"},
      {L".5", 2, L".50"},
      {L"abc", 2, L""},
      {L"1.2.3", 2, L""},
      {L"1", 200, L""},  // longer than the 128-character result buffer
  };
  for (const auto& c : cases) {
    EXPECT_EQ(StringHelp::FormatNumberString(c.number, c.decimals), c.text) << c.number << " " << c.decimals;
  }
}

TEST(StringHelpPrint, SizeStringSwitchesUnitAtOneThousandOfTheUnitBelow) {
  struct Case {
    int64_t size;
    bool perSecond;
    int decimals;
    const wchar_t* text;
  };
  const Case cases[] = {
      {999, false, 2, L"999 Bytes"},
      {-5000000, false, 2, L"-5000000 Bytes"},
      {1000, false, 1, L"1.0 KB"},
      {1000, false, 2, L"0.98 KB"},
      {1023999, false, 2, L"1000.00 KB"},
      {1024000, false, 2, L"0.98 MB"},
      {1536, true, 3, L"1.500 KB/s"},
      {16777217, false, 3, L"16.000 MB"},  // the size goes through a 32-bit float
      {5497558138880, false, 0, L"5 TB"},
      {1536, false, -1, L"2 KB"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(StringHelp::GetSizeString(c.size, c.perSecond, c.decimals), c.text) << c.size;
  }
}

TEST(StringHelpPrint, VectorToStringPutsSeparatorsOnlyBetween) {
  CStdStr<wchar_t> result = L"stale";
  StringHelp::VectorToString({}, result, L", ");
  EXPECT_EQ(result, L"");
  StringHelp::VectorToString({L"a"}, result, L", ");
  EXPECT_EQ(result, L"a");
  StringHelp::VectorToString({L"a", L"", L"c"}, result, L", ");
  EXPECT_EQ(result, L"a, , c");
}
