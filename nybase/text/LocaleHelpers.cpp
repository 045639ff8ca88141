// lu::LocaleHelpers::CreateAutoLocaleChange: builds the named locale before touching the global one.
#include <nybase/text/LocaleHelpers.h>

#include <stdexcept>

namespace lu::LocaleHelpers {

std::unique_ptr<AutoLocaleChange> CreateAutoLocaleChange(const char* name) noexcept {
  if (name == nullptr) return nullptr;
  try {
    std::locale built(std::locale(), name, std::locale::all);
    if (!std::has_facet<std::ctype<char>>(built)) return nullptr;
    return std::make_unique<AutoLocaleChange>(built);
  } catch (const std::runtime_error&) {
    return nullptr;  // an unknown name
  } catch (...) {
    return nullptr;  // out of memory: nothing changed either
  }
}

}  // namespace lu::LocaleHelpers
