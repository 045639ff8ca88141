// A compact one-line JSON text builder for the tool's --json output.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace nybase::tool {

// Builds one JSON value into a string. Commas and nesting are tracked, so callers only say what
// comes next. Strings are taken as UTF-8: ill-formed bytes become U+FFFD, so the output is always
// valid JSON text. Numbers that are not finite are written as null (JSON has no NaN/infinity).
class Json {
 public:
  Json& BeginObject();
  Json& EndObject();
  Json& BeginArray();
  Json& EndArray();
  Json& Key(std::string_view key);
  Json& String(std::string_view utf8);
  Json& Number(double value);
  Json& Int(int64_t value);
  Json& UInt(uint64_t value);
  Json& Bool(bool value);
  Json& Null();

  // Key and value in one call.
  template <typename T>
  Json& Field(std::string_view key, const T& value);

  const std::string& Text() const { return m_text; }

 private:
  void Separate();

  std::string m_text;
  // One entry per open container: true once it holds a value (a comma comes before the next).
  std::vector<bool> m_hasValue;
  bool m_afterKey = false;
};

template <typename T>
Json& Json::Field(std::string_view key, const T& value) {
  Key(key);
  if constexpr (std::is_same_v<T, bool>) {
    return Bool(value);
  } else if constexpr (std::is_floating_point_v<T>) {
    return Number(value);
  } else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) {
    return Int(value);
  } else if constexpr (std::is_integral_v<T>) {
    return UInt(value);
  } else {
    return String(value);
  }
}

}  // namespace nybase::tool
