// lu::BasicStringView: a non-owning pointer and length over narrow or wide text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lu {

// A pointer and a length, passed by value. It owns nothing and is in general not NUL-terminated;
// the few functions that read to a NUL say so. Implicitly constructible from a std::basic_string
// (and so from CStdStr) or a std::basic_string_view of its width, and from a NUL-terminated
// pointer (a null pointer gives the empty view).
template <typename CT>
class BasicStringView {
 public:
  using value_type = CT;
  using size_type = size_t;
  using const_iterator = const CT*;

  constexpr BasicStringView() noexcept = default;
  constexpr BasicStringView(const CT* p, size_t n) noexcept : m_data(p), m_size(n) {}
  constexpr BasicStringView(const CT* p) noexcept
      : m_data(p), m_size(p ? std::char_traits<CT>::length(p) : 0) {}
  template <typename Tr, typename A>
  BasicStringView(const std::basic_string<CT, Tr, A>& s) noexcept : m_data(s.data()), m_size(s.size()) {}
  constexpr BasicStringView(std::basic_string_view<CT> s) noexcept : m_data(s.data()), m_size(s.size()) {}

  constexpr const CT* data() const noexcept { return m_data; }
  constexpr size_t size() const noexcept { return m_size; }
  constexpr size_t length() const noexcept { return m_size; }
  constexpr bool empty() const noexcept { return m_size == 0; }
  constexpr const CT& operator[](size_t i) const noexcept { return m_data[i]; }
  constexpr const CT* begin() const noexcept { return m_data; }
  constexpr const CT* end() const noexcept { return m_data + m_size; }

  constexpr std::basic_string_view<CT> view() const noexcept { return {m_data, m_size}; }
  constexpr operator std::basic_string_view<CT>() const noexcept { return view(); }
  std::basic_string<CT> str() const { return std::basic_string<CT>(m_data, m_size); }

  friend constexpr bool operator==(BasicStringView a, BasicStringView b) noexcept {
    return a.view() == b.view();
  }

 private:
  const CT* m_data = nullptr;
  size_t m_size = 0;
};

using StringView = BasicStringView<char>;
using WStringView = BasicStringView<wchar_t>;

}  // namespace lu
