// SYSTEMTIME and the local wall-clock time, in the shape of the Windows calls.
#pragma once

#include <cstdint>
#include <ctime>

namespace lu::platform {

// A broken-down time: month 1-12, day of week 0 (Sunday) to 6, milliseconds 0-999.
struct SYSTEMTIME {
  uint16_t wYear;
  uint16_t wMonth;
  uint16_t wDayOfWeek;
  uint16_t wDay;
  uint16_t wHour;
  uint16_t wMinute;
  uint16_t wSecond;
  uint16_t wMilliseconds;
};

// Fills *out with the current local time (the process's time zone). A null out does nothing.
void GetLocalTime(SYSTEMTIME* out) noexcept;

// Seconds since 1970-01-01 UTC, from the real-time clock.
int64_t GetTime64() noexcept;
// Breaks `seconds` since 1970-01-01 UTC down into the process's local time zone (TZ). False, and
// *out untouched, when the C library cannot represent that instant.
bool LocalTime64(int64_t seconds, std::tm& out) noexcept;

}  // namespace lu::platform
