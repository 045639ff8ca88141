// A compact one-line JSON text builder for the tool's --json output.
#include "Json.h"

#include <charconv>
#include <cmath>

#include <nybase/platform/Utf.h>

namespace nybase::tool {

void Json::Separate() {
  if (m_afterKey) {
    m_afterKey = false;
    return;
  }
  if (!m_hasValue.empty()) {
    if (m_hasValue.back()) m_text.push_back(',');
    m_hasValue.back() = true;
  }
}

Json& Json::BeginObject() {
  Separate();
  m_text.push_back('{');
  m_hasValue.push_back(false);
  return *this;
}

Json& Json::EndObject() {
  m_text.push_back('}');
  m_hasValue.pop_back();
  return *this;
}

Json& Json::BeginArray() {
  Separate();
  m_text.push_back('[');
  m_hasValue.push_back(false);
  return *this;
}

Json& Json::EndArray() {
  m_text.push_back(']');
  m_hasValue.pop_back();
  return *this;
}

Json& Json::Key(std::string_view key) {
  String(key);
  m_text.push_back(':');
  m_afterKey = true;
  return *this;
}

Json& Json::String(std::string_view utf8) {
  Separate();
  // Round trip through UTF-16 replaces every ill-formed sequence by U+FFFD.
  const std::wstring wide = lu::platform::Utf8ToUtf16(utf8.data(), utf8.size());
  const std::string clean = lu::platform::Utf16ToUtf8(wide.data(), wide.size());
  m_text.push_back('"');
  for (char ch : clean) {
    const auto c = static_cast<unsigned char>(ch);
    switch (c) {
      case '"': m_text += "\\\""; break;
      case '\\': m_text += "\\\\"; break;
      case '\n': m_text += "\\n"; break;
      case '\r': m_text += "\\r"; break;
      case '\t': m_text += "\\t"; break;
      default:
        if (c < 0x20) {
          static const char k_hex[] = "0123456789abcdef";
          m_text += "\\u00";
          m_text.push_back(k_hex[c >> 4]);
          m_text.push_back(k_hex[c & 15]);
        } else {
          m_text.push_back(ch);
        }
    }
  }
  m_text.push_back('"');
  return *this;
}

Json& Json::Number(double value) {
  if (!std::isfinite(value)) return Null();
  Separate();
  char buf[32];
  // Shortest text that reads back as the same double.
  const auto r = std::to_chars(buf, buf + sizeof buf, value);
  m_text.append(buf, r.ptr);
  return *this;
}

Json& Json::Int(int64_t value) {
  Separate();
  m_text += std::to_string(value);
  return *this;
}

Json& Json::UInt(uint64_t value) {
  Separate();
  m_text += std::to_string(value);
  return *this;
}

Json& Json::Bool(bool value) {
  Separate();
  m_text += value ? "true" : "false";
  return *this;
}

Json& Json::Null() {
  Separate();
  m_text += "null";
  return *this;
}

}  // namespace nybase::tool
