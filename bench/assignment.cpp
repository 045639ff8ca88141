// Assignment speed: HungarianAlgorithm::FindAssignments against the literal steps.
//
// Every iteration runs both on copies of the same costs and aborts unless assignments and
// reduced costs are identical; "ratio" is reference time / library time (above 1: faster).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>

#include <nybase/data/HungarianAlgorithm.h>

#include "HungarianReference.h"

namespace {

using Clock = std::chrono::steady_clock;

void Assignment(benchmark::State& state) {
  const size_t n = static_cast<size_t>(state.range(0));
  const int maxCost = static_cast<int>(state.range(1));
  std::mt19937 rng(static_cast<unsigned>(n * 31 + static_cast<size_t>(maxCost)));
  std::uniform_int_distribution<int> dist(0, maxCost);
  double ours = 0;
  double ref = 0;
  for (auto _ : state) {
    Array2D<int> costs(n, n);
    for (int& v : costs.GetData()) v = dist(rng);
    Array2D<int> refCosts = costs;
    std::vector<int> a1;
    std::vector<int> a2;
    auto t0 = Clock::now();
    HungarianAlgorithm::FindAssignments(costs, a1);
    auto t1 = Clock::now();
    HungarianReference::FindAssignments(refCosts, a2);
    auto t2 = Clock::now();
    if (a1 != a2 || costs.GetData() != refCosts.GetData()) {
      std::fprintf(stderr, "assignment mismatch at n=%zu\n", n);
      std::abort();
    }
    ours += std::chrono::duration<double>(t1 - t0).count();
    ref += std::chrono::duration<double>(t2 - t1).count();
  }
  state.counters["ratio"] = ref / ours;
  state.counters["ny_ms"] = ours * 1e3 / static_cast<double>(state.iterations());
  state.counters["ref_ms"] = ref * 1e3 / static_cast<double>(state.iterations());
}

}  // namespace

// Arguments: n, largest cost (3 makes many ties).
BENCHMARK(Assignment)->Args({100, 100000})->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(Assignment)->Args({400, 100000})->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(Assignment)->Args({200, 3})->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(Assignment)->Args({1000, 100000})->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
