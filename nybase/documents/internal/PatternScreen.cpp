// Screening of schema patterns: a single left-to-right pass with an explicit stack of open groups.
#include "PatternScreen.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace lu::detail {

namespace {

// Number of bytes of a well-formed UTF-8 sequence starting at p (0 when it is not one).
size_t SequenceLength(const unsigned char* p, size_t left) {
  const unsigned char c = p[0];
  size_t n = 0;
  if (c >= 0x01 && c <= 0x7F) return 1;
  if (c >= 0xC2 && c <= 0xDF) n = 2;
  else if (c >= 0xE0 && c <= 0xEF) n = 3;
  else if (c >= 0xF0 && c <= 0xF4) n = 4;
  else return 0;
  if (n > left) return 0;
  for (size_t i = 1; i < n; ++i) {
    if ((p[i] & 0xC0) != 0x80) return 0;
  }
  return n;
}

size_t Saturate(uint64_t v) { return static_cast<size_t>(std::min<uint64_t>(v, k_maxPatternStates + 1)); }

// One open group: whether the alternative being read can match empty text so far, whether an
// earlier alternative could, and the states it holds.
struct Group {
  bool current = true;
  bool earlier = false;
  bool hasOperand = false;  // the alternative being read holds an operand (the engine needs one)
  bool sawBar = false;
  size_t states = 0;
};

// The operand just read, which a quantifier may still apply to.
struct Operand {
  bool present = false;
  bool nullable = false;
  size_t states = 0;
};

// Reads "n}", "n,}" or "n,m}" after '{'; false when malformed.
bool ReadCount(const unsigned char* p, size_t n, size_t& i, uint64_t& low, uint64_t& high, bool& unbounded) {
  auto number = [&](uint64_t& out) {
    const size_t start = i;
    out = 0;
    while (i < n && p[i] >= '0' && p[i] <= '9') {
      out = std::min<uint64_t>(out * 10 + (p[i] - '0'), 1u << 30);
      ++i;
    }
    return i > start;
  };
  if (!number(low)) return false;
  high = low;
  unbounded = false;
  if (i < n && p[i] == ',') {
    ++i;
    if (i < n && p[i] == '}') unbounded = true;
    else if (!number(high) || high < low) return false;
  }
  if (i >= n || p[i] != '}') return false;
  ++i;
  return true;
}

}  // namespace

bool IsSafePattern(const char* pattern, size_t length) {
  const auto* p = reinterpret_cast<const unsigned char*>(pattern);
  for (size_t i = 0; i < length;) {
    const size_t len = SequenceLength(p + i, length - i);
    if (len == 0) return false;
    i += len;
  }
  std::vector<Group> groups(1);
  Operand operand;
  auto flush = [&] {
    if (!operand.present) return;
    Group& g = groups.back();
    g.hasOperand = true;
    g.current = g.current && operand.nullable;
    g.states = Saturate(uint64_t{g.states} + operand.states);
    operand = Operand{};
  };
  for (size_t i = 0; i < length;) {
    const unsigned char c = p[i];
    switch (c) {
      case '(':
        flush();
        groups.emplace_back();
        ++i;
        break;
      case ')': {
        flush();
        // An empty group or alternative leaves the engine's operator without operands.
        if (groups.size() == 1 || !groups.back().hasOperand) return false;
        const Group g = groups.back();
        groups.pop_back();
        operand = Operand{true, g.current || g.earlier, g.states};
        ++i;
        break;
      }
      case '|':
        flush();
        if (!groups.back().hasOperand) return false;
        groups.back().hasOperand = false;
        groups.back().sawBar = true;
        groups.back().earlier = groups.back().earlier || groups.back().current;
        groups.back().current = true;
        ++i;
        break;
      case '*':
      case '+':
      case '?':
        // A repeated operand that can match nothing loops in the engine; '?' alone does not repeat.
        if (!operand.present || (operand.nullable && c != '?')) return false;
        if (c != '+') operand.nullable = true;
        operand.states = Saturate(uint64_t{operand.states} + 1);
        flush();
        ++i;
        break;
      case '{': {
        ++i;
        uint64_t low = 0, high = 0;
        bool unbounded = false;
        if (!operand.present || !ReadCount(p, length, i, low, high, unbounded)) return false;
        if (operand.nullable && (unbounded || high > 1)) return false;
        operand.nullable = operand.nullable || low == 0;
        operand.states = Saturate(uint64_t{operand.states} * ((unbounded ? low : high) + 1));
        flush();
        break;
      }
      case '[': {
        flush();
        ++i;
        while (i < length && p[i] != ']') i += (p[i] == '\\' && i + 1 < length) ? 2 : 1;
        if (i >= length) return false;
        ++i;
        operand = Operand{true, false, 1};
        break;
      }
      case '^':
      case '$':
        // Anchors only set a flag in the engine, wherever they stand: not an operand.
        ++i;
        break;
      case '\\':
        flush();
        if (i + 1 >= length) return false;
        i += 1 + SequenceLength(p + i + 1, length - i - 1);
        operand = Operand{true, false, 1};
        break;
      default:
        flush();
        i += SequenceLength(p + i, length - i);
        operand = Operand{true, false, 1};
        break;
    }
  }
  flush();
  if (groups.size() != 1 || (groups.back().sawBar && !groups.back().hasOperand)) return false;
  return groups.back().states <= k_maxPatternStates;
}

}  // namespace lu::detail
