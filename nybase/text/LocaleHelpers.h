// lu::LocaleHelpers: a scope guard that makes a locale the global one for a moment.
#pragma once

#include <locale>
#include <memory>

namespace lu::LocaleHelpers {

// Makes a locale the global std::locale (and, for a named locale, the C library's locale, which
// is what wcsftime reads) while it lives, and restores the locale that was global before when it
// is destroyed. The global locale is process-wide: every thread sees the change, so keep guards
// short and never nest them across threads.
class AutoLocaleChange {
 public:
  explicit AutoLocaleChange(const std::locale& locale) : m_previous(std::locale::global(locale)) {}
  // A copy keeps the same earlier locale and restores it too when destroyed.
  AutoLocaleChange(const AutoLocaleChange&) = default;
  AutoLocaleChange& operator=(const AutoLocaleChange&) = default;
  ~AutoLocaleChange() { std::locale::global(m_previous); }

 private:
  std::locale m_previous;
};

// A guard for the locale called `name` ("" is the user's own locale from the environment). A name
// the system does not know, or a locale without a ctype facet, gives null and leaves the global
// locale untouched.
std::unique_ptr<AutoLocaleChange> CreateAutoLocaleChange(const char* name) noexcept;

}  // namespace lu::LocaleHelpers
