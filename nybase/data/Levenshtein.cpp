// Levenshtein: bit-parallel edit distance (Myers' method in Hyyro's block form for global distance).
#include <nybase/data/Levenshtein.h>

#include <cstdint>
#include <vector>

namespace Levenshtein {

namespace {

using Word = uint64_t;
constexpr int k_wordBits = 64;

// The match masks of one block of at most 64 pattern units: a direct table for units below 128
// and a small open-addressing table for the rest (at most 64 keys in 128 slots).
class BlockMasks {
 public:
  void Build(const uint16_t* units, int count) {
    for (Word& w : m_ascii) w = 0;
    for (uint32_t& k : m_keys) k = 0;
    for (int i = 0; i < count; ++i) {
      const uint16_t c = units[i];
      const Word bit = Word{1} << i;
      if (c < 128) {
        m_ascii[c] |= bit;
      } else {
        m_masks[Slot(c)] |= bit;
      }
    }
  }

  Word Get(uint16_t c) const {
    if (c < 128) return m_ascii[c];
    for (uint32_t s = Hash(c);; s = (s + 1) & (k_slots - 1)) {
      if (m_keys[s] == 0) return 0;
      if (m_keys[s] == Key(c)) return m_masks[s];
    }
  }

 private:
  static constexpr uint32_t k_slots = 128;
  static uint32_t Key(uint16_t c) { return uint32_t{c} + 1; }  // 0 marks an empty slot
  static uint32_t Hash(uint16_t c) { return (uint32_t{c} * 0x9E3779B1u) >> 25; }

  uint32_t Slot(uint16_t c) {
    uint32_t s = Hash(c);
    while (m_keys[s] != 0 && m_keys[s] != Key(c)) s = (s + 1) & (k_slots - 1);
    if (m_keys[s] == 0) {
      m_keys[s] = Key(c);
      m_masks[s] = 0;
    }
    return s;
  }

  Word m_ascii[128];
  uint32_t m_keys[k_slots];
  Word m_masks[k_slots];
};

std::vector<uint16_t> Units(const CStdStr<wchar_t>& s) {
  // The elements hold UTF-16 code units; only their 16 bits take part, as the distance is defined
  // over 16-bit units.
  std::vector<uint16_t> units(s.size());
  for (size_t i = 0; i < s.size(); ++i) units[i] = static_cast<uint16_t>(s[i]);
  return units;
}

}  // namespace

int GetDistance(const CStdStr<wchar_t>& first, const CStdStr<wchar_t>& second) {
  if (first.empty()) return static_cast<int>(second.size());
  if (second.empty()) return static_cast<int>(first.size());

  // The distance is symmetric: the shorter string is the pattern, split into 64-unit blocks down
  // the columns of the dynamic programme, and the longer one the text along its rows. Blocks are
  // worked one after the other over the whole text; between two blocks only the horizontal
  // difference at each text position (-1, 0 or +1) is kept, so memory is linear.
  const bool firstShorter = first.size() <= second.size();
  const std::vector<uint16_t> pattern = Units(firstShorter ? first : second);
  const std::vector<uint16_t> text = Units(firstShorter ? second : first);
  const size_t m = pattern.size();
  const size_t n = text.size();
  const size_t blocks = (m + k_wordBits - 1) / k_wordBits;

  // Row 0 of the programme is 0, 1, 2, ...: every horizontal difference into block 0 is +1.
  std::vector<int8_t> carry(n, 1);
  BlockMasks masks;
  int64_t score = static_cast<int64_t>(m);  // D[m][0]
  for (size_t b = 0; b < blocks; ++b) {
    const size_t start = b * k_wordBits;
    const int count = static_cast<int>(m - start < k_wordBits ? m - start : k_wordBits);
    const bool last = b + 1 == blocks;
    // Rows beyond m in the last block never match and only feed rows below themselves.
    const Word outBit = Word{1} << (last ? count - 1 : k_wordBits - 1);
    masks.Build(pattern.data() + start, count);
    Word pv = ~Word{0};  // column 0 grows by 1 per row
    Word mv = 0;
    for (size_t j = 0; j < n; ++j) {
      const int hin = carry[j];
      const Word hinNeg = hin < 0 ? 1 : 0;
      const Word hinPos = hin > 0 ? 1 : 0;
      Word eq = masks.Get(text[j]);
      const Word xv = eq | mv;
      eq |= hinNeg;
      const Word xh = (((eq & pv) + pv) ^ pv) | eq;
      Word ph = mv | ~(xh | pv);
      Word mh = pv & xh;
      const int hout = ((ph & outBit) != 0 ? 1 : 0) - ((mh & outBit) != 0 ? 1 : 0);
      ph = (ph << 1) | hinPos;
      mh = (mh << 1) | hinNeg;
      pv = mh | ~(xv | ph);
      mv = ph & xv;
      if (last) {
        score += hout;
      } else {
        carry[j] = static_cast<int8_t>(hout);
      }
    }
  }
  return static_cast<int>(score);
}

}  // namespace Levenshtein
