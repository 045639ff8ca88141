// Locale-dependent display of numbers, dates and times, in the shape of the Windows calls.
#pragma once

#include <cstdint>

#include <nybase/platform/LastError.h>
#include <nybase/platform/SystemTime.h>

namespace lu::platform {

using LCID = uint32_t;

inline constexpr LCID k_localeInvariant = 0x007F;
inline constexpr LCID k_localeUserDefault = 0x0400;
inline constexpr LCID k_localeSystemDefault = 0x0800;

// The user's conventions on Linux are those of the C/POSIX locale, whatever LANG says: numbers
// use "." with no grouping and two decimals, the short date is "MM/dd/yy", the long date
// "dddd, MMMM d, yyyy", the time "HH:mm:ss", English day and month names. The library never
// changes the process's C locale, so display does not vary with the environment. Every locale id
// is accepted and treated as the user's.

// An explicit number format; the separators are NUL-terminated and at most 3 characters.
struct NUMBERFMTW {
  uint32_t NumDigits;      // decimals after the separator
  uint32_t LeadingZero;    // 0: ".5", 1: "0.5"
  uint32_t Grouping;       // digits of the groups, least significant group first: 3, 32, 30, 0
  wchar_t* lpDecimalSep;
  wchar_t* lpThousandSep;
  uint32_t NegativeOrder;  // 0 "(1.1)", 1 "-1.1", 2 "- 1.1", 3 "1.1-", 4 "1.1 -"
};

// Formats the number text value (only digits, at most one ".", a "-" in front; at least one
// digit) with the explicit format, or with the user's conventions when format is null. The value
// is rounded half away from zero to NumDigits decimals, or padded with zeros; leading zeros are
// dropped; a result of zero is never negative. flags must be 0 with an explicit format.
// cap 0 returns the size needed (NUL included) without writing. Returns the number of characters
// written including the NUL; 0 on failure with the last error: 87 for a bad value, format or
// argument, 1004 for bad flags, 122 when out is too small.
int GetNumberFormatW(LCID locale, uint32_t flags, const wchar_t* value, const NUMBERFMTW* format,
                     wchar_t* out, int cap) noexcept;

inline constexpr uint32_t k_dateShortDate = 0x1;
inline constexpr uint32_t k_dateLongDate = 0x2;

// Formats the date part of date (the current local time when null) by the picture format
// (d dd ddd dddd, M MM MMM MMMM, y yy yyyy, g gg; text in single quotes, '' for a quote), or when
// format is null by the user's short or long date (flags k_dateShortDate or k_dateLongDate;
// flags must be 0 with a picture). Same result and buffer contract as GetNumberFormatW; an
// impossible date fails with 87.
int GetDateFormatW(LCID locale, uint32_t flags, const SYSTEMTIME* date, const wchar_t* format, wchar_t* out,
                   int cap) noexcept;

inline constexpr uint32_t k_timeNoMinutesOrSeconds = 0x1;
inline constexpr uint32_t k_timeNoSeconds = 0x2;
inline constexpr uint32_t k_timeNoTimeMarker = 0x4;
inline constexpr uint32_t k_timeForce24HourFormat = 0x8;

// Formats the time part of time (the current local time when null) by the picture format
// (h hh H HH m mm s ss t tt; quotes as for dates) or the user's time format when format is null.
// The flags drop the seconds or minutes with the separator before them, drop the AM/PM marker,
// or force 24-hour hours. Same result and buffer contract as GetNumberFormatW; an impossible time
// fails with 87.
int GetTimeFormatW(LCID locale, uint32_t flags, const SYSTEMTIME* time, const wchar_t* format, wchar_t* out,
                   int cap) noexcept;

}  // namespace lu::platform
