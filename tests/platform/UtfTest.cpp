// The UTF-8 <-> UTF-16 codec: the Windows-call contract and the replacement rules.
#include <gtest/gtest.h>

#include <nybase/platform/LastError.h>
#include <nybase/platform/Utf.h>

#include "../support/TestSupport.h"

using namespace lu::platform;
using nytest::W16;

namespace {

std::wstring Decode(const std::string& s) {
  wchar_t buf[64];
  const int n = MultiByteToWideChar(k_codePageUtf8, 0, s.data(), static_cast<int>(s.size()), buf, 64);
  return std::wstring(buf, static_cast<size_t>(n));
}

std::string Encode(const std::wstring& w) {
  char buf[64];
  const int n = WideCharToMultiByte(k_codePageUtf8, 0, w.data(), static_cast<int>(w.size()), buf, 64);
  return std::string(buf, static_cast<size_t>(n));
}

}  // namespace

TEST(Utf, DecodeReplacesEachMaximalIllFormedSubpart) {
  struct Case {
    const char* name;
    std::string in;
    std::wstring out;
  };
  const Case cases[] = {
      {"four byte becomes pair", "\xF0\x9F\x8E\xB5", W16(u"\U0001F3B5")},
      {"stray continuation", "a\x80" "b", L"a\uFFFDb"}, {"overlong two byte", "\xC0\xAF", L"\uFFFD\uFFFD"},
      {"overlong three byte", "\xE0\x80\xAF", L"\uFFFD\uFFFD\uFFFD"},
      {"encoded surrogate", "\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"},
      {"truncated then ascii", "\xE2\x84z", L"\uFFFDz"},
      {"above U+10FFFF", "\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"invalid lead", "\xFF", L"\uFFFD"},
  };
  for (const Case& c : cases) EXPECT_EQ(Decode(c.in), c.out) << c.name;
}

TEST(Utf, EncodeReplacesLoneSurrogatesAndKeepsPairs) {
  struct Case {
    const char* name;
    std::wstring in;
    std::string out;
  };
  const Case cases[] = {
      {"pair", W16(u"\U0001F3B5"), "\xF0\x9F\x8E\xB5"},
      {"lone high", std::wstring(1, 0xD800) + L"x", "\xEF\xBF\xBDx"},
      {"reversed pair", std::wstring{wchar_t(0xDC00), wchar_t(0xD800)}, "\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const Case& c : cases) EXPECT_EQ(Encode(c.in), c.out) << c.name;
}

TEST(Utf, CountsAndBufferContract) {
  // dstCap 0 asks for the size; -1 includes the NUL.
  EXPECT_EQ(MultiByteToWideChar(k_codePageUtf8, 0, "h\xC3\xA9", -1, nullptr, 0), 3);
  EXPECT_EQ(WideCharToMultiByte(k_codePageUtf8, 0, L"h\u00E9", -1, nullptr, 0), 4);

  // A buffer one unit too small fails.
  wchar_t w[2];
  SetLastError(0);
  EXPECT_EQ(MultiByteToWideChar(k_codePageUtf8, 0, "abc", 3, w, 2), 0);
  EXPECT_EQ(GetLastError(), k_errorInsufficientBuffer);
  char n[3];
  EXPECT_EQ(WideCharToMultiByte(k_codePageUtf8, 0, L"\u2122", 1, n, 2), 0);
  EXPECT_EQ(GetLastError(), k_errorInsufficientBuffer);
  EXPECT_EQ(WideCharToMultiByte(k_codePageUtf8, 0, L"\u2122", 1, n, 3), 3);

  // Bad arguments.
  EXPECT_EQ(MultiByteToWideChar(k_codePageUtf8, 0, "abc", 0, w, 2), 0);
  EXPECT_EQ(GetLastError(), k_errorInvalidParameter);
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", 3, w, 2), 0);
  EXPECT_EQ(GetLastError(), k_errorInvalidParameter);
  EXPECT_EQ(MultiByteToWideChar(k_codePageUtf8, 0, nullptr, 3, w, 2), 0);
}

TEST(Utf, FastPathsHandOverAtEveryPosition) {
  // One non-ASCII character at each position of a long ASCII text, through exact-size buffers,
  // so that every block boundary of the bulk ASCII paths meets the character-by-character path.
  const std::wstring specials[] = {L"\u00E9", L"\u2122", W16(u"\U0001F3B5"), std::wstring(1, 0xDC00)};
  for (const std::wstring& special : specials) {
    for (size_t pos = 0; pos <= 40; ++pos) {
      std::wstring text;
      for (size_t i = 0; i < 48; ++i) text.push_back(static_cast<wchar_t>(L'a' + i % 26));
      text.insert(pos, special);
      const int len = static_cast<int>(text.size());
      const int bytes = WideCharToMultiByte(k_codePageUtf8, 0, text.data(), len, nullptr, 0);
      std::string utf8(static_cast<size_t>(bytes), '\0');
      ASSERT_EQ(WideCharToMultiByte(k_codePageUtf8, 0, text.data(), len, utf8.data(), bytes), bytes);
      ASSERT_EQ(WideCharToMultiByte(k_codePageUtf8, 0, text.data(), len, utf8.data(), bytes - 1), 0) << pos;
      ASSERT_EQ(Utf8LengthOfUtf16(text.data(), text.size()), static_cast<size_t>(bytes));

      const std::wstring expected = special[0] == 0xDC00 ? std::wstring(text).replace(pos, 1, L"\uFFFD") : text;
      std::wstring back(text.size(), L'\0');
      const int units = MultiByteToWideChar(k_codePageUtf8, 0, utf8.data(), bytes, back.data(), len);
      ASSERT_EQ(units, len) << pos;
      EXPECT_EQ(back, expected) << pos;
      EXPECT_EQ(MultiByteToWideChar(k_codePageUtf8, 0, utf8.data(), bytes, back.data(), len - 1), 0) << pos;
      EXPECT_EQ(Utf16ToUtf8(text.data(), text.size()), utf8);
      EXPECT_EQ(Utf8ToUtf16(utf8.data(), utf8.size()), expected);
    }
  }
  // Negative and out-of-range wchar_t values are not ASCII even in the bulk path.
  std::wstring odd(32, L'x');
  odd[20] = static_cast<wchar_t>(-65);
  EXPECT_EQ(Utf16ToUtf8(odd.data(), odd.size()), std::string(20, 'x') + "\xEF\xBF\xBD" + std::string(11, 'x'));
}

TEST(Utf, StrictFlagsRefuseIllFormedInputAndOtherFlagsAreRefused) {
  wchar_t w[16];
  char n[16];
  struct Bytes {
    std::string in;
    bool wellFormed;
  };
  const Bytes utf8[] = {{"\xEF\xBF\xBD", true}, {"\xF0\x9F\x8E\xB5", true}, {"a\x80", false},
                        {"\xED\xA0\x80", false}, {"\xE2\x84", false}};
  for (const Bytes& b : utf8) {
    SetLastError(0);
    const int r = MultiByteToWideChar(k_codePageUtf8, k_mbErrInvalidChars, b.in.data(), static_cast<int>(b.in.size()), w, 16);
    EXPECT_EQ(r != 0, b.wellFormed) << b.in;
    EXPECT_EQ(GetLastError(), b.wellFormed ? 0u : k_errorNoUnicodeTranslation) << b.in;
  }
  struct Units {
    std::wstring in;
    bool wellFormed;
  };
  const Units utf16[] = {{W16(u"\U0001F3B5"), true},
                         {std::wstring(1, 0xD800), false},
                         {std::wstring{wchar_t(0xDC00), wchar_t(0xD800)}, false},
                         {std::wstring(1, static_cast<wchar_t>(0x110000)), false}};
  for (const Units& u : utf16) {
    SetLastError(0);
    const int r = WideCharToMultiByte(k_codePageUtf8, k_wcErrInvalidChars, u.in.data(), static_cast<int>(u.in.size()), n, 16);
    EXPECT_EQ(r != 0, u.wellFormed);
    EXPECT_EQ(GetLastError(), u.wellFormed ? 0u : k_errorNoUnicodeTranslation);
  }
  EXPECT_EQ(MultiByteToWideChar(k_codePageUtf8, 0x1, "abc", 3, w, 16), 0);
  EXPECT_EQ(GetLastError(), k_errorInvalidFlags);
  EXPECT_EQ(WideCharToMultiByte(k_codePageUtf8, 0x400, L"abc", 3, n, 16), 0);
  EXPECT_EQ(GetLastError(), k_errorInvalidFlags);
  EXPECT_EQ(WideCharToMultiByte(k_codePageUtf8, 0, L"abc", 3, n, 16, "?"), 0);
  EXPECT_EQ(GetLastError(), k_errorInvalidParameter);
}
