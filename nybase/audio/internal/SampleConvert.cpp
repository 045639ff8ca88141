// Sample conversion kernels: scalar loops the compiler vectorises, plus x86 SIMD forms chosen once
// at run time for the 16- and 24-bit paths that dominate decoding.
#include "SampleConvert.h"

#include <cmath>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define NYBASE_X86_SIMD 1
#endif

namespace nybase::audio::detail {
namespace {

inline int32_t LoadS24(const uint8_t* p) {
  // Sign-extend through the top byte of a 32-bit word.
  const uint32_t u = (uint32_t(p[0]) << 8) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 24);
  return static_cast<int32_t>(u) >> 8;
}
inline int16_t LoadS16(const uint8_t* p) {
  int16_t v;
  std::memcpy(&v, p, 2);
  return v;
}
inline int32_t LoadS32(const uint8_t* p) {
  int32_t v;
  std::memcpy(&v, p, 4);
  return v;
}
inline float LoadF32(const uint8_t* p) {
  float v;
  std::memcpy(&v, p, 4);
  return v;
}

void S16Scalar(const uint8_t* src, float* dst, size_t count) {
  for (size_t i = 0; i < count; ++i) dst[i] = static_cast<float>(LoadS16(src + 2 * i)) * k_scale16;
}
void S24Scalar(const uint8_t* src, float* dst, size_t count) {
  for (size_t i = 0; i < count; ++i) dst[i] = static_cast<float>(LoadS24(src + 3 * i)) * k_scale24;
}
void S32Scalar(const uint8_t* src, float* dst, size_t count) {
  for (size_t i = 0; i < count; ++i) dst[i] = static_cast<float>(LoadS32(src + 4 * i)) * k_scale32;
}

#if NYBASE_X86_SIMD
__attribute__((target("avx2"))) void S16Avx2(const uint8_t* src, float* dst, size_t count) {
  const __m256 scale = _mm256_set1_ps(k_scale16);
  size_t i = 0;
  for (; i + 16 <= count; i += 16) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i + 16));
    _mm256_storeu_ps(dst + i, _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(a)), scale));
    _mm256_storeu_ps(dst + i + 8,
                     _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(b)), scale));
  }
  S16Scalar(src + 2 * i, dst + i, count - i);
}

// Each 128-bit lane takes four 3-byte samples into the top 24 bits of four 32-bit words; the value
// is then sample x 2^8, and x 2^-31 gives exactly sample x 2^-23.
__attribute__((target("avx2"))) void S24Avx2(const uint8_t* src, float* dst, size_t count) {
  const __m256i shuffle = _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11,
                                           -1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11);
  const __m256 scale = _mm256_set1_ps(k_scale32);
  size_t i = 0;
  // The second 16-byte load of a step reaches 4 bytes beyond its 24: keep it inside the source.
  for (; i + 10 <= count; i += 8) {
    const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 3 * i));
    const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 3 * i + 12));
    const __m256i words = _mm256_shuffle_epi8(_mm256_set_m128i(hi, lo), shuffle);
    _mm256_storeu_ps(dst + i, _mm256_mul_ps(_mm256_cvtepi32_ps(words), scale));
  }
  S24Scalar(src + 3 * i, dst + i, count - i);
}

__attribute__((target("ssse3"))) void S24Ssse3(const uint8_t* src, float* dst, size_t count) {
  const __m128i shuffle = _mm_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11);
  const __m128 scale = _mm_set1_ps(k_scale32);
  size_t i = 0;
  for (; i + 6 <= count; i += 4) {
    const __m128i raw = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 3 * i));
    const __m128i words = _mm_shuffle_epi8(raw, shuffle);
    _mm_storeu_ps(dst + i, _mm_mul_ps(_mm_cvtepi32_ps(words), scale));
  }
  S24Scalar(src + 3 * i, dst + i, count - i);
}
#endif

using Kernel = void (*)(const uint8_t*, float*, size_t);

struct Kernels {
  Kernel s16 = S16Scalar;
  Kernel s24 = S24Scalar;
  Kernels() {
#if NYBASE_X86_SIMD
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2")) {
      s16 = S16Avx2;
      s24 = S24Avx2;
    } else if (__builtin_cpu_supports("ssse3")) {
      s24 = S24Ssse3;
    }
#endif
  }
};

const Kernels& GetKernels() {
  static const Kernels k;
  return k;
}

template <typename Load>
void Strided(const uint8_t* src, size_t srcStride, float* dst, size_t dstStride, size_t frames,
             float gain, Load load) {
  if (gain == 1.0f) {
    for (size_t f = 0; f < frames; ++f) dst[f * dstStride] = load(src + f * srcStride);
  } else {
    for (size_t f = 0; f < frames; ++f) dst[f * dstStride] = load(src + f * srcStride) * gain;
  }
}

}  // namespace

void ConvertContiguous(const uint8_t* src, unsigned width, bool isFloat, float* dst, size_t count) {
  switch (width) {
    case 2:
      GetKernels().s16(src, dst, count);
      break;
    case 3:
      GetKernels().s24(src, dst, count);
      break;
    case 4:
      if (isFloat) {
        std::memcpy(dst, src, count * 4);
      } else {
        S32Scalar(src, dst, count);
      }
      break;
    default:
      break;
  }
}

bool ConvertIntegerWith(KernelSet set, const uint8_t* src, unsigned width, float* dst, size_t count) {
  if (width != 2 && width != 3) return false;
  Kernel kernel = nullptr;
  switch (set) {
    case KernelSet::Scalar:
      kernel = width == 2 ? S16Scalar : S24Scalar;
      break;
#if NYBASE_X86_SIMD
    case KernelSet::Ssse3:
      if (!__builtin_cpu_supports("ssse3")) return false;
      kernel = width == 2 ? S16Scalar : S24Ssse3;
      break;
    case KernelSet::Avx2:
      if (!__builtin_cpu_supports("avx2")) return false;
      kernel = width == 2 ? S16Avx2 : S24Avx2;
      break;
#endif
    default:
      return false;
  }
  kernel(src, dst, count);
  return true;
}

void ConvertChannel(const uint8_t* src, size_t srcStride, unsigned width, bool isFloat, float* dst,
                    size_t dstStride, size_t frames, float gain) {
  switch (width) {
    case 2:
      Strided(src, srcStride, dst, dstStride, frames, gain,
              [](const uint8_t* p) { return static_cast<float>(LoadS16(p)) * k_scale16; });
      break;
    case 3:
      Strided(src, srcStride, dst, dstStride, frames, gain,
              [](const uint8_t* p) { return static_cast<float>(LoadS24(p)) * k_scale24; });
      break;
    case 4:
      if (isFloat) {
        Strided(src, srcStride, dst, dstStride, frames, gain, LoadF32);
      } else {
        Strided(src, srcStride, dst, dstStride, frames, gain,
                [](const uint8_t* p) { return static_cast<float>(LoadS32(p)) * k_scale32; });
      }
      break;
    default:
      break;
  }
}

void ApplyGain(float* dst, size_t dstStride, size_t frames, float gain) {
  for (size_t f = 0; f < frames; ++f) dst[f * dstStride] *= gain;
}

int16_t FloatToInt16(float value) {
  const float x = value * 32767.0f;
  // NaN fails the first test and takes the top of the range.
  if (!(x < 32767.0f)) return 32767;
  if (x <= -32768.0f) return -32768;
  return static_cast<int16_t>(static_cast<int32_t>(x));
}

void NarrowToInt16(const uint8_t* src, unsigned width, bool isFloat, int16_t* dst, size_t count) {
  switch (width) {
    case 4:
      if (isFloat) {
        for (size_t i = 0; i < count; ++i) dst[i] = FloatToInt16(LoadF32(src + 4 * i));
      } else {
        for (size_t i = 0; i < count; ++i) dst[i] = static_cast<int16_t>(LoadS32(src + 4 * i) >> 16);
      }
      break;
    case 3:
      for (size_t i = 0; i < count; ++i) dst[i] = LoadS16(src + 3 * i + 1);
      break;
    default:
      break;
  }
}

}  // namespace nybase::audio::detail
