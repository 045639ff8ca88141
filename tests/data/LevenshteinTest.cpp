// Edit distance: stated examples and random strings against the plain dynamic programme.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>
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
  CStdStr<wchar_t> s(len, 0);
  for (wchar_t& c : s) c = alphabet[rng() % alphabet.size()];
  return s;
}

}  // namespace

TEST(Levenshtein, StatedExamplesCountUnitsAndNuls) {
  const std::tuple<CStdStr<wchar_t>, CStdStr<wchar_t>, int> cases[] = {
      {L"", L"abc", 3},         {L"abc", L"", 3},    {L"", L"", 0},
      {L"flaw", L"lawn", 2},    {L"abc", L"ABC", 3}, {L"ab", L"ba", 2},
      {{0xD834, 0xDD1E}, L"x", 2},  // one character beyond the BMP is two units
      {CStdStr<wchar_t>(L"a\0b", 3), L"ab", 1}};
  for (const auto& [a, b, d] : cases) EXPECT_EQ(Levenshtein::GetDistance(a, b), d) << CStdStr<char>(a) << "/" << CStdStr<char>(b);
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
      const CStdStr<wchar_t> b = RandomText(rng, alphabet, lb);
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
