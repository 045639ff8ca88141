// Locale guards and the three timestamp string forms in two time zones.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include <nybase/text/LocaleHelpers.h>
#include <nybase/text/Timestamp.h>

namespace {

TEST(LocaleHelpers, UnknownNameChangesNothingAndGuardsRestoreInReverseOrder) {
  const std::string before = std::locale().name();
  EXPECT_EQ(lu::LocaleHelpers::CreateAutoLocaleChange("xx_NOWHERE.UTF-8"), nullptr);
  EXPECT_EQ(std::locale().name(), before);
  std::string atFirst;
  {
    auto first = lu::LocaleHelpers::CreateAutoLocaleChange("C.UTF-8");
    ASSERT_NE(first, nullptr);
    atFirst = std::locale().name();
    EXPECT_NE(atFirst.find("C.UTF-8"), std::string::npos);
    auto second = lu::LocaleHelpers::CreateAutoLocaleChange("POSIX");
    ASSERT_NE(second, nullptr);
    lu::LocaleHelpers::AutoLocaleChange copy(*second);  // also restores C.UTF-8 when destroyed
    second.reset();
    EXPECT_EQ(std::locale().name(), atFirst);
    first.reset();
    EXPECT_EQ(std::locale().name(), before);
  }
  EXPECT_EQ(std::locale().name(), atFirst) << "the copy restored what its source kept";
  std::locale::global(std::locale(before.c_str()));
}

TEST(Timestamp, StringFormsInUtcAndAnotherZone) {
  using namespace lu::Timestamp;
  constexpr int64_t k_fileTimeOfUnixEpoch = 116444736000000000;
  const char* saved = std::getenv("TZ");
  const std::string old = saved != nullptr ? saved : "";
  setenv("TZ", "UTC", 1);
  tzset();
  EXPECT_EQ(ToIso8601String(0), L"1970-01-01T00:00:00+0000");
  EXPECT_EQ(ToIso8601String(k_fileTimeOfUnixEpoch + 1700000000LL * 10000000), L"2023-11-14T22:13:20+0000");
  EXPECT_EQ(ToFileCompatibleDateTimeString(1700000000), L"2023-11-14-22-13-20");
  EXPECT_EQ(ToUserFormatString(0), L"01/01/70 00:00:00");
  EXPECT_EQ(ToIso8601String(-1) + ToFileCompatibleDateTimeString(-5) + ToUserFormatString(-1), L"");
  setenv("TZ", "JST-9", 1);  // a POSIX zone rule: needs no time zone database
  tzset();
  EXPECT_EQ(ToIso8601String(0), L"1970-01-01T09:00:00+0900");
  EXPECT_EQ(ToFileCompatibleDateTimeString(k_fileTimeOfUnixEpoch), L"1970-01-01-09-00-00");
  EXPECT_NEAR(static_cast<double>(GetCurrentTimestamp()), static_cast<double>(std::time(nullptr)), 2.0);
  if (saved != nullptr) setenv("TZ", old.c_str(), 1); else unsetenv("TZ");
  tzset();
}

}  // namespace
