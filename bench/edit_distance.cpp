// Edit distance speed and memory: Levenshtein::GetDistance against the full-matrix programme.
//
// Every iteration runs both on the same pair, aborts if the distances differ, and times both;
// "ratio" is reference time / library time (above 1: the library is faster). The peak heap of
// one call of each is reported as ny_KB and ref_KB.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>

#include <nybase/data/Levenshtein.h>

#include "BenchAllocations.h"

namespace {

using Clock = std::chrono::steady_clock;

// The programme read literally: one (m + 1) x (n + 1) matrix of 32-bit integers.
int ReferenceDistance(const CStdStr<wchar_t>& a, const CStdStr<wchar_t>& b) {
  const size_t m = a.size();
  const size_t n = b.size();
  if (m == 0) return static_cast<int>(n);
  if (n == 0) return static_cast<int>(m);
  const size_t w = n + 1;
  std::unique_ptr<int32_t[]> d(new int32_t[(m + 1) * w]);
  for (size_t j = 0; j <= n; ++j) d[j] = static_cast<int32_t>(j);
  for (size_t i = 1; i <= m; ++i) {
    d[i * w] = static_cast<int32_t>(i);
    for (size_t j = 1; j <= n; ++j) {
      const int32_t cost = static_cast<uint16_t>(a[i - 1]) == static_cast<uint16_t>(b[j - 1]) ? 0 : 1;
      d[i * w + j] = std::min({d[(i - 1) * w + j] + 1, d[i * w + j - 1] + 1, d[(i - 1) * w + j - 1] + cost});
    }
  }
  return d[m * w + n];
}

// Text over 26 letters and a few units beyond ASCII; the second string is the first with about
// one unit in eight substituted, deleted or inserted, as in near-duplicate names.
std::pair<CStdStr<wchar_t>, CStdStr<wchar_t>> MakePair(size_t len) {
  static const wchar_t k_extra[] = {0x00E9, 0x00FC, 0x4E2D, 0xD83C, 0xDFB5};
  std::mt19937 rng(static_cast<unsigned>(len));
  auto unit = [&] { return rng() % 16 == 0 ? k_extra[rng() % 5] : static_cast<wchar_t>(L'a' + rng() % 26); };
  CStdStr<wchar_t> a(len, 0);
  for (wchar_t& c : a) c = unit();
  CStdStr<wchar_t> b;
  for (wchar_t c : a) {
    switch (rng() % 24) {
      case 0: b += unit(); break;
      case 1: break;
      case 2: b += c; b += unit(); break;
      default: b += c; break;
    }
  }
  b.resize(std::min(b.size(), len));
  return {a, b};
}

void EditDistance(benchmark::State& state) {
  const auto [a, b] = MakePair(static_cast<size_t>(state.range(0)));
  double ours = 0;
  double ref = 0;
  for (auto _ : state) {
    auto t0 = Clock::now();
    const int d1 = Levenshtein::GetDistance(a, b);
    auto t1 = Clock::now();
    const int d2 = ReferenceDistance(a, b);
    auto t2 = Clock::now();
    if (d1 != d2) {
      std::fprintf(stderr, "distance mismatch: %d vs %d\n", d1, d2);
      std::abort();
    }
    ours += std::chrono::duration<double>(t1 - t0).count();
    ref += std::chrono::duration<double>(t2 - t1).count();
    benchmark::DoNotOptimize(d1);
  }
  size_t base = nybench::ResetHeapPeak();
  benchmark::DoNotOptimize(Levenshtein::GetDistance(a, b));
  state.counters["ny_KB"] = static_cast<double>(nybench::HeapPeakSince(base)) / 1024;
  base = nybench::ResetHeapPeak();
  benchmark::DoNotOptimize(ReferenceDistance(a, b));
  state.counters["ref_KB"] = static_cast<double>(nybench::HeapPeakSince(base)) / 1024;
  state.counters["ratio"] = ref / ours;
  state.counters["distance"] = Levenshtein::GetDistance(a, b);
}

}  // namespace

BENCHMARK(EditDistance)->Arg(16)->Arg(512)->Unit(benchmark::kMicrosecond);
BENCHMARK(EditDistance)->Arg(10000)->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
