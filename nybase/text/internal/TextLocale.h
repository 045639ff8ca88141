// The character classes and case mappings that word splitting and case-insensitive search share.
#pragma once

#include <locale>

namespace StringHelp::detail {

// One locale for the life of the process, copied from the global locale on the first call and
// never changed after (a later std::locale::global does not reach it). When the global locale is
// the classic "C" (or "POSIX"), which knows no letter beyond ASCII, "C.UTF-8" is used in its
// place so that 'é' is a lower-case letter and 'É' its capital; if that locale cannot be built,
// the classic one stays and only ASCII letters are known. Thread-safe: built once by the
// initialisation of a function-local static.
const std::locale& SharedLocale();
const std::ctype<wchar_t>& SharedCType();

// Case mapping by the shared locale's ctype. ASCII is mapped without a call when the locale maps
// it the plain way (as "C.UTF-8" does); a locale that does not (a Turkish one, where 'i' has the
// capital U+0130) is asked for every unit.
struct CaseMap {
  const std::ctype<wchar_t>* ct;
  bool plainAscii;
  wchar_t Upper(wchar_t c) const {
    if (plainAscii && static_cast<unsigned long>(c) < 128) return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - 32) : c;
    return ct->toupper(c);
  }
  wchar_t Lower(wchar_t c) const {
    if (plainAscii && static_cast<unsigned long>(c) < 128) return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c + 32) : c;
    return ct->tolower(c);
  }
};
const CaseMap& SharedCaseMap();

// A fresh copy of the current global locale with the same substitution for the classic one.
std::locale GlobalLocaleWithLetters();

// Character classes of one UTF-16 unit. ASCII letters are fixed ("a"-"z", "A"-"Z"); from 128 up
// the shared ctype decides. Surrogates are no letters, so a character beyond the BMP is a separator.
inline bool IsAsciiLetter(wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z'); }
inline bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
inline bool IsLetter(wchar_t c, const std::ctype<wchar_t>& ct) {
  if (static_cast<unsigned long>(c) < 128) return IsAsciiLetter(c);
  return ct.is(std::ctype_base::alpha, c);
}
inline bool IsLower(wchar_t c, const std::ctype<wchar_t>& ct) {
  if (static_cast<unsigned long>(c) < 128) return c >= L'a' && c <= L'z';
  return ct.is(std::ctype_base::lower, c);
}
}  // namespace StringHelp::detail
