// The WAV writer's encoding kernels: SSE2 for the little-endian 16- and 24-bit forms, scalar
// elsewhere; both compute in double, where the scaled product is exact.
#include <nybase/audio/internal/PcmEncode.h>

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace nybase::audio::detail {

namespace {

// Clamps to [lo, hi]; NaN fails the first comparison and so becomes hi. These are the semantics of
// the packed min and max instructions used below, so the vector and scalar paths agree on NaN.
inline double Clamp(double v, double lo, double hi) {
  v = v < hi ? v : hi;
  return v > lo ? v : lo;
}

inline int32_t ScaleClampTrunc(float x, double scale, double lo, double hi) {
  // The product of a float and a constant below 2^24 is exact in double, so truncation sees the
  // true value.
  return static_cast<int32_t>(Clamp(double(x) * scale, lo, hi));
}

inline uint32_t LoadBits(const float* p) {
  uint32_t bits;
  std::memcpy(&bits, p, 4);
  return bits;
}

#if defined(__SSE2__)
// ScaleClampTrunc for four samples. min_pd returns its second operand for a NaN first operand,
// exactly as Clamp does.
inline __m128i ScaleClampTrunc4(const float* in, __m128d scale, __m128d lo, __m128d hi) {
  const __m128 x = _mm_loadu_ps(in);
  const __m128d low = _mm_mul_pd(_mm_cvtps_pd(x), scale);
  const __m128d high = _mm_mul_pd(_mm_cvtps_pd(_mm_movehl_ps(x, x)), scale);
  const __m128i a = _mm_cvttpd_epi32(_mm_max_pd(_mm_min_pd(low, hi), lo));
  const __m128i b = _mm_cvttpd_epi32(_mm_max_pd(_mm_min_pd(high, hi), lo));
  return _mm_unpacklo_epi64(a, b);
}

// The low three bytes of each 32-bit lane, packed into the low twelve bytes.
inline __m128i Pack24(__m128i v) {
  const __m128i lane0 = _mm_setr_epi32(0xFFFFFF, 0, 0, 0);
  const __m128i lane1 = _mm_setr_epi32(0, 0xFFFFFF, 0, 0);
  const __m128i lane2 = _mm_setr_epi32(0, 0, 0xFFFFFF, 0);
  const __m128i lane3 = _mm_setr_epi32(0, 0, 0, 0xFFFFFF);
  return _mm_or_si128(
      _mm_or_si128(_mm_and_si128(v, lane0), _mm_srli_si128(_mm_and_si128(v, lane1), 1)),
      _mm_or_si128(_mm_srli_si128(_mm_and_si128(v, lane2), 2), _mm_srli_si128(_mm_and_si128(v, lane3), 3)));
}
#endif

}  // namespace

void EncodeFloatToPcm16(const float* src, size_t count, bool bigEndian, uint8_t* dst) {
  size_t i = 0;
  if (!bigEndian) {
#if defined(__SSE2__)
    const __m128d scale = _mm_set1_pd(32767.0);
    const __m128d lo = _mm_set1_pd(-32768.0);
    const __m128d hi = _mm_set1_pd(32767.0);
    for (; i + 8 <= count; i += 8) {
      const __m128i packed = _mm_packs_epi32(ScaleClampTrunc4(src + i, scale, lo, hi),
                                             ScaleClampTrunc4(src + i + 4, scale, lo, hi));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 2 * i), packed);
    }
#endif
  }
  for (; i < count; ++i) {
    const auto v = static_cast<uint16_t>(ScaleClampTrunc(src[i], 32767.0, -32768.0, 32767.0));
    dst[2 * i] = static_cast<uint8_t>(bigEndian ? v >> 8 : v);
    dst[2 * i + 1] = static_cast<uint8_t>(bigEndian ? v : v >> 8);
  }
}

void EncodeFloatToPcm24(const float* src, size_t count, uint8_t* dst) {
  size_t i = 0;
#if defined(__SSE2__)
  // Sixteen samples become 48 bytes, stored as three 16-byte words.
  const __m128d scale = _mm_set1_pd(8388607.0);
  const __m128d lo = _mm_set1_pd(-8388608.0);
  const __m128d hi = _mm_set1_pd(8388607.0);
  for (; i + 16 <= count; i += 16) {
    const __m128i p0 = Pack24(ScaleClampTrunc4(src + i, scale, lo, hi));
    const __m128i p1 = Pack24(ScaleClampTrunc4(src + i + 4, scale, lo, hi));
    const __m128i p2 = Pack24(ScaleClampTrunc4(src + i + 8, scale, lo, hi));
    const __m128i p3 = Pack24(ScaleClampTrunc4(src + i + 12, scale, lo, hi));
    auto* out = reinterpret_cast<__m128i*>(dst + 3 * i);
    _mm_storeu_si128(out, _mm_or_si128(p0, _mm_slli_si128(p1, 12)));
    _mm_storeu_si128(out + 1, _mm_or_si128(_mm_srli_si128(p1, 4), _mm_slli_si128(p2, 8)));
    _mm_storeu_si128(out + 2, _mm_or_si128(_mm_srli_si128(p2, 8), _mm_slli_si128(p3, 4)));
  }
#endif
  for (; i < count; ++i) {
    const auto v = static_cast<uint32_t>(ScaleClampTrunc(src[i], 8388607.0, -8388608.0, 8388607.0));
    dst[3 * i] = static_cast<uint8_t>(v);
    dst[3 * i + 1] = static_cast<uint8_t>(v >> 8);
    dst[3 * i + 2] = static_cast<uint8_t>(v >> 16);
  }
}

void EncodeFloatToPcm24BigEndianScaled(const float* src, size_t count, uint8_t* dst) {
  for (size_t i = 0; i < count; ++i) {
    const auto v = static_cast<uint32_t>(ScaleClampTrunc(src[i], 838607.0, -838608.0, 838607.0));
    dst[3 * i] = static_cast<uint8_t>(v >> 16);
    dst[3 * i + 1] = static_cast<uint8_t>(v >> 8);
    dst[3 * i + 2] = static_cast<uint8_t>(v);
  }
}

void EncodeFloatSwapped(const float* src, size_t count, uint8_t* dst) {
  for (size_t i = 0; i < count; ++i) {
    const uint32_t v = __builtin_bswap32(LoadBits(src + i));
    std::memcpy(dst + 4 * i, &v, 4);
  }
}

void SwapPcm16(const int16_t* src, size_t count, uint8_t* dst) {
  for (size_t i = 0; i < count; ++i) {
    const uint16_t v = __builtin_bswap16(static_cast<uint16_t>(src[i]));
    std::memcpy(dst + 2 * i, &v, 2);
  }
}

}  // namespace nybase::audio::detail
