// Number, date and time display calls: formats, rounding, flags and the buffer contract.
#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include <nybase/platform/LastError.h>
#include <nybase/platform/Locale.h>

using namespace lu::platform;

namespace {

std::wstring Number(const wchar_t* value, uint32_t digits, uint32_t leadingZero, uint32_t grouping,
                    const wchar_t* dec, const wchar_t* thousand, uint32_t negativeOrder) {
  std::wstring d = dec, t = thousand;
  const NUMBERFMTW f{digits, leadingZero, grouping, d.data(), t.data(), negativeOrder};
  wchar_t buf[64];
  const int n = GetNumberFormatW(k_localeUserDefault, 0, value, &f, buf, 64);
  return n == 0 ? L"<fail>" : std::wstring(buf, static_cast<size_t>(n - 1));
}

std::wstring Date(const SYSTEMTIME& t, uint32_t flags, const wchar_t* picture) {
  wchar_t buf[80];
  const int n = GetDateFormatW(k_localeUserDefault, flags, &t, picture, buf, 80);
  return n == 0 ? L"<fail>" : std::wstring(buf, static_cast<size_t>(n - 1));
}

std::wstring Time(const SYSTEMTIME& t, uint32_t flags, const wchar_t* picture) {
  wchar_t buf[80];
  const int n = GetTimeFormatW(k_localeUserDefault, flags, &t, picture, buf, 80);
  return n == 0 ? L"<fail>" : std::wstring(buf, static_cast<size_t>(n - 1));
}

// Tuesday 2024-03-05 07:08:09.010 (wDayOfWeek deliberately wrong: it is recomputed).
const SYSTEMTIME k_morning{2024, 3, 6, 5, 7, 8, 9, 10};
const SYSTEMTIME k_evening{1999, 12, 0, 31, 23, 59, 58, 0};

}  // namespace

TEST(Locale, NumberFormatGroupingSeparatorsAndNegativeOrders) {
  struct Case {
    const wchar_t* value;
    uint32_t digits, leadingZero, grouping;
    const wchar_t* dec;
    const wchar_t* thousand;
    uint32_t negativeOrder;
    const wchar_t* text;
  };
  const Case cases[] = {
      {L"1234567.891", 2, 1, 3, L".", L",", 1, L"1,234,567.89"},
      {L"123456789", 0, 1, 32, L".", L",", 1, L"12,34,56,789"},
      {L"123456789", 0, 1, 30, L".", L",", 1, L"123456,789"},
      {L"1234.5", 1, 1, 3, L"<>", L"::", 1, L"1::234<>5"}, {L"-1.5", 1, 1, 3, L".", L",", 0, L"(1.5)"},
      {L"-1.5", 1, 1, 3, L".", L",", 2, L"- 1.5"}, {L"-1.5", 1, 1, 3, L".", L",", 4, L"1.5 -"},
      {L"0.75", 2, 0, 3, L".", L",", 1, L".75"}, {L"0.75", 0, 0, 3, L".", L",", 1, L"1"},
      {L"-0.4", 0, 1, 3, L".", L",", 0, L"0"},  // a rounded zero is never negative
      {L"99.95", 1, 1, 3, L".", L",", 1, L"100.0"},
      {L"1.005", 2, 1, 3, L".", L",", 1, L"1.01"},  // decimal text, not binary: rounds up
      {L"1.004999", 2, 1, 3, L".", L",", 1, L"1.00"}, {L"+1", 0, 1, 3, L".", L",", 1, L"<fail>"},
      {L"1.5", 0, 1, 3, L".", L",", 5, L"<fail>"}, {L"1.5", 0, 2, 3, L".", L",", 1, L"<fail>"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Number(c.value, c.digits, c.leadingZero, c.grouping, c.dec, c.thousand, c.negativeOrder), c.text)
        << c.value;
  }
}

TEST(Locale, NumberFormatBufferFlagsAndUserDefaults) {
  wchar_t sep[] = L".";
  wchar_t grp[] = L",";
  const NUMBERFMTW f{2, 1, 3, sep, grp, 1};
  EXPECT_EQ(GetNumberFormatW(k_localeUserDefault, 0, L"1234", &f, nullptr, 0), 9);  // "1,234.00" + NUL
  wchar_t small[8];
  SetLastError(0);
  EXPECT_EQ(GetNumberFormatW(k_localeUserDefault, 0, L"1234", &f, small, 8), 0);
  EXPECT_EQ(GetLastError(), k_errorInsufficientBuffer);
  EXPECT_EQ(GetNumberFormatW(k_localeUserDefault, 1, L"1234", &f, nullptr, 0), 0);
  EXPECT_EQ(GetLastError(), k_errorInvalidFlags);
  EXPECT_EQ(GetNumberFormatW(k_localeUserDefault, 0, L"12a", &f, nullptr, 0), 0);
  EXPECT_EQ(GetLastError(), k_errorInvalidParameter);
  const NUMBERFMTW noSep{2, 1, 3, nullptr, grp, 1};
  EXPECT_EQ(GetNumberFormatW(k_localeUserDefault, 0, L"1", &noSep, nullptr, 0), 0);
  EXPECT_EQ(GetLastError(), k_errorInvalidParameter);

  // The user's conventions here are the C locale's: "." and no grouping, two decimals.
  wchar_t buf[32];
  ASSERT_GT(GetNumberFormatW(k_localeUserDefault, 0, L"-1234567.125", nullptr, buf, 32), 0);
  EXPECT_STREQ(buf, L"-1234567.13");
}

TEST(Locale, DatePictures) {
  struct Case {
    SYSTEMTIME t;
    uint32_t flags;
    const wchar_t* picture;
    const wchar_t* text;
  };
  const Case cases[] = {
      {k_morning, 0, L"d dd ddd dddd", L"5 05 Tue Tuesday"},
      {k_morning, 0, L"M MM MMM MMMM", L"3 03 Mar March"}, {k_morning, 0, L"y yy yyyy", L"4 24 2024"},
      {k_evening, 0, L"dddd 'the' d'th of' MMMM", L"Friday the 31th of December"},
      {k_morning, 0, L"'it''s' dd", L"it's 05"}, {k_morning, 0, L"g yyyy", L"A.D. 2024"},
      {k_morning, k_dateShortDate, nullptr, L"03/05/24"},
      {k_morning, k_dateLongDate, nullptr, L"Tuesday, March 5, 2024"},
      {SYSTEMTIME{2023, 2, 0, 29, 0, 0, 0, 0}, 0, L"d", L"<fail>"},  // no 29 February in 2023
      {SYSTEMTIME{2024, 2, 0, 29, 0, 0, 0, 0}, 0, L"dddd", L"Thursday"},
      {SYSTEMTIME{2024, 13, 0, 1, 0, 0, 0, 0}, 0, L"d", L"<fail>"},
      {k_morning, k_dateShortDate, L"d", L"<fail>"},  // a picture takes no format flags
      {k_morning, k_dateShortDate | k_dateLongDate, nullptr, L"<fail>"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Date(c.t, c.flags, c.picture), c.text) << (c.picture ? c.picture : L"(user)");
  }
}

TEST(Locale, TimePicturesAndFlags) {
  struct Case {
    SYSTEMTIME t;
    uint32_t flags;
    const wchar_t* picture;
    const wchar_t* text;
  };
  const Case cases[] = {
      {k_morning, 0, L"h hh H HH m mm s ss t tt", L"7 07 7 07 8 08 9 09 A AM"},
      {k_evening, 0, L"hh:mm:ss tt", L"11:59:58 PM"},
      {k_evening, k_timeNoSeconds, L"hh:mm:ss tt", L"11:59 PM"},
      {k_evening, k_timeNoTimeMarker, L"hh:mm:ss tt", L"11:59:58"},
      {k_evening, k_timeForce24HourFormat, L"hh:mm tt", L"23:59 PM"},
      {SYSTEMTIME{2024, 1, 0, 1, 0, 5, 0, 0}, 0, L"h:mm tt", L"12:05 AM"},
      {k_morning, 0, L"'at' HH'h'", L"at 07h"}, {k_morning, k_timeNoSeconds, nullptr, L"07:08"},
      {SYSTEMTIME{2024, 1, 0, 1, 24, 0, 0, 0}, 0, L"HH", L"<fail>"}, {k_morning, 0x100, L"HH", L"<fail>"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Time(c.t, c.flags, c.picture), c.text) << (c.picture ? c.picture : L"(user)") << " " << c.flags;
  }
}

TEST(Locale, LocalTimeIsNow) {
  SYSTEMTIME t{};
  const std::time_t now = std::time(nullptr);
  GetLocalTime(&t);
  std::tm local{};
  localtime_r(&now, &local);
  EXPECT_EQ(t.wYear, local.tm_year + 1900);
  EXPECT_EQ(t.wMonth, local.tm_mon + 1);
  EXPECT_EQ(t.wDay, local.tm_mday);
  EXPECT_EQ(t.wDayOfWeek, local.tm_wday);
  // The current time (a null date) formats like the explicit one.
  wchar_t a[32], b[32];
  ASSERT_GT(GetDateFormatW(k_localeUserDefault, 0, nullptr, L"yyyy-MM-dd", a, 32), 0);
  ASSERT_GT(GetDateFormatW(k_localeUserDefault, 0, &t, L"yyyy-MM-dd", b, 32), 0);
  EXPECT_STREQ(a, b);
}
