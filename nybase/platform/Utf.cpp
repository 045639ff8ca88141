// The UTF-8 <-> UTF-16 codec: portable logic, no allocation in the Windows-shaped calls.
#include <nybase/platform/Utf.h>

#include <cstring>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <nybase/platform/LastError.h>

namespace lu::platform {

namespace {

constexpr uint32_t k_replacement = 0xFFFD;

inline bool IsHighSurrogate(uint32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
inline bool IsLowSurrogate(uint32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

#if defined(__SSE2__)
static_assert(sizeof(wchar_t) == 4, "the vector paths assume 32-bit wchar_t");

// True when all four 32-bit lanes of v are below 0x80 (negative wchar_t values included: they
// have high bits set).
inline bool AllAscii32(__m128i v) {
  const __m128i high = _mm_and_si128(v, _mm_set1_epi32(~0x7F));
  return _mm_movemask_epi8(_mm_cmpeq_epi32(high, _mm_setzero_si128())) == 0xFFFF;
}

// Narrows 16 ASCII units at src to 16 bytes at dst; false (nothing written) when one is not ASCII.
inline bool NarrowAscii16(const wchar_t* src, char* dst) {
  const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
  const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 4));
  const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 8));
  const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 12));
  if (!AllAscii32(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d)))) return false;
  if (dst != nullptr) {
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), bytes);
  }
  return true;
}

// Widens 16 ASCII bytes at src to 16 units at dst; false (nothing written) when one is not ASCII.
inline bool WidenAscii16(const unsigned char* src, wchar_t* dst) {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
  if (_mm_movemask_epi8(v) != 0) return false;
  const __m128i zero = _mm_setzero_si128();
  const __m128i lo = _mm_unpacklo_epi8(v, zero);
  const __m128i hi = _mm_unpackhi_epi8(v, zero);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_unpacklo_epi16(lo, zero));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 4), _mm_unpackhi_epi16(lo, zero));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8), _mm_unpacklo_epi16(hi, zero));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 12), _mm_unpackhi_epi16(hi, zero));
  return true;
}
#endif

// Encodes UTF-16 units to UTF-8. With Write false only counts. Returns the byte count, or
// SIZE_MAX when dst (capacity cap) is too small.
template <bool Write>
size_t EncodeUtf8(const wchar_t* src, size_t len, char* dst, size_t cap) noexcept {
  size_t out = 0;
  size_t i = 0;
  while (i < len) {
    // ASCII fast path: sixteen units at a time where vectors exist, then a run of units below 0x80.
#if defined(__SSE2__)
    if constexpr (Write) {
      while (len - i >= 16 && cap - out >= 16 && NarrowAscii16(src + i, dst + out)) {
        i += 16;
        out += 16;
      }
    } else {
      while (len - i >= 16 && NarrowAscii16(src + i, nullptr)) {
        i += 16;
        out += 16;
      }
    }
#endif
    if constexpr (Write) {
      size_t run = 0;
      const size_t room = cap - out;
      const size_t limit = len - i < room ? len - i : room;
      while (run < limit && static_cast<uint32_t>(src[i + run]) < 0x80) {
        dst[out + run] = static_cast<char>(src[i + run]);
        ++run;
      }
      i += run;
      out += run;
    } else {
      while (i < len && static_cast<uint32_t>(src[i]) < 0x80) {
        ++i;
        ++out;
      }
    }
    if (i >= len) break;
    uint32_t cp = static_cast<uint32_t>(src[i]);
    if (cp < 0x80) {
      // Only reached when the buffer is full.
      return std::numeric_limits<size_t>::max();
    }
    ++i;
    if (IsHighSurrogate(cp)) {
      if (i < len && IsLowSurrogate(static_cast<uint32_t>(src[i]))) {
        cp = 0x10000 + ((cp - 0xD800) << 10) + (static_cast<uint32_t>(src[i]) - 0xDC00);
        ++i;
      } else {
        cp = k_replacement;
      }
    } else if (IsLowSurrogate(cp) || cp > 0x10FFFF) {
      cp = k_replacement;
    }
    // A unit above 0xFFFF cannot occur in UTF-16; a valid scalar value there (an L"" literal) is
    // encoded as it stands rather than refused, so such text still round-trips to UTF-8.
    unsigned char buf[4];
    size_t n;
    if (cp < 0x800) {
      buf[0] = static_cast<unsigned char>(0xC0 | (cp >> 6));
      buf[1] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
      n = 2;
    } else if (cp < 0x10000) {
      buf[0] = static_cast<unsigned char>(0xE0 | (cp >> 12));
      buf[1] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
      buf[2] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
      n = 3;
    } else {
      buf[0] = static_cast<unsigned char>(0xF0 | (cp >> 18));
      buf[1] = static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F));
      buf[2] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
      buf[3] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
      n = 4;
    }
    if constexpr (Write) {
      if (cap - out < n) return std::numeric_limits<size_t>::max();
      std::memcpy(dst + out, buf, n);
    }
    out += n;
  }
  return out;
}

// Decodes one UTF-8 sequence at s[0..len) (len >= 1, s[0] >= 0x80). Stores the code point (or
// U+FFFD) and returns the number of bytes consumed: a maximal ill-formed subpart is one U+FFFD.
inline size_t DecodeOne(const unsigned char* s, size_t len, uint32_t& cp) noexcept {
  const unsigned char b0 = s[0];
  size_t need;
  unsigned char lo = 0x80, hi = 0xBF;  // allowed range of the second byte
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    need = 1;
    cp = b0 & 0x1F;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    need = 2;
    cp = b0 & 0x0F;
    if (b0 == 0xE0) lo = 0xA0;
    if (b0 == 0xED) hi = 0x9F;  // excludes encoded surrogates
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    need = 3;
    cp = b0 & 0x07;
    if (b0 == 0xF0) lo = 0x90;
    if (b0 == 0xF4) hi = 0x8F;
  } else {
    cp = k_replacement;
    return 1;
  }
  size_t k = 1;
  for (; k <= need; ++k) {
    if (k >= len) {
      cp = k_replacement;
      return k;
    }
    const unsigned char b = s[k];
    const unsigned char l = (k == 1) ? lo : 0x80;
    const unsigned char h = (k == 1) ? hi : 0xBF;
    if (b < l || b > h) {
      cp = k_replacement;
      return k;
    }
    cp = (cp << 6) | (b & 0x3F);
  }
  return k;
}

template <bool Write>
size_t DecodeUtf8(const unsigned char* src, size_t len, wchar_t* dst, size_t cap) noexcept {
  size_t out = 0;
  size_t i = 0;
  while (i < len) {
    // ASCII fast path: sixteen bytes at a time where vectors exist, then eight, while no high
    // bit is set.
    if constexpr (Write) {
#if defined(__SSE2__)
      while (len - i >= 16 && cap - out >= 16 && WidenAscii16(src + i, dst + out)) {
        i += 16;
        out += 16;
      }
#endif
      while (i + 8 <= len && cap - out >= 8) {
        uint64_t chunk;
        std::memcpy(&chunk, src + i, 8);
        if (chunk & 0x8080808080808080ULL) break;
        for (int k = 0; k < 8; ++k) dst[out + k] = static_cast<wchar_t>(src[i + k]);
        i += 8;
        out += 8;
      }
    } else {
      while (i + 8 <= len) {
        uint64_t chunk;
        std::memcpy(&chunk, src + i, 8);
        if (chunk & 0x8080808080808080ULL) break;
        i += 8;
        out += 8;
      }
    }
    if (i >= len) break;
    uint32_t cp;
    size_t used;
    if (src[i] < 0x80) {
      cp = src[i];
      used = 1;
    } else {
      used = DecodeOne(src + i, len - i, cp);
    }
    i += used;
    const size_t n = cp >= 0x10000 ? 2 : 1;
    if constexpr (Write) {
      if (cap - out < n) return std::numeric_limits<size_t>::max();
      if (n == 1) {
        dst[out] = static_cast<wchar_t>(cp);
      } else {
        dst[out] = static_cast<wchar_t>(0xD800 + ((cp - 0x10000) >> 10));
        dst[out + 1] = static_cast<wchar_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
      }
    }
    out += n;
  }
  return out;
}

// Shared argument checks of the two Windows-shaped calls. Returns false (last error set) when the
// call must fail; otherwise stores the source length in units.
template <typename C>
bool CheckArgs(unsigned codePage, const C* src, int srcLen, const void* dst, int dstCap, size_t& len) noexcept {
  if (codePage != k_codePageUtf8 || src == nullptr || srcLen == 0 || srcLen < -1 || dstCap < 0 ||
      (dstCap > 0 && dst == nullptr)) {
    SetLastError(k_errorInvalidParameter);
    return false;
  }
  if (srcLen == -1) {
    len = 0;
    while (src[len] != 0) ++len;
    ++len;  // the NUL is converted and counted
  } else {
    len = static_cast<size_t>(srcLen);
  }
  return true;
}

// True when the UTF-16 units hold no lone surrogate and no value beyond U+10FFFF.
bool IsValidUtf16(const wchar_t* src, size_t len) noexcept {
  for (size_t i = 0; i < len; ++i) {
    const auto u = static_cast<uint32_t>(src[i]);
    if (u < 0xD800) continue;
    if (IsHighSurrogate(u) && i + 1 < len && IsLowSurrogate(static_cast<uint32_t>(src[i + 1]))) {
      ++i;
    } else if (IsHighSurrogate(u) || IsLowSurrogate(u) || u > 0x10FFFF) {
      return false;
    }
  }
  return true;
}

// True when the bytes are well-formed UTF-8 (an encoded U+FFFD is well-formed; a replacement for
// an ill-formed sequence is told apart by its length and lead byte).
bool IsValidUtf8(const unsigned char* src, size_t len) noexcept {
  for (size_t i = 0; i < len;) {
    if (src[i] < 0x80) {
      ++i;
      continue;
    }
    uint32_t cp;
    const size_t used = DecodeOne(src + i, len - i, cp);
    if (cp == k_replacement && !(used == 3 && src[i] == 0xEF)) return false;
    i += used;
  }
  return true;
}

// Flags: 0, or the one that turns ill-formed input into a failure; anything else is refused.
bool CheckFlags(uint32_t flags, uint32_t strictFlag) noexcept {
  if ((flags & ~strictFlag) != 0) {
    SetLastError(k_errorInvalidFlags);
    return false;
  }
  return true;
}

bool RefuseIllFormed() noexcept {
  SetLastError(k_errorNoUnicodeTranslation);
  return false;
}

int Finish(size_t n) noexcept {
  if (n == std::numeric_limits<size_t>::max()) {
    SetLastError(k_errorInsufficientBuffer);
    return 0;
  }
  if (n > static_cast<size_t>(std::numeric_limits<int>::max())) {
    SetLastError(k_errorInvalidParameter);
    return 0;
  }
  return static_cast<int>(n);
}

}  // namespace

int WideCharToMultiByte(unsigned codePage, uint32_t flags, const wchar_t* src, int srcLen, char* dst,
                        int dstCap, const char* defaultChar, int* usedDefaultChar) noexcept {
  if (defaultChar != nullptr || usedDefaultChar != nullptr) {
    // Code page 65001 does not support the default-character arguments.
    SetLastError(k_errorInvalidParameter);
    return 0;
  }
  size_t len;
  if (!CheckArgs(codePage, src, srcLen, dst, dstCap, len) || !CheckFlags(flags, k_wcErrInvalidChars)) return 0;
  if ((flags & k_wcErrInvalidChars) != 0 && !IsValidUtf16(src, len)) return RefuseIllFormed();
  if (dstCap == 0) return Finish(EncodeUtf8<false>(src, len, nullptr, 0));
  return Finish(EncodeUtf8<true>(src, len, dst, static_cast<size_t>(dstCap)));
}

int MultiByteToWideChar(unsigned codePage, uint32_t flags, const char* src, int srcLen, wchar_t* dst,
                        int dstCap) noexcept {
  size_t len;
  if (!CheckArgs(codePage, src, srcLen, dst, dstCap, len) || !CheckFlags(flags, k_mbErrInvalidChars)) return 0;
  const auto* s = reinterpret_cast<const unsigned char*>(src);
  if ((flags & k_mbErrInvalidChars) != 0 && !IsValidUtf8(s, len)) return RefuseIllFormed();
  if (dstCap == 0) return Finish(DecodeUtf8<false>(s, len, nullptr, 0));
  return Finish(DecodeUtf8<true>(s, len, dst, static_cast<size_t>(dstCap)));
}

std::wstring Utf8ToUtf16(const char* src, size_t len) {
  std::wstring out;
  if (len == 0) return out;
  const auto* s = reinterpret_cast<const unsigned char*>(src);
  // UTF-16 never needs more units than UTF-8 has bytes: one pass writes into a worst-case buffer.
  out.resize(len);
  const size_t n = DecodeUtf8<true>(s, len, out.data(), len);
  out.resize(n);
  return out;
}

std::string Utf16ToUtf8(const wchar_t* src, size_t len) {
  std::string out;
  if (len == 0) return out;
  out.resize(EncodeUtf8<false>(src, len, nullptr, 0));
  EncodeUtf8<true>(src, len, out.data(), out.size());
  return out;
}

size_t Utf8LengthOfUtf16(const wchar_t* src, size_t len) noexcept {
  return EncodeUtf8<false>(src, len, nullptr, 0);
}

}  // namespace lu::platform
