// The UTF-8 form of one code point, written straight into a text writer's buffer.
#pragma once

#include <cstdint>

namespace lu::detail {

// Puts the UTF-8 form of a code point below 0x110000 at `o` and moves it on.
inline void PutCodePoint(char*& o, uint32_t cp) {
  if (cp < 0x80) {
    *o++ = static_cast<char>(cp);
  } else if (cp < 0x800) {
    *o++ = static_cast<char>(0xC0 | (cp >> 6));
    *o++ = static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    *o++ = static_cast<char>(0xE0 | (cp >> 12));
    *o++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    *o++ = static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    *o++ = static_cast<char>(0xF0 | (cp >> 18));
    *o++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    *o++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    *o++ = static_cast<char>(0x80 | (cp & 0x3F));
  }
}

}  // namespace lu::detail
