// Path algebra cost: Join of three parts and Canonicalize of a ten-element path against plain
// std::wstring concatenation, in time and in heap allocations per call.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <string>

#include <nybase/files/Path.h>

namespace {
std::atomic<long long> g_allocations{0};
}

// Every allocation of the process is counted (the library's too: it resolves to these).
void* operator new(size_t n) {
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}
void* operator new[](size_t n) { return operator new(n); }
void* operator new(size_t n, const std::nothrow_t&) noexcept {
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(n ? n : 1);
}
void* operator new[](size_t n, const std::nothrow_t& t) noexcept { return operator new(n, t); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

namespace {

const std::wstring k_a = L"C:\\Users\\someone\\Documents";
const std::wstring k_b = L"Sound Design/Project 12";
const std::wstring k_c = L"take_001.wav";
// Ten elements with one "." and one ".." to resolve and a doubled separator.
const std::wstring k_tenElements = L"C:\\Projects\\Audio\\.\\Sessions\\2024\\..\\Mix\\\\Stems\\Drums\\kick_01.wav";
const std::wstring k_pieces[] = {L"C:",  L"Projects", L"Audio", L".",     L"Sessions",   L"2024",
                                 L"..",  L"Mix",      L"",      L"Stems", L"Drums",      L"kick_01.wav"};

void SetAllocationCounter(benchmark::State& state, long long before) {
  state.counters["allocs/call"] =
      static_cast<double>(g_allocations.load(std::memory_order_relaxed) - before) / static_cast<double>(state.iterations());
}

void BM_PathJoin3(benchmark::State& state) {
  const long long before = g_allocations.load();
  for (auto _ : state) {
    lu::Path p = lu::Path::Join({k_a, k_b, k_c});
    benchmark::DoNotOptimize(p.c_str());
  }
  SetAllocationCounter(state, before);
}

// The peer: the same three parts appended with separators into one reserved string.
void BM_WstringConcat3(benchmark::State& state) {
  const long long before = g_allocations.load();
  for (auto _ : state) {
    std::wstring s;
    s.reserve(k_a.size() + k_b.size() + k_c.size() + 2);
    s.append(k_a).append(1, L'\\').append(k_b).append(1, L'\\').append(k_c);
    benchmark::DoNotOptimize(s.data());
  }
  SetAllocationCounter(state, before);
}

void BM_PathCanonicalize10(benchmark::State& state) {
  const long long before = g_allocations.load();
  for (auto _ : state) {
    lu::Path p(k_tenElements);  // the copy is the returned string's one allocation
    p.Canonicalize();
    benchmark::DoNotOptimize(p.c_str());
  }
  SetAllocationCounter(state, before);
}

void BM_PathCombine3(benchmark::State& state) {
  const long long before = g_allocations.load();
  for (auto _ : state) {
    lu::Path p = lu::Path::Combine({k_a, k_b, k_c});
    benchmark::DoNotOptimize(p.c_str());
  }
  SetAllocationCounter(state, before);
}

// The peer: the same ten-element text built by plain concatenation of its pieces.
void BM_WstringConcat10(benchmark::State& state) {
  const long long before = g_allocations.load();
  for (auto _ : state) {
    std::wstring s;
    s.reserve(k_tenElements.size());
    for (const std::wstring& piece : k_pieces) {
      if (!s.empty()) s.push_back(L'\\');
      s.append(piece);
    }
    benchmark::DoNotOptimize(s.data());
  }
  SetAllocationCounter(state, before);
}

BENCHMARK(BM_PathJoin3);
BENCHMARK(BM_WstringConcat3);
BENCHMARK(BM_PathCombine3);
BENCHMARK(BM_PathCanonicalize10);
BENCHMARK(BM_WstringConcat10);

// Console output as usual, and the CPU times kept to print the ratios at the end (CPU time, as
// the machine is shared and wall time counts the waits for a core).
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      m_nsPerCall[r.benchmark_name()] = r.GetAdjustedCPUTime();
      auto it = r.counters.find("allocs/call");
      if (it != r.counters.end()) m_allocs[r.benchmark_name()] = it->second;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  void PrintRatio(const char* what, const std::string& ours, const std::string& peer) const {
    auto a = m_nsPerCall.find(ours);
    auto b = m_nsPerCall.find(peer);
    if (a == m_nsPerCall.end() || b == m_nsPerCall.end() || b->second <= 0) return;
    std::printf("%-34s %7.1f ns vs %6.1f ns  ratio %.2fx  allocations/call %.2f vs %.2f\n", what, a->second,
                b->second, a->second / b->second, Allocs(ours), Allocs(peer));
  }

 private:
  double Allocs(const std::string& name) const {
    auto it = m_allocs.find(name);
    return it == m_allocs.end() ? -1 : static_cast<double>(it->second);
  }
  std::map<std::string, double> m_nsPerCall;
  std::map<std::string, double> m_allocs;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n");
  reporter.PrintRatio("Join(3 parts) / wstring concat", "BM_PathJoin3", "BM_WstringConcat3");
  reporter.PrintRatio("Combine(3 parts) / wstring concat", "BM_PathCombine3", "BM_WstringConcat3");
  reporter.PrintRatio("Canonicalize(10) / wstring concat", "BM_PathCanonicalize10", "BM_WstringConcat10");
  benchmark::Shutdown();
  return 0;
}
