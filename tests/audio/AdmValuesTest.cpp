// ADM value rules: time text to milliseconds, format types, binary16.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <nybase/audio/internal/AdmValues.h>

using namespace nybase::audio::detail;

TEST(AdmTime, TextToMilliseconds) {
  const struct {
    const char* text;
    uint32_t ms;
  } cases[] = {
      {"00:00:01.50099", 1500},          // three fraction digits count, the rest dropped, not rounded
      {"01:02:03.04500", 3723045},
      {"00:01:00.24000S48000", 60500},  // samples over rate
      {"00:00:00.00001S3", 333},        // integer division
      {"00:00:07.00005S0", 7000},       // a zero rate counts 0, no trap
      {"00:00:01.5000", 0},             // 13 characters: too short
      {"xx:00:05.12345", 5123},         // only the bad field counts 0
      {"S0:00:05.00000", 5000},         // an 'S' before the fraction leaves no numerator
  };
  for (const auto& c : cases) EXPECT_EQ(AdmTimeToMilliseconds(c.text), c.ms) << c.text;
}

TEST(Half, EncodingRoundsToNearestEven) {
  const struct {
    double value;
    uint16_t half;
  } cases[] = {
      {65519.99, 0x7BFF},                 // largest finite
      {65520.0, 0x7C00},                  // rounds up to infinity
      {2049.0, 0x6800},                   // ties go to the even mantissa, down ...
      {2051.0, 0x6802},                   // ... or up
      {std::ldexp(3.0, -25), 0x0002},     // 1.5 subnormal units: up to even
      {std::ldexp(1023.5, -24), 0x0400},  // rounds into the normal range
      {-5.1e-12, 0x8000},                 // underflow keeps the sign
  };
  for (const auto& c : cases) EXPECT_EQ(DoubleToHalf(c.value), c.half) << c.value;
  EXPECT_EQ(DoubleToHalf(std::nan("")) & 0x7C00, 0x7C00);
  EXPECT_NE(DoubleToHalf(std::nan("")) & 0x3FF, 0);
}

TEST(Half, EveryFiniteHalfSurvivesTheRoundTrip) {
  for (uint32_t h = 0; h <= 0xFFFF; ++h) {
    if ((h & 0x7C00) == 0x7C00) continue;  // infinities and NaNs
    ASSERT_EQ(DoubleToHalf(HalfToDouble(static_cast<uint16_t>(h))), h) << std::hex << h;
  }
}
