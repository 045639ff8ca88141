// Interned strings and text helpers: CachedString and ROString against a std::unordered_set of
// std::wstring behind a std::mutex; handle equality against std::wstring equality; SplitString
// and CaseInsensitiveSearch against the obvious std::wstring loops.
//
// Interning: 1,000,000 calls over a vocabulary of 50,000 distinct identifiers, as when a project's
// files are read: the texts come one after the other from a stream (each a string of its own,
// drawn uniformly from the vocabulary), and the vocabulary is already present on both sides, as in
// a project that is open: the peer's set is filled beforehand and the library's vocabulary handles
// are held. With 2 threads each thread takes half of the stream. Ratio = peer time / library time, best of
// the repetitions: CPU time for one thread (steadier on a shared machine), wall time for two.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <locale>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

#include <nybase/text/CachedString.h>
#include <nybase/text/ROString.h>
#include <nybase/text/StringHelp.h>

#include "BenchSupport.h"

namespace {

constexpr size_t k_words = 50000;
constexpr size_t k_calls = 1000000;

// camelCase identifiers of 2 to 4 parts, some with digits, as names in a project.
const std::vector<CStdStr<wchar_t>>& Vocabulary() {
  static const std::vector<CStdStr<wchar_t>> words = [] {
    static const wchar_t* const k_parts[] = {L"audio", L"Track", L"gain", L"Bus",    L"send",  L"Return", L"reverb",
                                             L"Delay", L"eq",    L"Low",  L"high",   L"Shelf", L"marker", L"Region",
                                             L"clip",  L"Fade",  L"in",   L"Out",    L"voice", L"Layer",  L"foley",
                                             L"Step",  L"door",  L"Slam", L"engine", L"Rpm",   L"wind",   L"Gust"};
    std::mt19937 rng(5);
    std::unordered_set<std::wstring> seen;
    std::vector<CStdStr<wchar_t>> out;
    while (out.size() < k_words) {
      std::wstring w;
      const int parts = 2 + static_cast<int>(rng() % 3);
      for (int p = 0; p < parts; ++p) w += k_parts[rng() % std::size(k_parts)];
      if (rng() % 2) w += std::to_wstring(rng() % 100);
      if (seen.insert(w).second) out.emplace_back(w);
    }
    return out;
  }();
  return words;
}

const std::vector<uint32_t>& Calls() {
  static const std::vector<uint32_t> calls = [] {
    std::mt19937 rng(11);
    std::vector<uint32_t> out(k_calls);
    for (auto& i : out) i = static_cast<uint32_t>(rng() % k_words);
    return out;
  }();
  return calls;
}

// The texts of the million calls, in call order.
const std::vector<CStdStr<wchar_t>>& Stream() {
  static const std::vector<CStdStr<wchar_t>> stream = [] {
    std::vector<CStdStr<wchar_t>> out;
    out.reserve(k_calls);
    for (uint32_t i : Calls()) out.push_back(Vocabulary()[i]);
    return out;
  }();
  return stream;
}

// Runs body(first, last) over the calls split among the threads, and waits for them.
template <typename Body>
void Split(int threads, Body body) {
  if (threads == 1) {
    body(size_t{0}, k_calls);
    return;
  }
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t) {
    pool.emplace_back(body, k_calls * t / threads, k_calls * (t + 1) / threads);
  }
  for (auto& th : pool) th.join();
}

// The interning calls are timed; releasing the million handles they made is not (the peer has no
// such step), and is measured by BM_CachedStringTemporary instead.
void BM_CachedString(benchmark::State& state) {
  const auto& words = Vocabulary();
  const auto& stream = Stream();
  const int threads = static_cast<int>(state.range(0));
  const std::vector<lu::CachedString> vocabulary(words.begin(), words.end());
  std::vector<lu::CachedString> made(k_calls);
  for (auto _ : state) {
    Split(threads, [&](size_t first, size_t last) {
      for (size_t i = first; i < last; ++i) made[i] = lu::CachedString(stream[i]);
    });
    state.PauseTiming();
    Split(threads, [&](size_t first, size_t last) {
      for (size_t i = first; i < last; ++i) made[i].Empty();
    });
    state.ResumeTiming();
  }
}

// Each call's handle is released right after it is made: interning and release, timed together.
void BM_CachedStringTemporary(benchmark::State& state) {
  const auto& words = Vocabulary();
  const auto& stream = Stream();
  const std::vector<lu::CachedString> vocabulary(words.begin(), words.end());
  for (auto _ : state) {
    Split(static_cast<int>(state.range(0)), [&](size_t first, size_t last) {
      for (size_t i = first; i < last; ++i) {
        const lu::CachedString s(stream[i]);
        benchmark::DoNotOptimize(s.c_str());
      }
    });
  }
}

void BM_ROString(benchmark::State& state) {
  const auto& words = Vocabulary();
  const auto& stream = Stream();
  for (const auto& w : words) ROString{w};
  std::vector<ROString> made(k_calls);
  for (auto _ : state) {
    Split(static_cast<int>(state.range(0)), [&](size_t first, size_t last) {
      for (size_t i = first; i < last; ++i) made[i] = ROString(stream[i]);
    });
  }
}

// The peer: a set of wide strings behind one mutex; an interning call is a find-or-insert that
// returns the element's address.
void BM_MutexUnorderedSet(benchmark::State& state) {
  const auto& words = Vocabulary();
  const auto& stream = Stream();
  std::mutex lock;
  std::unordered_set<std::wstring> set(words.begin(), words.end());
  std::vector<const std::wstring*> made(k_calls);
  for (auto _ : state) {
    Split(static_cast<int>(state.range(0)), [&](size_t first, size_t last) {
      for (size_t i = first; i < last; ++i) {
        std::lock_guard<std::mutex> hold(lock);
        made[i] = &*set.insert(stream[i]).first;
      }
    });
  }
}

// Equality of two handles of one text against equality of two copies of that text.
void BM_CachedStringEquality(benchmark::State& state) {
  const auto& words = Vocabulary();
  const auto& calls = Calls();
  const std::vector<lu::CachedString> a(words.begin(), words.end());
  const std::vector<lu::CachedString> b(words.begin(), words.end());
  for (auto _ : state) {
    size_t equal = 0;
    for (uint32_t i : calls) equal += a[i] == b[(i + (i & 1)) % k_words];
    benchmark::DoNotOptimize(equal);
  }
}

void BM_WStringEquality(benchmark::State& state) {
  const auto& words = Vocabulary();
  const auto& calls = Calls();
  const std::vector<std::wstring> a(words.begin(), words.end());
  const std::vector<std::wstring> b(words.begin(), words.end());
  for (auto _ : state) {
    size_t equal = 0;
    for (uint32_t i : calls) equal += a[i] == b[(i + (i & 1)) % k_words];
    benchmark::DoNotOptimize(equal);
  }
}

// About 1 MiB of comma-separated identifiers with some empty items.
const CStdStr<wchar_t>& Csv() {
  static const CStdStr<wchar_t> text = [] {
    CStdStr<wchar_t> t;
    const auto& words = Vocabulary();
    for (size_t i = 0; t.size() < (1u << 18); ++i) {
      if (i % 17 != 0) t += words[(i * 7919) % k_words];
      t += L',';
    }
    return t;
  }();
  return text;
}

void BM_SplitString(benchmark::State& state) {
  std::vector<CStdStr<wchar_t>> items;
  for (auto _ : state) {
    StringHelp::SplitString(Csv(), L',', items);
    benchmark::DoNotOptimize(items.data());
  }
}

// A vector of the caller's that the loop reuses (as the benchmark above does) or a fresh one each time.
void BM_SplitStringFresh(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<CStdStr<wchar_t>> items;
    StringHelp::SplitString(Csv(), L',', items);
    benchmark::DoNotOptimize(items.data());
  }
}

void WStringSplitLoop(benchmark::State& state, bool fresh) {
  std::vector<std::wstring> items;
  const std::wstring& text = Csv();
  for (auto _ : state) {
    if (fresh) items = std::vector<std::wstring>();
    items.clear();
    size_t pos = 0;
    while (pos < text.size()) {
      size_t end = text.find(L',', pos);
      if (end == std::wstring::npos) end = text.size();
      items.push_back(text.substr(pos, end - pos));
      pos = end + 1;
    }
    benchmark::DoNotOptimize(items.data());
  }
}

// Seeking each of 64 words (half of them absent, with 'x' appended) in a 64 KiB text made of
// the vocabulary with accented capitals mixed in.
struct SearchInput {
  CStdStr<wchar_t> text;
  std::vector<CStdStr<wchar_t>> sought;
};
const SearchInput& Search() {
  static const SearchInput in = [] {
    SearchInput s;
    const auto& words = Vocabulary();
    for (size_t i = 0; s.text.size() < 65536; ++i) {
      s.text += words[(i * 104729) % k_words];
      s.text += (i % 5 == 0) ? L" \u00c9T\u00c9 " : L" ";
    }
    for (size_t i = 0; i < 64; ++i) {
      CStdStr<wchar_t> w = words[(i * 104729 * 13) % k_words];
      StringHelp::ToLower(w);
      if (i % 2) w += L'x';
      s.sought.push_back(w);
    }
    return s;
  }();
  return in;
}

void BM_CaseInsensitiveSearch(benchmark::State& state) {
  const SearchInput& in = Search();
  for (auto _ : state) {
    size_t found = 0;
    for (const auto& w : in.sought) found += StringHelp::CaseInsensitiveSearch(in.text, w);
    benchmark::DoNotOptimize(found);
  }
}

// The obvious loop: fold copies of both texts with the same locale's ctype, then std::wstring::find.
void BM_WStringUpperFind(benchmark::State& state) {
  const SearchInput& in = Search();
  std::locale loc;
  try {
    loc = std::locale("C.UTF-8");
  } catch (const std::runtime_error&) {
  }
  const auto& ct = std::use_facet<std::ctype<wchar_t>>(loc);
  for (auto _ : state) {
    size_t found = 0;
    for (const auto& w : in.sought) {
      std::wstring a = in.text;
      std::wstring b = w;
      ct.toupper(a.data(), a.data() + a.size());
      ct.toupper(b.data(), b.data() + b.size());
      found += a.find(b) != std::wstring::npos;
    }
    benchmark::DoNotOptimize(found);
  }
}

}  // namespace

BENCHMARK(BM_CachedString)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);
BENCHMARK(BM_CachedStringTemporary)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);
BENCHMARK(BM_ROString)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);
BENCHMARK(BM_MutexUnorderedSet)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);
BENCHMARK(BM_CachedStringEquality)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(BM_WStringEquality)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(BM_SplitString)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(BM_SplitStringFresh)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK_CAPTURE(WStringSplitLoop, reused, false)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK_CAPTURE(WStringSplitLoop, fresh, true)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(BM_CaseInsensitiveSearch)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(BM_WStringUpperFind)->Unit(benchmark::kMillisecond)->Repetitions(5);

int main(int argc, char** argv) {
  nybench::InitializeInterleaved(argc, argv);
  nybench::BestTimeReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  auto ratio = [&](const char* what, const std::string& ours, const std::string& peer, const char* target,
                   bool wall = false) {
    auto& best = wall ? reporter.bestReal : reporter.bestCpu;
    if (!best.count(ours) || !best.count(peer)) return;
    std::printf("%-44s %6.2fx  (%s / %s, %s time, best of repetitions; target %s)\n", what,
                best[peer] / best[ours], peer.c_str(), ours.c_str(), wall ? "wall" : "CPU", target);
  };
  ratio("CachedString interning, 1 thread", "BM_CachedString/1", "BM_MutexUnorderedSet/1", ">= 1.5");
  ratio("CachedString interning, 2 threads", "BM_CachedString/2", "BM_MutexUnorderedSet/2", ">= 1.5", true);
  ratio("CachedString intern + release, 1 thread", "BM_CachedStringTemporary/1", "BM_MutexUnorderedSet/1", "-");
  ratio("CachedString intern + release, 2 threads", "BM_CachedStringTemporary/2", "BM_MutexUnorderedSet/2", "-",
        true);
  ratio("ROString interning, 1 thread", "BM_ROString/1", "BM_MutexUnorderedSet/1", ">= 1.5");
  ratio("ROString interning, 2 threads", "BM_ROString/2", "BM_MutexUnorderedSet/2", ">= 1.5", true);
  ratio("handle equality vs std::wstring ==", "BM_CachedStringEquality", "BM_WStringEquality", "pointer compare");
  ratio("SplitString vs find/substr loop, reused", "BM_SplitString", "WStringSplitLoop/reused", ">= 1.0");
  ratio("SplitString vs find/substr loop, fresh", "BM_SplitStringFresh", "WStringSplitLoop/fresh", ">= 1.0");
  ratio("CaseInsensitiveSearch vs upper copies + find", "BM_CaseInsensitiveSearch", "BM_WStringUpperFind", ">= 1.0");
  std::printf("interning: %zu calls over %zu distinct words\n", k_calls, k_words);
  benchmark::Shutdown();
  return 0;
}
