// StringHelp display helpers: translation seam, special characters, dates, keys, resources.
#include <cstring>
#include <nybase/text/StringHelp.h>

#include <fmt/printf.h>
#include <fmt/xchar.h>

#include <nybase/platform/Locale.h>
#include <nybase/platform/Resources.h>
#include <nybase/platform/SystemTime.h>

namespace StringHelp {

template <typename CT>
CStdStr<CT> Localize(lu::BasicStringView<CT> text) {
  // Read to the NUL rather than by the view's length, on purpose: the translation lookup this
  // stands in for takes C strings.
  if (text.data() == nullptr) return {};
  return CStdStr<CT>(text.data());
}

template CStdStr<char> Localize<char>(lu::BasicStringView<char>);
template CStdStr<wchar_t> Localize<wchar_t>(lu::BasicStringView<wchar_t>);

const wchar_t* GetSpecialCharacter(SpecialChar which) {
  switch (which) {
    case SpecialCharRegistered: return L"\u00AE";
    case SpecialCharTrademark: return L"\u2122";
    case SpecialCharDegree: return L"\u00B0";
  }
  return L"";
}

CStdStr<wchar_t> GetDateTime(DateTime which) {
  namespace pf = lu::platform;
  CStdStr<wchar_t> result;
  if (which != DateTimeTimeOnly && which != DateTimeDateOnly && which != DateTimeDateAndTime) return result;
  pf::SYSTEMTIME now{};
  pf::GetLocalTime(&now);
  wchar_t buf[128];
  if (which == DateTimeDateOnly || which == DateTimeDateAndTime) {
    if (pf::GetDateFormatW(pf::k_localeUserDefault, pf::k_dateShortDate, &now, nullptr, buf, 128) != 0) {
      result += buf;
    }
  }
  if (which == DateTimeTimeOnly || which == DateTimeDateAndTime) {
    if (pf::GetTimeFormatW(pf::k_localeUserDefault, pf::k_timeNoSeconds, &now, nullptr, buf, 128) != 0) {
      if (!result.empty()) result += L' ';
      result += buf;
    }
  }
  return result;
}

bool VKeyToString(uint16_t virtualKey, CStdStr<wchar_t>& out) {
  // 112..135 are the virtual key codes of F1..F24; other keys have no name here.
  if (virtualKey >= 112 && virtualKey <= 135) out = fmt::sprintf(L"F%u", unsigned{virtualKey} - 111u);
  return !out.empty();
}

CStdStr<wchar_t> FindAndLoadResource(HMODULE module, const wchar_t* name, const wchar_t* type, bool wholeResource) {
  namespace pf = lu::platform;
  // None of the four steps is tested on its own: a missing resource gives a null block of size 0,
  // which converts to the empty string below.
  const pf::HRSRC found = pf::FindResourceW(module, name, type);
  const pf::HGLOBAL block = pf::LoadResource(module, found);
  const uint32_t size = pf::SizeofResource(module, found);
  const auto* bytes = static_cast<const char*>(pf::LockResource(block));
  if (bytes == nullptr || size == 0) return {};
  // UTF-8 up to the first NUL; a block without one stops at its size instead of reading past it.
  if (!wholeResource) return CStdStr<wchar_t>(lu::platform::Utf8ToUtf16(bytes, ::strnlen(bytes, size)));
  return CStdStr<wchar_t>(lu::platform::Utf8ToUtf16(bytes, size));
}

}  // namespace StringHelp
