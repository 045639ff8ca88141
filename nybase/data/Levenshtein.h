// Levenshtein: the edit distance of two wide strings, counted in 16-bit code units.
#pragma once

#include <nybase/text/CStdStr.h>

namespace Levenshtein {

// The least number of single-unit insertions, deletions and substitutions (each costing 1, no
// transposition) that turn first into second. Units are compared as 16-bit values: case-sensitive,
// no normalisation, a character beyond the BMP counts as two units, embedded NULs count.
// Time grows with the product of the lengths (divided by 64); memory with their sum.
// Nothing fails; std::bad_alloc from the working arrays leaves by exception.
int GetDistance(const CStdStr<wchar_t>& first, const CStdStr<wchar_t>& second);

}  // namespace Levenshtein
