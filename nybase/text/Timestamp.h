// lu::Timestamp: whole seconds since 1970-01-01 UTC, and their three local-time string forms.
#pragma once

#include <cstdint>

#include <nybase/text/CStdStr.h>

namespace lu::Timestamp {

// Seconds since 1970-01-01 UTC now.
int64_t GetCurrentTimestamp();

// The three string forms below share these rules: a negative value gives ""; a value above 2^56
// is a Windows file time (100 ns units since 1601) and is converted to seconds first; the time is
// shown in the local time zone (TZ); a value the C library cannot break down, or a format that
// writes nothing, gives "".

// The user's date and time ("%x %X" in the user's locale, which is switched in for the call).
CStdStr<wchar_t> ToUserFormatString(int64_t timestamp);
// "%Y-%m-%d-%H-%M-%S": fit for a file name (no ':' and no blank).
CStdStr<wchar_t> ToFileCompatibleDateTimeString(int64_t timestamp);
// "%Y-%m-%dT%H:%M:%S%z", e.g. "1970-01-01T00:00:00+0000".
CStdStr<wchar_t> ToIso8601String(int64_t timestamp);

}  // namespace lu::Timestamp
