// StringHelp parsers: sign and whitespace rules, bounds, float special values, both widths.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include <nybase/NYBase.h>

#include "../support/TestSupport.h"

namespace {

// Runs one parser on the text in both widths. The view covers only the text while the buffer
// behind it continues with digits, so a parser that reads past the view's length gets caught.
// On failure the output must keep its sentinel value.
template <typename T, typename Parse>
void Check(Parse parse, const std::string& text, bool ok, T expected, T sentinel) {
  const std::string narrow = text + "9";
  const std::wstring wide(narrow.begin(), narrow.end());
  T a = sentinel;
  T b = sentinel;
  EXPECT_EQ(parse(lu::BasicStringView<char>(narrow.data(), text.size()), a), ok) << "narrow '" << text << "'";
  EXPECT_EQ(parse(lu::BasicStringView<wchar_t>(wide.data(), text.size()), b), ok) << "wide '" << text << "'";
  const T want = ok ? expected : sentinel;
  EXPECT_EQ(a, want) << "narrow '" << text << "'";
  EXPECT_EQ(b, want) << "wide '" << text << "'";
}

template <typename T>
struct Case {
  const char* text;
  bool ok;
  T value;
};

}  // namespace

TEST(StringHelpParse, SignedIntegersTakeOnePlusThenTheLibrarySign) {
  const Case<int32_t> cases[] = {
      {"  +42  ", true, 42},     {"\t\n\v\f\r7\r\n", true, 7}, {"+-1", true, -1},
      {"-0", true, 0},           {"++5", false, 0},          {"+ 5", false, 0},
      {"42abc", false, 0},       {"", false, 0},             {"+", false, 0},
      {"- 5", false, 0},         {"2147483647", true, INT32_MAX}, {"-2147483648", true, INT32_MIN},
      {"2147483648", false, 0},  {"-2147483649", false, 0},  {"0x10", false, 0},
  };
  auto parse = [](auto v, int32_t& out) { return StringHelp::StringToInt32(v, out); };
  for (const auto& c : cases) Check<int32_t>(parse, c.text, c.ok, c.value, 99);
}

TEST(StringHelpParse, Hexadecimal) {
  const Case<uint32_t> cases[] = {
      {"ffffffff", true, 0xFFFFFFFFu}, {" +0xFF ", true, 255},   {"0XaB", true, 0xAB},
      {"00000000000000000000001", true, 1}, {"100000000", false, 0}, {"0x", false, 0},
      {"-1", false, 0},                {"0x 1", false, 0},       {"FG", false, 0},
      {"+0x0x1", false, 0},
  };
  auto parse = [](auto v, uint32_t& out) { return StringHelp::HexStringToUInt32(v, out); };
  for (const auto& c : cases) Check<uint32_t>(parse, c.text, c.ok, c.value, 7);
}

TEST(StringHelpParse, DoublesRefuseInfinityAndUnderflowButKeepNanAndSubnormals) {
  const Case<double> cases[] = {
      {".5", true, 0.5},         {"5.", true, 5.0},          {"-2.5E-3", true, -0.0025},
      {" +7.25 ", true, 7.25},   {"+-2", true, -2.0},        {"5e-324", true, 5e-324},
      {"0e999", true, 0.0},      {"1,5", false, 0},          {"1e", false, 0},
      {"inf", false, 0},         {"Infinity", false, 0},     {"1e400", false, 0},
      {"1e-400", false, 0},      {" ", false, 0},            {"0x1p3", false, 0},
      {"--1", false, 0},
  };
  auto parse = [](auto v, double& out) { return StringHelp::StringToDouble(v, out); };
  for (const auto& c : cases) Check<double>(parse, c.text, c.ok, c.value, 42.0);

  for (const char* nan : {"nan", "-nan", " +NAN "}) {
    double d = 0;
    float f = 0;
    EXPECT_TRUE(StringHelp::StringToDouble(nan, d)) << nan;
    EXPECT_TRUE(std::isnan(d)) << nan;
    EXPECT_TRUE(StringHelp::StringToFloat(CStdStr<wchar_t>(nan), f)) << nan;
    EXPECT_TRUE(std::isnan(f)) << nan;
  }
}

TEST(StringHelpParse, BoolReadsTheWordsToTheNulButTheDigitsByLength) {
  struct BoolCase {
    const char* text;
    size_t length;
    bool ok;
    bool value;
  };
  const BoolCase cases[] = {
      {"tRuE", 4, true, true},   {"False", 5, true, false}, {"1", 1, true, true},
      {"0", 1, true, false},     {"true", 1, true, true},   {"10", 1, true, true},
      {"10", 2, false, false},   {"yes", 3, false, false},  {"", 0, false, false},
      {" true", 5, false, false}, {"truex", 4, false, false}, {"1", 0, false, false},
  };
  for (const auto& c : cases) {
    const std::string n = c.text;
    const std::wstring w(n.begin(), n.end());
    for (bool sentinel : {false, true}) {
      bool a = sentinel;
      bool b = sentinel;
      EXPECT_EQ(StringHelp::StringToBool(lu::BasicStringView<char>(n.c_str(), c.length), a), c.ok) << c.text;
      EXPECT_EQ(StringHelp::StringToBool(lu::BasicStringView<wchar_t>(w.c_str(), c.length), b), c.ok) << c.text;
      EXPECT_EQ(a, c.ok ? c.value : sentinel) << c.text;
      EXPECT_EQ(b, c.ok ? c.value : sentinel) << c.text;
    }
  }
  bool v = true;
  EXPECT_FALSE(StringHelp::StringToBool(lu::BasicStringView<char>(nullptr, 0), v));
}

TEST(StringHelpParse, IsAllDigit) {
  struct DigitCase {
    const char* text;
    bool expected;
  };
  const DigitCase cases[] = {
      {"0123456789", true}, {"", false}, {"12a", false}, {"-1", false}, {"\xB2", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(StringHelp::IsAllDigit(c.text), c.expected) << c.text;
    EXPECT_EQ(StringHelp::IsAllDigit(CStdStr<wchar_t>(c.text)), c.expected) << c.text;
  }
  EXPECT_FALSE(StringHelp::IsAllDigit(L"1\uFF11"));
  EXPECT_TRUE(StringHelp::IsAllDigit(lu::BasicStringView<char>("12x", 2)));
}
