// CStdStr: the library's owned string, a std::basic_string by inheritance (wide text is UTF-16).
#pragma once

#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <fmt/format.h>
#include <fmt/printf.h>
#include <fmt/xchar.h>

#include <nybase/platform/Utf.h>

// CStdStr<char> holds UTF-8 by convention; CStdStr<wchar_t> holds UTF-16 code units, one per
// wchar_t element. It is passed wherever a std::basic_string is expected.
//
// Crossing widths always goes through UTF-8: a wide string built from narrow text converts the
// narrow text up to its first NUL (not the given length, on purpose: the interface has always read
// narrow input as a C string), and an empty or ill-formed input never fails.
template <typename CT>
class CStdStr : public std::basic_string<CT> {
 public:
  using Base = std::basic_string<CT>;
  using Base::Base;
  using Base::operator=;

  CStdStr() = default;
  CStdStr(const Base& s) : Base(s) {}
  CStdStr(Base&& s) noexcept : Base(std::move(s)) {}

  // Wide from narrow: UTF-8 up to the first NUL (a null pointer gives the empty string).
  CStdStr(const char* utf8)
    requires std::is_same_v<CT, wchar_t>
  {
    AssignUtf8(utf8, utf8 ? std::strlen(utf8) : 0);
  }
  // Also UTF-8 up to the first NUL: the length is deliberately not consulted (the interface has
  // always read narrow input as a C string), so `utf8` must be NUL-terminated. Code that holds
  // unterminated bytes converts them with lu::platform::Utf8ToUtf16 instead.
  CStdStr(const char* utf8, size_t /*len*/)
    requires std::is_same_v<CT, wchar_t>
  {
    AssignUtf8(utf8, utf8 ? std::strlen(utf8) : 0);
  }
  CStdStr(const std::string& utf8)
    requires std::is_same_v<CT, wchar_t>
  {
    AssignUtf8(utf8.c_str(), ::strnlen(utf8.c_str(), utf8.size()));
  }

  // Narrow from wide: the UTF-8 form of the UTF-16 units up to the first NUL.
  CStdStr(const wchar_t* utf16)
    requires std::is_same_v<CT, char>
  {
    AssignUtf16(utf16, utf16 ? std::wcslen(utf16) : 0);
  }
  CStdStr(const std::wstring& utf16)
    requires std::is_same_v<CT, char>
  {
    AssignUtf16(utf16.c_str(), ::wcsnlen(utf16.c_str(), utf16.size()));
  }

  // Number of code units.
  int GetLength() const noexcept { return static_cast<int>(this->size()); }
  bool IsEmpty() const noexcept { return this->empty(); }
  void Empty() noexcept { this->clear(); }

  // Replaces the text with a printf-style formatting of the arguments (through fmt).
  template <typename... Args>
  void Format(const CT* format, const Args&... args) {
    Base::operator=(fmt::sprintf(std::basic_string_view<CT>(format), args...));
  }

 private:
  void AssignUtf8(const char* s, size_t n) {
    if (n != 0) Base::operator=(lu::platform::Utf8ToUtf16(s, n));
  }
  void AssignUtf16(const wchar_t* s, size_t n) {
    if (n != 0) Base::operator=(lu::platform::Utf16ToUtf8(s, n));
  }
};

using CStdStringA = CStdStr<char>;
using CStdStringW = CStdStr<wchar_t>;

namespace std {
template <typename CT>
struct hash<CStdStr<CT>> : hash<basic_string<CT>> {};
}  // namespace std
