// Value rules of ADM metadata: ADM time text, numbers in element text, format types, binary16.
#pragma once

#include <cstdint>
#include <string_view>

namespace nybase::audio::detail {

// "hh:mm:ss.fffff" or "hh:mm:ss.nnnnnSdddd" to milliseconds. Text under 14 characters is 0. With
// an 'S' the fraction is numerator x 1000 / denominator (0 for a zero denominator); without, only
// the three digits after the point count. A field that isn't digits counts 0. Wraps modulo 2^32.
uint32_t AdmTimeToMilliseconds(std::string_view text);

// A float in '.'-decimal general format from the start of the text (leading ASCII whitespace
// allowed, anything after the number ignored); 0 when there is no number or it is out of range.
float ParseAdmFloat(std::string_view text);

// An unsigned decimal number from the start of the text; 0 when there is none or it doesn't fit.
uint32_t ParseAdmUnsigned32(std::string_view text);
uint16_t ParseAdmUnsigned16(std::string_view text);

// The type of a pack or channel format: the last character of a four-character label minus '0';
// otherwise by definition (DirectSpeakers 1, Matrix 2, Objects 3, HOA 4, Binaural 5), else 0.
unsigned int AdmFormatType(std::string_view typeLabel, std::string_view typeDefinition);

// The speaker mask the number of tracks of an object stands for: the default WAVE masks for 1, 2
// and 4 to 8, 0x7 for 3, 0x5637 for 9, 0x563F for 10; 0 for any other number.
uint32_t AdmTrackCountMask(size_t tracks);

// IEEE 754 binary16 of a value, rounded to nearest even; overflow gives infinity, NaN stays NaN.
uint16_t DoubleToHalf(double value);
// The value of a binary16 (exact in double).
double HalfToDouble(uint16_t half);

}  // namespace nybase::audio::detail
