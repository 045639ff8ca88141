// Edit distance: stated examples and random strings against the plain dynamic programme.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include <nybase/NYBase.h>

namespace {

int ReferenceDistance(const CStdStr<wchar_t>& a, const CStdStr<wchar_t>& b) {
  std::vector<int> prev(b.size() + 1);
  std::vector<int> cur(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) prev[j] = static_cast<int>(j);
  for (size_t i = 1; i <= a.size(); ++i) {
    cur[0] = static_cast<int>(i);
    for (size_t j = 1; j <= b.size(); ++j) {
      const int same = static_cast<uint16_t>(a[i - 1]) == static_cast<uint16_t>(b[j - 1]) ? 0 : 1;
      cur[j] = std::min({prev[j] + 1, cur[j - 1] + 1, prev[j - 1] + same});
    }
    std::swap(prev, cur);
  }
  return prev[b.size()];
}

CStdStr<wchar_t> RandomText(std::mt19937& rng, const std::vector<wchar_t>& alphabet, size_t len) {
  CStdStr<wchar_t> s;
  for (size_t i = 0; i < len; ++i) s.push_back(alphabet[rng() % alphabet.size()]);
  return s;
}

}  // namespace

TEST(Levenshtein, StatedExamples) {
  const struct {
    const wchar_t* a;
    const wchar_t* b;
    int d;
  } cases[] = {{L"", L"abc", 3}, {L"abc", L"", 3}, {L"", L"", 0}, {L"flaw", L"lawn", 2},
               {L"abc", L"ABC", 3}, {L"ab", L"ba", 2}, {L"kitten", L"sitting", 3}};
  for (const auto& c : cases) EXPECT_EQ(Levenshtein::GetDistance(c.a, c.b), c.d) << c.a << "/" << c.b;
}

TEST(Levenshtein, UnitsNotCharactersAndEmbeddedNuls) {
  const CStdStr<wchar_t> clef = {0xD834, 0xDD1E};  // one character beyond the BMP
  EXPECT_EQ(Levenshtein::GetDistance(clef, L"x"), 2);
  const CStdStr<wchar_t> withNul(L"a\0b", 3);
  EXPECT_EQ(Levenshtein::GetDistance(withNul, L"ab"), 1);
}

TEST(Levenshtein, RandomStringsMatchTheDynamicProgramme) {
  std::mt19937 rng(5);
  const std::vector<std::vector<wchar_t>> alphabets = {
      {L'a', L'b'},
      {L'a', L'c', L'g', L't'},
      {L'a', 0, 0xD834, 0xDD1E, 0x00E9, 0xFFFF},  // NUL, a surrogate pair, Latin, the top unit
      {L'x', 0x4E00, 0x4E01, 0x0100, 0x0180, 0x0200, 0x0280, 0x0300},  // many non-ASCII keys
  };
  const size_t lengths[] = {0, 1, 2, 63, 64, 65, 127, 128, 129, 200, 300};
  for (const auto& alphabet : alphabets) {
    for (int round = 0; round < 40; ++round) {
      const size_t la = round < 20 ? lengths[rng() % std::size(lengths)] : rng() % 301;
      const size_t lb = round < 20 ? lengths[rng() % std::size(lengths)] : rng() % 301;
      const CStdStr<wchar_t> a = RandomText(rng, alphabet, la);
      CStdStr<wchar_t> b = RandomText(rng, alphabet, lb);
      if (round % 4 == 0) {  // a near copy, where the distance is small
        b = a;
        for (int k = 0; k < 3 && !b.empty(); ++k) b[rng() % b.size()] = alphabet[rng() % alphabet.size()];
      }
      ASSERT_EQ(Levenshtein::GetDistance(a, b), ReferenceDistance(a, b)) << la << "x" << lb;
    }
  }
}

TEST(Levenshtein, HundredThousandUnitsInLinearMemory) {
  std::mt19937 rng(9);
  const CStdStr<wchar_t> a = RandomText(rng, {L'a', L'b', L'c', 0x3042}, 100000);
  CStdStr<wchar_t> b = a;
  b[10] = L'z';
  b.erase(50000, 2);
  b.insert(b.begin() + 99000, L'q');
  EXPECT_EQ(Levenshtein::GetDistance(a, b), 4);
}
