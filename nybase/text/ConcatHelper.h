// lu::priv::ConcatHelper: joins several texts into one string with a single allocation.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>

namespace lu::priv {

// A type takes part in StringHelp::Concat by specialising ConcatHelper with
//   static size_t GetSize(const T&)        the number of code units it adds, and
//   static CT* Concat(CT* dst, const T&)   copies exactly those units to dst and returns the end.
// The primary template is left undefined, so an unsupported type is a compile error.
template <typename T, typename Enable = void>
struct ConcatHelper;

namespace detail {
template <typename CT>
struct ViewConcat {
  static size_t GetSize(std::basic_string_view<CT> s) noexcept { return s.size(); }
  static CT* Concat(CT* dst, std::basic_string_view<CT> s) noexcept {
    return std::char_traits<CT>::copy(dst, s.data(), s.size()) + s.size();
  }
};
}  // namespace detail

// NUL-terminated text; a null pointer adds nothing.
template <typename CT>
struct ConcatHelper<const CT*, std::enable_if_t<std::is_same_v<CT, char> || std::is_same_v<CT, wchar_t>>> {
  static size_t GetSize(const CT* s) noexcept { return s ? std::char_traits<CT>::length(s) : 0; }
  static CT* Concat(CT* dst, const CT* s) noexcept {
    const size_t n = GetSize(s);
    return std::char_traits<CT>::copy(dst, s, n) + n;
  }
};
template <typename CT>
struct ConcatHelper<CT*, std::enable_if_t<std::is_same_v<CT, char> || std::is_same_v<CT, wchar_t>>>
    : ConcatHelper<const CT*> {};

// One code unit.
template <typename CT>
struct ConcatHelper<CT, std::enable_if_t<std::is_same_v<CT, char> || std::is_same_v<CT, wchar_t>>> {
  static size_t GetSize(CT) noexcept { return 1; }
  static CT* Concat(CT* dst, CT c) noexcept {
    *dst = c;
    return dst + 1;
  }
};

template <typename CT, typename Tr, typename A>
struct ConcatHelper<std::basic_string<CT, Tr, A>> : detail::ViewConcat<CT> {};
template <typename CT>
struct ConcatHelper<CStdStr<CT>> : detail::ViewConcat<CT> {};
template <typename CT>
struct ConcatHelper<std::basic_string_view<CT>> : detail::ViewConcat<CT> {};
template <typename CT>
struct ConcatHelper<lu::BasicStringView<CT>> : detail::ViewConcat<CT> {};

}  // namespace lu::priv

namespace StringHelp {

// Joins the texts in order into a new string of width CT (wide by default); each argument is
// anything with a ConcatHelper of that width (strings, views, NUL-terminated pointers, single
// units, paths). The result is sized once, from the helpers' GetSize.
template <typename CT = wchar_t, typename... Args>
CStdStr<CT> Concat(const Args&... args) {
  CStdStr<CT> out;
  const size_t total = (size_t{0} + ... + lu::priv::ConcatHelper<std::decay_t<Args>>::GetSize(args));
  out.resize(total);
  [[maybe_unused]] CT* p = out.data();
  ((p = lu::priv::ConcatHelper<std::decay_t<Args>>::Concat(p, args)), ...);
  return out;
}

}  // namespace StringHelp
