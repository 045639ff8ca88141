// SYSTEMTIME and the local wall-clock time, in the shape of the Windows calls.
#pragma once

#include <cstdint>

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

}  // namespace lu::platform
