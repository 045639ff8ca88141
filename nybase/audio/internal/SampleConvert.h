// Sample conversion kernels of the WAV reader: PCM and float bytes to float32 and int16.
#pragma once

#include <cstddef>
#include <cstdint>

namespace nybase::audio::detail {

// Exact scales: the integer is converted to float first, then multiplied once.
inline constexpr float k_scale16 = 1.0f / 32768.0f;          // 2^-15
inline constexpr float k_scale24 = 1.0f / 8388608.0f;        // 2^-23
inline constexpr float k_scale32 = 1.0f / 2147483648.0f;     // 2^-31

// True for the sample widths the float conversion writes: 2, 3 and 4 bytes.
constexpr bool IsConvertibleWidth(unsigned width) { return width >= 2 && width <= 4; }

// Converts count contiguous samples of `width` bytes (4-byte samples are IEEE floats when isFloat)
// into dst. Widths other than 2, 3, 4 write nothing.
void ConvertContiguous(const uint8_t* src, unsigned width, bool isFloat, float* dst, size_t count);

// The instruction sets the 16- and 24-bit kernels come in; ConvertContiguous picks the best one
// this CPU has. ConvertIntegerWith runs a given one (2- or 3-byte samples) and is false when this
// CPU or build doesn't have it: it lets every kernel be checked against the scalar one.
enum class KernelSet { Scalar, Ssse3, Avx2 };
bool ConvertIntegerWith(KernelSet set, const uint8_t* src, unsigned width, float* dst, size_t count);

// Converts `frames` samples of one channel: sample f is at src + f*srcStride bytes and goes to
// dst[f*dstStride], multiplied by gain after the conversion. Widths other than 2, 3, 4 write
// nothing.
void ConvertChannel(const uint8_t* src, size_t srcStride, unsigned width, bool isFloat, float* dst,
                    size_t dstStride, size_t frames, float gain);

// Multiplies `frames` values at dst[f*dstStride] by gain.
void ApplyGain(float* dst, size_t dstStride, size_t frames, float gain);

// Float to int16: x * 32767 in float, clamped to [-32768, 32767], truncated towards zero; NaN gives 32767.
int16_t FloatToInt16(float value);

// Narrows count contiguous samples of `width` bytes to int16: floats by FloatToInt16, 32-bit
// integers by their top 16 bits, 24-bit by their upper two bytes. Other widths are not handled
// here (the caller copies them raw).
void NarrowToInt16(const uint8_t* src, unsigned width, bool isFloat, int16_t* dst, size_t count);

}  // namespace nybase::audio::detail
