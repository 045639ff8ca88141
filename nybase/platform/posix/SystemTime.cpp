// GetLocalTime, GetTime64 and LocalTime64 on clock_gettime, time and localtime_r.
#include <nybase/platform/SystemTime.h>

#include <time.h>

namespace lu::platform {

void GetLocalTime(SYSTEMTIME* out) noexcept {
  if (out == nullptr) return;
  timespec ts{};
  ::clock_gettime(CLOCK_REALTIME, &ts);
  tm local{};
  const time_t secs = ts.tv_sec;
  if (::localtime_r(&secs, &local) == nullptr) {
    // Outside what the C library can break down: report the epoch rather than garbage.
    *out = SYSTEMTIME{1970, 1, 4, 1, 0, 0, 0, 0};
    return;
  }
  out->wYear = static_cast<uint16_t>(local.tm_year + 1900);
  out->wMonth = static_cast<uint16_t>(local.tm_mon + 1);
  out->wDayOfWeek = static_cast<uint16_t>(local.tm_wday);
  out->wDay = static_cast<uint16_t>(local.tm_mday);
  out->wHour = static_cast<uint16_t>(local.tm_hour);
  out->wMinute = static_cast<uint16_t>(local.tm_min);
  // A leap second (60) is folded into 59, as the broken-down Windows time has no such second.
  out->wSecond = static_cast<uint16_t>(local.tm_sec > 59 ? 59 : local.tm_sec);
  out->wMilliseconds = static_cast<uint16_t>(ts.tv_nsec / 1000000);
}

int64_t GetTime64() noexcept { return static_cast<int64_t>(::time(nullptr)); }

bool LocalTime64(int64_t seconds, std::tm& out) noexcept {
  const time_t secs = static_cast<time_t>(seconds);
  tm local{};
  if (::localtime_r(&secs, &local) == nullptr) return false;
  out = local;
  return true;
}

}  // namespace lu::platform
