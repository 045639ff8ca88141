// Screening of schema patterns that rapidjson 1.1.0's regular-expression engine cannot run safely.
#pragma once

#include <cstddef>

namespace lu::detail {

// Largest pattern, in engine states after counted repetitions are expanded, that is accepted.
// The engine's matcher recurses once per chained optional state, so this also bounds its depth.
inline constexpr size_t k_maxPatternStates = 4096;

// True when the pattern is safe to hand to the engine: well-formed UTF-8 without zero bytes
// (the engine decodes past the end of a truncated sequence), groups and classes closed, no empty
// group or alternative (the engine then combines operands it does not have: "a||b", "()"), no
// repeated operand that can match the empty text (the engine recurses without end on "(a*)*"),
// and no more than k_maxPatternStates states. Anything it cannot make sense of is refused too.
bool IsSafePattern(const char* pattern, size_t length);

}  // namespace lu::detail
