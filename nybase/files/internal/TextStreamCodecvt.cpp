// The BMP decoding facets of the text streams.
#include <nybase/files/internal/TextStreamCodecvt.h>

#include <cstdint>
#include <cstring>

namespace lu::detail {

namespace {

// The facets keep two flags in the conversion state: the start of the stream was passed (so a
// later mark is an ordinary U+FEFF), and the UTF-16 input is little-endian.
constexpr int k_started = 1;
constexpr int k_littleEndian = 2;

int Flags(const std::mbstate_t& state) {
  int flags = 0;
  std::memcpy(&flags, &state, sizeof flags);
  return flags;
}
void SetFlags(std::mbstate_t& state, int flags) { std::memcpy(&state, &flags, sizeof flags); }

}  // namespace

int BmpCodecvtBase::do_length(state_type& state, const extern_type* from, const extern_type* end,
                              size_t max) const {
  // Converts into a small scratch block until `max` units came or the input ran out.
  wchar_t scratch[256];
  const extern_type* p = from;
  while (max > 0 && p < end) {
    const size_t want = max < 256 ? max : 256;
    const extern_type* next = p;
    intern_type* toNext = scratch;
    const result r = do_in(state, p, end, next, scratch, scratch + want, toNext);
    max -= static_cast<size_t>(toNext - scratch);
    p = next;
    if (r != ok && r != partial) break;
    if (toNext == scratch) break;
  }
  return static_cast<int>(p - from);
}

std::codecvt_base::result Utf8BmpCodecvt::do_in(state_type& state, const extern_type* from,
                                                const extern_type* fromEnd, const extern_type*& fromNext,
                                                intern_type* to, intern_type* toEnd,
                                                intern_type*& toNext) const {
  const auto* p = reinterpret_cast<const uint8_t*>(from);
  const auto* end = reinterpret_cast<const uint8_t*>(fromEnd);
  int flags = Flags(state);
  result r = ok;
  if (!(flags & k_started)) {
    static constexpr uint8_t k_mark[3] = {0xEF, 0xBB, 0xBF};
    const size_t have = static_cast<size_t>(end - p);
    const size_t n = have < 3 ? have : 3;
    if (std::memcmp(p, k_mark, n) == 0) {
      if (n < 3) {  // too little input to tell yet
        fromNext = from;
        toNext = to;
        return partial;
      }
      p += 3;
    }
    flags |= k_started;
  }
  intern_type* out = to;
  while (p < end && out < toEnd) {
    const uint8_t b0 = p[0];
    if (b0 < 0x80) {
      *out++ = b0;
      ++p;
      continue;
    }
    const size_t have = static_cast<size_t>(end - p);
    if (b0 >= 0xC2 && b0 <= 0xDF) {
      if (have < 2) { r = partial; break; }
      if ((p[1] & 0xC0) != 0x80) { r = error; break; }
      *out++ = static_cast<wchar_t>(((b0 & 0x1F) << 6) | (p[1] & 0x3F));
      p += 2;
      continue;
    }
    if (b0 >= 0xE0 && b0 <= 0xEF) {
      // Second byte bounds exclude overlong forms (E0) and encoded surrogates (ED).
      const uint8_t lo = b0 == 0xE0 ? 0xA0 : 0x80;
      const uint8_t hi = b0 == 0xED ? 0x9F : 0xBF;
      if (have >= 2 && (p[1] < lo || p[1] > hi)) { r = error; break; }
      if (have < 3) { r = partial; break; }
      if ((p[2] & 0xC0) != 0x80) { r = error; break; }
      *out++ = static_cast<wchar_t>(((b0 & 0x0F) << 12) | ((p[1] & 0x3F) << 6) | (p[2] & 0x3F));
      p += 3;
      continue;
    }
    r = error;  // a continuation byte, an overlong lead, or a character beyond the BMP
    break;
  }
  SetFlags(state, flags);
  fromNext = reinterpret_cast<const extern_type*>(p);
  toNext = out;
  if (r == ok && p < end) r = partial;  // the output is full
  return r;
}

std::codecvt_base::result Utf16BmpCodecvt::do_in(state_type& state, const extern_type* from,
                                                 const extern_type* fromEnd, const extern_type*& fromNext,
                                                 intern_type* to, intern_type* toEnd,
                                                 intern_type*& toNext) const {
  const auto* p = reinterpret_cast<const uint8_t*>(from);
  const auto* end = reinterpret_cast<const uint8_t*>(fromEnd);
  int flags = Flags(state);
  if (!(flags & k_started)) {
    if (end - p < 2) {
      fromNext = from;
      toNext = to;
      return partial;
    }
    if (p[0] == 0xFF && p[1] == 0xFE) {
      flags |= k_littleEndian;
      p += 2;
    } else if (p[0] == 0xFE && p[1] == 0xFF) {
      p += 2;
    }
    flags |= k_started;
  }
  const bool little = (flags & k_littleEndian) != 0;
  intern_type* out = to;
  result r = ok;
  while (end - p >= 2 && out < toEnd) {
    const unsigned unit = little ? (p[0] | (p[1] << 8)) : ((p[0] << 8) | p[1]);
    if (unit >= 0xD800 && unit <= 0xDFFF) {
      r = error;
      break;
    }
    *out++ = static_cast<wchar_t>(unit);
    p += 2;
  }
  SetFlags(state, flags);
  fromNext = reinterpret_cast<const extern_type*>(p);
  toNext = out;
  if (r == ok && p < end) r = partial;
  return r;
}

}  // namespace lu::detail
