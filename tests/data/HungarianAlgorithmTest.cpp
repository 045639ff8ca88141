// Assignment: stated examples, minimality against brute force, tie order against the literal steps.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <numeric>
#include <random>
#include <stdexcept>

#include <nybase/NYBase.h>

#include "bench/HungarianReference.h"

namespace {

Array2D<int> Random(size_t n, int lo, int hi, std::mt19937& rng) {
  Array2D<int> a(n, n);
  std::uniform_int_distribution<int> d(lo, hi);
  for (int& v : a.GetData()) v = d(rng);
  return a;
}

int64_t Total(const Array2D<int>& costs, const std::vector<int>& assign) {
  int64_t sum = 0;
  for (size_t x = 0; x < assign.size(); ++x) sum += costs(x, static_cast<size_t>(assign[x]));
  return sum;
}

int64_t BruteForceMinimum(const Array2D<int>& costs) {
  std::vector<int> perm(costs.GetWidth());
  std::iota(perm.begin(), perm.end(), 0);
  int64_t best = INT64_MAX;
  do {
    best = std::min(best, Total(costs, perm));
  } while (std::next_permutation(perm.begin(), perm.end()));
  return best;
}

}  // namespace

TEST(Array2D, IndexesRowMajorAndThrowsPastTheEnd) {
  Array2D<int> a(3, 2, 7);
  a(2, 1) = 5;
  EXPECT_EQ(a.GetData()[5], 5);
  EXPECT_EQ(a(3, 0), 7);  // x beyond the width reaches the next row
  try {
    a(0, 2);
    FAIL() << "no throw";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "invalid vector subscript");
  }
}

TEST(HungarianAlgorithm, StatedExamples) {
  std::vector<int> out = {9};
  Array2D<int> empty;
  HungarianAlgorithm::FindAssignments(empty, out);
  EXPECT_TRUE(out.empty());

  Array2D<int> rect(3, 2, 1);
  out = {4, 5};
  HungarianAlgorithm::FindAssignments(rect, out);
  EXPECT_EQ(out, (std::vector<int>{4, 5}));
  EXPECT_EQ(rect.GetData(), std::vector<int>(6, 1));

  Array2D<int> one(1, 1, 42);
  HungarianAlgorithm::FindAssignments(one, out);
  EXPECT_EQ(out, std::vector<int>{0});

  Array2D<int> two(2, 2);
  two.GetData() = {1, 2, 2, 1};  // row y: (0,0)=1 (1,0)=2 / (0,1)=2 (1,1)=1
  HungarianAlgorithm::FindAssignments(two, out);
  EXPECT_EQ(out, (std::vector<int>{0, 1}));

  Array2D<int> flat(5, 5, 3);
  HungarianAlgorithm::FindAssignments(flat, out);
  EXPECT_EQ(out, (std::vector<int>{0, 1, 2, 3, 4}));
  EXPECT_EQ(flat.GetData(), std::vector<int>(25, 0));
}

TEST(HungarianAlgorithm, MinimalOverAllPermutationsUpToEight) {
  // Costs at the int limits too: the working arithmetic is 64-bit, so spans wider than the int
  // range neither overflow nor lose the optimum (only the reduced costs written back wrap).
  const int extremes[] = {INT_MIN, INT_MIN + 1, -1, 0, 1, INT_MAX - 1, INT_MAX};
  std::mt19937 rng(7);
  for (size_t n = 1; n <= 8; ++n) {
    for (int round = 0; round < (n < 7 ? 90 : 9); ++round) {
      Array2D<int> costs = Random(n, 0, 3, rng);  // tie-heavy
      if (round % 3 == 1) costs = Random(n, -500, 1000, rng);
      if (round % 3 == 2) {
        for (int& v : costs.GetData()) v = extremes[rng() % std::size(extremes)];
      }
      Array2D<int> work = costs;
      std::vector<int> out;
      HungarianAlgorithm::FindAssignments(work, out);
      ASSERT_EQ(out.size(), n);
      std::vector<int> sorted = out;
      std::sort(sorted.begin(), sorted.end());
      for (size_t i = 0; i < n; ++i) ASSERT_EQ(sorted[i], static_cast<int>(i));
      ASSERT_EQ(Total(costs, out), BruteForceMinimum(costs)) << "n=" << n;
    }
  }
}

TEST(HungarianAlgorithm, SameAssignmentAndReducedCostsAsTheLiteralSteps) {
  std::mt19937 rng(11);
  for (size_t n : {2, 3, 5, 9, 16, 33, 60}) {
    for (int round = 0; round < 12; ++round) {
      const int hi = round % 3 == 0 ? 1 : (round % 3 == 1 ? 3 : 100000);
      Array2D<int> a = Random(n, 0, hi, rng);
      Array2D<int> b = a;
      std::vector<int> ours;
      std::vector<int> ref;
      HungarianAlgorithm::FindAssignments(a, ours);
      HungarianReference::FindAssignments(b, ref);
      ASSERT_EQ(ours, ref) << "n=" << n << " round=" << round;
      ASSERT_EQ(a.GetData(), b.GetData()) << "n=" << n << " round=" << round;
    }
  }
}
