// lu::NoCaseStringComp: ordering of wide strings that ignores case, for sets and maps of paths.
#pragma once

#include <cstddef>
#include <cwctype>

#include <nybase/text/CStdStr.h>

namespace lu {

// Orders UTF-16 texts unit by unit after upper-casing each unit (ASCII directly, other units of
// the BMP with the C library), so "a.WAV" and "A.wav" are one key; on a tie over the shorter
// length the shorter is smaller. Never throws.
struct NoCaseStringComp {
  static wchar_t Fold(wchar_t c) noexcept {
    if (c >= L'a' && c <= L'z') return static_cast<wchar_t>(c - L'a' + L'A');
    if (c < 0x80) return c;
    return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
  }
  bool operator()(const CStdStr<wchar_t>& a, const CStdStr<wchar_t>& b) const noexcept {
    const size_t n = a.size() < b.size() ? a.size() : b.size();
    for (size_t i = 0; i < n; ++i) {
      const wchar_t x = Fold(a[i]), y = Fold(b[i]);
      if (x != y) return x < y;
    }
    return a.size() < b.size();
  }
};

}  // namespace lu
