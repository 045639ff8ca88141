// lu::Timestamp string forms through localtime and wcsftime, with the file-time conversion.
#include <nybase/text/Timestamp.h>

#include <cwchar>

#include <nybase/platform/SystemTime.h>
#include <nybase/text/LocaleHelpers.h>

namespace lu::Timestamp {

namespace {

constexpr int64_t k_fileTimeThreshold = int64_t{1} << 56;
constexpr int64_t k_fileTimeEpochOffset = 116444736000000000;  // 1601 to 1970 in 100 ns units
constexpr int64_t k_fileTimeUnitsPerSecond = 10000000;

CStdStr<wchar_t> Format(int64_t timestamp, const wchar_t* format) {
  if (timestamp < 0) return {};
  if (timestamp > k_fileTimeThreshold) timestamp = (timestamp - k_fileTimeEpochOffset) / k_fileTimeUnitsPerSecond;
  std::tm local{};
  if (!platform::LocalTime64(timestamp, local)) return {};
  wchar_t buffer[64];
  const size_t n = std::wcsftime(buffer, 64, format, &local);
  CStdStr<wchar_t> out;
  // wcsftime writes whole code points; the library's wide text holds UTF-16 units.
  for (size_t i = 0; i < n; ++i) {
    const uint32_t c = static_cast<uint32_t>(buffer[i]);
    if (c >= 0x10000 && c <= 0x10FFFF) {
      out.push_back(static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10)));
      out.push_back(static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    } else {
      out.push_back(static_cast<wchar_t>(c));
    }
  }
  return out;
}

}  // namespace

int64_t GetCurrentTimestamp() { return platform::GetTime64(); }

CStdStr<wchar_t> ToUserFormatString(int64_t timestamp) {
  auto guard = LocaleHelpers::CreateAutoLocaleChange("");
  return Format(timestamp, L"%x %X");
}

CStdStr<wchar_t> ToFileCompatibleDateTimeString(int64_t timestamp) { return Format(timestamp, L"%Y-%m-%d-%H-%M-%S"); }

CStdStr<wchar_t> ToIso8601String(int64_t timestamp) { return Format(timestamp, L"%Y-%m-%dT%H:%M:%S%z"); }

}  // namespace lu::Timestamp
