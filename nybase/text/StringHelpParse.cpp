// StringHelp parsers: integers, hexadecimal, floating point, booleans, digit tests.
#include <nybase/text/StringHelp.h>

#include <charconv>
#include <cmath>
#include <system_error>

namespace StringHelp {

namespace {

// The six whitespace characters of the C locale; wide text gets the same narrow test, so no
// Unicode space counts.
template <typename CT>
inline bool IsSpace(CT c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

template <typename CT>
inline bool IsDigit(CT c) {
  return c >= '0' && c <= '9';
}

// Leading whitespace, one "+", optionally "0x"/"0X", then trailing whitespace (never before what
// was skipped at the front). False for an empty view.
template <typename CT>
bool Trim(lu::BasicStringView<CT> s, bool hexPrefix, const CT*& b, const CT*& e) {
  if (s.size() == 0) return false;
  b = s.data();
  e = b + s.size();
  while (b < e && IsSpace(*b)) ++b;
  if (b < e && *b == '+') ++b;
  if (hexPrefix && e - b >= 2 && b[0] == '0' && (b[1] == 'x' || b[1] == 'X')) b += 2;
  while (e > b && IsSpace(e[-1])) --e;
  return true;
}

// Narrow text for std::from_chars. Narrow input is used in place; wide input is copied into buf,
// failing on any unit above 0x7F. A zero directly followed by another digit after the optional
// "-" changes neither the value nor what is consumed, so such zeros are dropped: a wide text with
// any number of leading zeros fits the buffer. A wide text that still does not fit fails; for the
// integer types that is exact (more than 64 significant digits always overflow), for floating
// point it limits wide input to 1024 significant characters.
template <size_t N>
struct Narrowed {
  char buf[N];
  const char* first = nullptr;
  const char* last = nullptr;

  bool From(const char* b, const char* e) {
    first = b;
    last = e;
    return true;
  }
  bool From(const wchar_t* b, const wchar_t* e) {
    size_t n = 0;
    if (b < e && *b == L'-') {
      buf[n++] = '-';
      ++b;
    }
    while (e - b >= 2 && *b == L'0' && IsDigit(b[1])) ++b;
    if (static_cast<size_t>(e - b) > N - n) return false;
    for (; b < e; ++b) {
      const auto u = static_cast<uint32_t>(*b);
      if (u > 0x7F) return false;
      buf[n++] = static_cast<char>(u);
    }
    first = buf;
    last = buf + n;
    return true;
  }
};

template <typename T, typename CT>
bool ParseInteger(lu::BasicStringView<CT> s, T& value, int base) {
  const CT* b;
  const CT* e;
  if (!Trim(s, base == 16, b, e)) return false;
  Narrowed<64> text;
  if (!text.From(b, e)) return false;
  T parsed;
  const auto r = std::from_chars(text.first, text.last, parsed, base);
  if (r.ec != std::errc() || r.ptr != text.last) return false;
  value = parsed;
  return true;
}

template <typename T, typename CT>
bool ParseReal(lu::BasicStringView<CT> s, T& value) {
  const CT* b;
  const CT* e;
  if (!Trim(s, false, b, e)) return false;
  Narrowed<1024> text;
  if (!text.From(b, e)) return false;
  T parsed;
  // Out of range covers both a nonzero text that rounds to zero and one that overflows.
  const auto r = std::from_chars(text.first, text.last, parsed, std::chars_format::general);
  if (r.ec != std::errc() || r.ptr != text.last) return false;
  // Infinities are refused even when spelled out; NaN is accepted on purpose (callers store it).
  if (std::isinf(parsed)) return false;
  value = parsed;
  return true;
}

// ASCII case-insensitive comparison of NUL-terminated text with a lower-case word.
template <typename CT>
bool EqualsWord(const CT* p, const char* word) {
  for (; *word != 0; ++p, ++word) {
    CT c = *p;
    if (c >= 'A' && c <= 'Z') c = static_cast<CT>(c - 'A' + 'a');
    if (c != static_cast<CT>(*word)) return false;
  }
  return *p == 0;
}

}  // namespace

template <typename CT>
bool StringToInt8(lu::BasicStringView<CT> s, int8_t& value) {
  return ParseInteger(s, value, 10);
}
template <typename CT>
bool StringToInt16(lu::BasicStringView<CT> s, int16_t& value) {
  return ParseInteger(s, value, 10);
}
template <typename CT>
bool StringToInt32(lu::BasicStringView<CT> s, int32_t& value) {
  return ParseInteger(s, value, 10);
}
template <typename CT>
bool StringToInt64(lu::BasicStringView<CT> s, int64_t& value) {
  return ParseInteger(s, value, 10);
}
template <typename CT>
bool StringToUInt8(lu::BasicStringView<CT> s, uint8_t& value) {
  return ParseInteger(s, value, 10);
}
template <typename CT>
bool StringToUInt16(lu::BasicStringView<CT> s, uint16_t& value) {
  return ParseInteger(s, value, 10);
}
template <typename CT>
bool StringToUInt32(lu::BasicStringView<CT> s, uint32_t& value) {
  return ParseInteger(s, value, 10);
}
template <typename CT>
bool StringToUInt64(lu::BasicStringView<CT> s, uint64_t& value) {
  return ParseInteger(s, value, 10);
}
template <typename CT>
bool HexStringToUInt32(lu::BasicStringView<CT> s, uint32_t& value) {
  return ParseInteger(s, value, 16);
}
template <typename CT>
bool StringToFloat(lu::BasicStringView<CT> s, float& value) {
  return ParseReal(s, value);
}
template <typename CT>
bool StringToDouble(lu::BasicStringView<CT> s, double& value) {
  return ParseReal(s, value);
}

template <typename CT>
bool StringToBool(lu::BasicStringView<CT> s, bool& value) {
  const CT* p = s.data();
  if (p == nullptr) return false;
  // The words are read to the NUL whatever the view's length, on purpose: callers pass views of
  // C strings and rely on it.
  if (EqualsWord(p, "true") || (s.size() == 1 && p[0] == '1')) {
    value = true;
    return true;
  }
  if (EqualsWord(p, "false") || (s.size() == 1 && p[0] == '0')) {
    value = false;
    return true;
  }
  return false;
}

template <typename CT>
bool IsAllDigit(lu::BasicStringView<CT> s) {
  if (s.size() == 0) return false;
  for (CT c : s) {
    if (!IsDigit(c)) return false;
  }
  return true;
}

#define NYBASE_INSTANTIATE(CT)                                                \
  template bool StringToInt8<CT>(lu::BasicStringView<CT>, int8_t&);           \
  template bool StringToInt16<CT>(lu::BasicStringView<CT>, int16_t&);         \
  template bool StringToInt32<CT>(lu::BasicStringView<CT>, int32_t&);         \
  template bool StringToInt64<CT>(lu::BasicStringView<CT>, int64_t&);         \
  template bool StringToUInt8<CT>(lu::BasicStringView<CT>, uint8_t&);         \
  template bool StringToUInt16<CT>(lu::BasicStringView<CT>, uint16_t&);       \
  template bool StringToUInt32<CT>(lu::BasicStringView<CT>, uint32_t&);       \
  template bool StringToUInt64<CT>(lu::BasicStringView<CT>, uint64_t&);       \
  template bool HexStringToUInt32<CT>(lu::BasicStringView<CT>, uint32_t&);    \
  template bool StringToFloat<CT>(lu::BasicStringView<CT>, float&);           \
  template bool StringToDouble<CT>(lu::BasicStringView<CT>, double&);         \
  template bool StringToBool<CT>(lu::BasicStringView<CT>, bool&);             \
  template bool IsAllDigit<CT>(lu::BasicStringView<CT>);
NYBASE_INSTANTIATE(char)
NYBASE_INSTANTIATE(wchar_t)
#undef NYBASE_INSTANTIATE

}  // namespace StringHelp
