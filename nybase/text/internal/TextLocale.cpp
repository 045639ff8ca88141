// The shared locale of word splitting and case folding, with "C.UTF-8" standing in for "C".
#include <nybase/text/internal/TextLocale.h>

#include <stdexcept>

namespace StringHelp::detail {

namespace {

bool IsClassic(const std::locale& loc) {
  const std::string name = loc.name();
  return name == "C" || name == "POSIX";
}

// "C.UTF-8" once; the classic locale when the system has no such locale.
const std::locale& Utf8Locale() {
  static const std::locale loc = [] {
    try {
      return std::locale("C.UTF-8");
    } catch (const std::runtime_error&) {
      return std::locale::classic();
    }
  }();
  return loc;
}

struct Shared {
  std::locale locale;
  CaseMap caseMap{};
};

// Built once by the thread-safe initialisation of a function-local static.
const Shared& GetShared() {
  static const Shared shared = [] {
    Shared s;
    s.locale = GlobalLocaleWithLetters();
    const auto* ct = &std::use_facet<std::ctype<wchar_t>>(s.locale);
    bool plain = true;
    for (wchar_t c = 0; c < 128; ++c) {
      const bool lower = c >= L'a' && c <= L'z';
      const bool upper = c >= L'A' && c <= L'Z';
      plain = plain && ct->toupper(c) == (lower ? c - 32 : c) && ct->tolower(c) == (upper ? c + 32 : c);
    }
    s.caseMap = CaseMap{ct, plain};
    return s;
  }();
  return shared;
}

}  // namespace

std::locale GlobalLocaleWithLetters() {
  std::locale global;
  if (IsClassic(global)) return Utf8Locale();
  return global;
}

const std::locale& SharedLocale() { return GetShared().locale; }

const std::ctype<wchar_t>& SharedCType() { return *GetShared().caseMap.ct; }

const CaseMap& SharedCaseMap() { return GetShared().caseMap; }

}  // namespace StringHelp::detail
