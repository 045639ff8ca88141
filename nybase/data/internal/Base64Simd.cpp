// Base64 block kernels: pshufb-based index split and alphabet mapping for encoding, range
// classification and multiply-add packing for decoding.
#include <nybase/data/internal/Base64Simd.h>

#include <immintrin.h>

#include <cstring>

namespace NyBase64::detail {

bool SimdAvailable() {
  static const bool available = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1");
  }();
  return available;
}

namespace {

// Sixteen 6-bit indices from the first 12 bytes of `in`, one per byte, in text order.
__attribute__((target("ssse3,sse4.1"))) __m128i SplitIndices(__m128i in) {
  in = _mm_shuffle_epi8(in, _mm_set_epi8(10, 11, 9, 10, 7, 8, 6, 7, 4, 5, 3, 4, 1, 2, 0, 1));
  const __m128i t0 = _mm_and_si128(in, _mm_set1_epi32(0x0fc0fc00));
  const __m128i t1 = _mm_mulhi_epu16(t0, _mm_set1_epi32(0x04000040));
  const __m128i t2 = _mm_and_si128(in, _mm_set1_epi32(0x003f03f0));
  const __m128i t3 = _mm_mullo_epi16(t2, _mm_set1_epi32(0x01000010));
  return _mm_or_si128(t1, t3);
}

// The alphabet character of each index: the index plus an offset chosen by its range.
__attribute__((target("ssse3,sse4.1"))) __m128i IndicesToAlphabet(__m128i indices) {
  __m128i range = _mm_subs_epu8(indices, _mm_set1_epi8(51));  // 0..51 -> 0, 52..63 -> 1..12
  const __m128i upper = _mm_cmpgt_epi8(_mm_set1_epi8(26), indices);
  range = _mm_or_si128(range, _mm_and_si128(upper, _mm_set1_epi8(13)));  // 0..25 -> 13
  const __m128i offsets = _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                        '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
  return _mm_add_epi8(_mm_shuffle_epi8(offsets, range), indices);
}

__attribute__((target("ssse3,sse4.1"))) size_t EncodeNarrow(const unsigned char* data, size_t size, char* out) {
  size_t i = 0;
  for (; i + 16 <= size; i += 12, out += 16) {
    const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), IndicesToAlphabet(SplitIndices(in)));
  }
  return i;
}

__attribute__((target("ssse3,sse4.1"))) size_t EncodeWide(const unsigned char* data, size_t size, wchar_t* out) {
  static_assert(sizeof(wchar_t) == 4);
  size_t i = 0;
  for (; i + 16 <= size; i += 12, out += 16) {
    const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i));
    const __m128i chars = IndicesToAlphabet(SplitIndices(in));
    auto* dst = reinterpret_cast<__m128i*>(out);
    _mm_storeu_si128(dst, _mm_cvtepu8_epi32(chars));
    _mm_storeu_si128(dst + 1, _mm_cvtepu8_epi32(_mm_srli_si128(chars, 4)));
    _mm_storeu_si128(dst + 2, _mm_cvtepu8_epi32(_mm_srli_si128(chars, 8)));
    _mm_storeu_si128(dst + 3, _mm_cvtepu8_epi32(_mm_srli_si128(chars, 12)));
  }
  return i;
}

// Lanes of `c` inside [lo, hi], all values below 0x80 (signed comparisons are safe).
__attribute__((target("ssse3,sse4.1"))) __m128i InRange(__m128i c, char lo, char hi) {
  return _mm_and_si128(_mm_cmpgt_epi8(c, _mm_set1_epi8(static_cast<char>(lo - 1))),
                       _mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(hi + 1)), c));
}

}  // namespace

size_t EncodeBlocks(const unsigned char* data, size_t size, char* out) {
  return SimdAvailable() ? EncodeNarrow(data, size, out) : 0;
}

size_t EncodeBlocks(const unsigned char* data, size_t size, wchar_t* out) {
  return SimdAvailable() ? EncodeWide(data, size, out) : 0;
}

__attribute__((target("ssse3,sse4.1"))) static size_t DecodeSimd(const wchar_t* text, size_t length,
                                                                   unsigned char* out) {
  const __m128i lowByte = _mm_set1_epi32(0xFF);
  size_t pos = 0;
  for (; length - pos > 16; pos += 16, out += 12) {
    const auto* src = reinterpret_cast<const __m128i*>(text + pos);
    const __m128i a = _mm_packus_epi32(_mm_and_si128(_mm_loadu_si128(src), lowByte),
                                       _mm_and_si128(_mm_loadu_si128(src + 1), lowByte));
    const __m128i b = _mm_packus_epi32(_mm_and_si128(_mm_loadu_si128(src + 2), lowByte),
                                       _mm_and_si128(_mm_loadu_si128(src + 3), lowByte));
    // The low 8 bits with bit 7 cleared: the table gives characters with bit 7 set the same value.
    const __m128i c = _mm_and_si128(_mm_packus_epi16(a, b), _mm_set1_epi8(0x7F));
    const __m128i upper = InRange(c, 'A', 'Z');
    const __m128i lower = InRange(c, 'a', 'z');
    const __m128i digit = InRange(c, '0', '9');
    const __m128i plus = _mm_cmpeq_epi8(c, _mm_set1_epi8('+'));
    const __m128i slash = _mm_cmpeq_epi8(c, _mm_set1_epi8('/'));
    const __m128i valid = _mm_or_si128(_mm_or_si128(upper, lower), _mm_or_si128(digit, _mm_or_si128(plus, slash)));
    if (_mm_movemask_epi8(valid) != 0xFFFF) break;
    __m128i offset = _mm_and_si128(upper, _mm_set1_epi8(-65));
    offset = _mm_or_si128(offset, _mm_and_si128(lower, _mm_set1_epi8(-71)));
    offset = _mm_or_si128(offset, _mm_and_si128(digit, _mm_set1_epi8(4)));
    offset = _mm_or_si128(offset, _mm_and_si128(plus, _mm_set1_epi8(62 - '+')));
    offset = _mm_or_si128(offset, _mm_and_si128(slash, _mm_set1_epi8(63 - '/')));
    const __m128i values = _mm_add_epi8(c, offset);
    // (a << 6 | b) in 16 bits, then (ab << 12 | cd) in 32 bits, then the three bytes in order.
    const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140));
    const __m128i words = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    const __m128i bytes =
        _mm_shuffle_epi8(words, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    alignas(16) unsigned char block[16];
    _mm_store_si128(reinterpret_cast<__m128i*>(block), bytes);
    std::memcpy(out, block, 12);
  }
  return pos;
}

size_t DecodeBlocks(const wchar_t* text, size_t length, unsigned char* out) {
  return SimdAvailable() ? DecodeSimd(text, length, out) : 0;
}

}  // namespace NyBase64::detail
