// ADM value rules: time text, numbers, format types and the binary16 encoding.
#include "AdmValues.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

#include "WaveFormatRules.h"

namespace nybase::audio::detail {
namespace {

template <class T>
T ParseUnsignedPrefix(std::string_view text) {
  T value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value, 10);
  return result.ec == std::errc() ? value : T(0);
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Rounds a non-negative value with at most 53 significant bits to the nearest integer, ties to even.
double RoundHalfEven(double x) {
  double whole = std::floor(x);
  const double fraction = x - whole;
  if (fraction > 0.5 || (fraction == 0.5 && std::fmod(whole, 2.0) != 0.0)) whole += 1.0;
  return whole;
}

}  // namespace

uint32_t AdmTimeToMilliseconds(std::string_view text) {
  if (text.size() < 14) return 0;
  const uint64_t hours = ParseUnsignedPrefix<uint64_t>(text.substr(0, 2));
  const uint64_t minutes = ParseUnsignedPrefix<uint64_t>(text.substr(3, 2));
  const uint64_t seconds = ParseUnsignedPrefix<uint64_t>(text.substr(6, 2));
  uint64_t fraction = 0;
  const size_t s = text.find('S');
  if (s != std::string_view::npos) {
    // A sample count over a rate: "00:01:00.24000S48000" is 24000/48000 of a second.
    const uint64_t numerator = s > 9 ? ParseUnsignedPrefix<uint64_t>(text.substr(9, s - 9)) : 0;
    const uint64_t denominator = ParseUnsignedPrefix<uint64_t>(text.substr(s + 1));
    // A zero rate would divide by zero: such a fraction counts 0.
    fraction = denominator != 0 ? numerator * 1000u / denominator : 0;
  } else {
    // Deliberately only milliseconds: digits after the third are dropped, not rounded.
    fraction = ParseUnsignedPrefix<uint64_t>(text.substr(9, 3));
  }
  return static_cast<uint32_t>(((hours * 60 + minutes) * 60 + seconds) * 1000 + fraction);
}

float ParseAdmFloat(std::string_view text) {
  size_t start = 0;
  while (start < text.size() && IsSpace(text[start])) ++start;
  float value = 0.0f;
  const auto result = std::from_chars(text.data() + start, text.data() + text.size(), value,
                                      std::chars_format::general);
  return result.ec == std::errc() ? value : 0.0f;
}

uint32_t ParseAdmUnsigned32(std::string_view text) { return ParseUnsignedPrefix<uint32_t>(text); }

uint16_t ParseAdmUnsigned16(std::string_view text) { return ParseUnsignedPrefix<uint16_t>(text); }

unsigned int AdmFormatType(std::string_view typeLabel, std::string_view typeDefinition) {
  if (typeLabel.size() == 4) {
    // Deliberately unchecked: a label like "000A" gives 17, as the label's last character says.
    return static_cast<unsigned int>(static_cast<unsigned char>(typeLabel[3])) - '0';
  }
  static constexpr std::string_view k_definitions[] = {"DirectSpeakers", "Matrix", "Objects", "HOA",
                                                       "Binaural"};
  for (unsigned int i = 0; i < std::size(k_definitions); ++i) {
    if (typeDefinition == k_definitions[i]) return i + 1;
  }
  return 0;
}

uint32_t AdmTrackCountMask(size_t tracks) {
  switch (tracks) {
    case 3:
      return 0x7;
    case 9:
      return 0x5637;
    case 10:
      return 0x563F;
    default:
      return tracks <= 8 ? DefaultChannelMask(static_cast<unsigned>(tracks)) : 0;
  }
}

uint16_t DoubleToHalf(double value) {
  const uint64_t bits = std::bit_cast<uint64_t>(value);
  const uint16_t sign = static_cast<uint16_t>((bits >> 48) & 0x8000u);
  if (std::isnan(value)) return sign | 0x7E00u;
  const double magnitude = std::fabs(value);
  // 65520 is the midpoint between the largest half (65504) and the next power of two.
  if (magnitude >= 65520.0) return sign | 0x7C00u;
  if (magnitude < 0x1p-14) {
    // Subnormal: a multiple of 2^-24; a rounding up to 1024 units lands on the smallest normal.
    return sign | static_cast<uint16_t>(RoundHalfEven(magnitude * 0x1p24));
  }
  int exponent = 0;
  const double significand = std::frexp(magnitude, &exponent);  // magnitude = significand x 2^exponent
  int biased = exponent - 1 + 15;                                // significand in [0.5, 1)
  double mantissa = RoundHalfEven((significand * 2.0 - 1.0) * 1024.0);
  if (mantissa >= 1024.0) {
    mantissa = 0.0;
    ++biased;
  }
  return sign | static_cast<uint16_t>(biased << 10) | static_cast<uint16_t>(mantissa);
}

double HalfToDouble(uint16_t half) {
  const double sign = (half & 0x8000u) ? -1.0 : 1.0;
  const unsigned exponent = (half >> 10) & 0x1Fu;
  const unsigned mantissa = half & 0x3FFu;
  if (exponent == 0) return sign * std::ldexp(static_cast<double>(mantissa), -24);
  if (exponent == 31) return mantissa ? std::nan("") : sign * INFINITY;
  return sign * std::ldexp(static_cast<double>(mantissa + 1024u), static_cast<int>(exponent) - 25);
}

}  // namespace nybase::audio::detail
