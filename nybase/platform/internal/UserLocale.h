// The user's display conventions, as the backend of the locale calls provides them.
#pragma once

#include <cstdint>

namespace lu::platform::detail {

// Everything the number, date and time calls take from "the user's locale".
struct UserLocale {
  const wchar_t* decimalSep;
  const wchar_t* thousandSep;
  uint32_t grouping;
  uint32_t numDigits;
  uint32_t leadingZero;
  uint32_t negativeOrder;
  const wchar_t* shortDate;
  const wchar_t* longDate;
  const wchar_t* timeFormat;
  const wchar_t* am;
  const wchar_t* pm;
  const wchar_t* era;
  const wchar_t* dayNames[7];        // Sunday first
  const wchar_t* dayAbbrevs[7];
  const wchar_t* monthNames[12];     // January first
  const wchar_t* monthAbbrevs[12];
};

// The conventions of this system's user; static data, valid for the life of the process.
const UserLocale& GetUserLocale() noexcept;

}  // namespace lu::platform::detail
