// Process start and wait against a bare posix_spawn + waitpid loop; wildcard matching against
// fnmatch(3); a wildcard expression's build and match against the wildcard loop.
#include <benchmark/benchmark.h>
#include <fnmatch.h>
#include <spawn.h>
#include <sys/wait.h>

#include <random>
#include <regex>
#include <string>
#include <vector>

#include <nybase/files/Process.h>
#include <nybase/text/RegexHelpers.h>
#include <nybase/text/StringHelpWildcard.h>

#include "BenchSupport.h"

extern char** environ;

namespace {

// One start of /bin/true and its wait, each side (ratio: bare loop time / ours; 1.0 is parity).
void StartAndWaitTrue(benchmark::State& state) {
  nybench::PairTimer t;
  char* argv[] = {const_cast<char*>("/bin/true"), nullptr};
  for (auto _ : state) {
    const double a = nybench::PairTimer::Time([] {
      lu::Process p;
      unsigned code = 1;
      if (!lu::CreateProcessW(L"/bin/true", p, false) || lu::WaitForProcess(p, 0xFFFFFFFFu, code) != 0 || code != 0) std::abort();
      lu::CloseProcess(p);
    });
    t.ours += a;
    t.peer += nybench::PairTimer::Time([&] {
      pid_t pid = 0;
      int status = 0;
      if (posix_spawn(&pid, "/bin/true", nullptr, nullptr, argv, environ) != 0 || waitpid(pid, &status, 0) != pid) std::abort();
    });
    state.SetIterationTime(a);
  }
  t.Report(state, 1, "starts/s");
}

// Names and patterns of the shapes a sound library's filters see.
struct Corpus {
  std::vector<std::string> names, patterns;
  std::vector<std::wstring> wnames, wpatterns;
  Corpus() {
    std::mt19937 rng(3);
    const char* stems[] = {"kick", "snare", "foley_step", "amb_forest", "vo_line", "sfx_door", "whoosh"};
    for (int i = 0; i < 2000; ++i) {
      names.push_back(std::string(stems[rng() % 7]) + "_" + std::to_string(rng() % 1000) + (rng() % 3 ? ".wav" : ".aif"));
    }
    patterns = {"*.wav", "kick*", "*step*.wav", "amb_*_1*", "*o*o*o*", "vo_line_42.wav", "*_9*.wav"};
    for (auto& s : names) wnames.emplace_back(s.begin(), s.end());
    for (auto& s : patterns) wpatterns.emplace_back(s.begin(), s.end());
  }
};

// Every pattern against every name with the library's loop; the number of matches.
size_t OursOverCorpus(const Corpus& c, bool caseSensitive) {
  size_t matches = 0;
  for (const auto& p : c.wpatterns) {
    for (const auto& n : c.wnames) {
      matches += StringHelp::WildcardTextCompare(n.c_str(), p.c_str(), caseSensitive, L'\0', nullptr);
    }
  }
  return matches;
}

void WildcardVsFnmatch(benchmark::State& state) {
  static const Corpus c;
  nybench::PairTimer t;
  for (auto _ : state) {
    size_t ours = 0, peer = 0;
    const double a = nybench::PairTimer::Time([&] { ours = OursOverCorpus(c, true); });
    t.ours += a;
    t.peer += nybench::PairTimer::Time([&] {
      for (const auto& p : c.patterns) {
        for (const auto& n : c.names) peer += fnmatch(p.c_str(), n.c_str(), 0) == 0;
      }
    });
    benchmark::DoNotOptimize(ours + peer);
    state.SetIterationTime(a);
  }
  t.Report(state, double(c.names.size() * c.patterns.size()), "matches/s");
}

// One pattern (state.range(0) indexes the corpus's patterns) against every name: which shapes gain
// or lose against fnmatch.
void WildcardVsFnmatchPattern(benchmark::State& state) {
  static const Corpus c;
  const size_t i = static_cast<size_t>(state.range(0));
  state.SetLabel(c.patterns[i]);
  nybench::PairTimer t;
  for (auto _ : state) {
    size_t ours = 0, peer = 0;
    const double a = nybench::PairTimer::Time([&] {
      for (const auto& n : c.wnames) {
        ours += StringHelp::WildcardTextCompare(n.c_str(), c.wpatterns[i].c_str(), true, L'\0', nullptr);
      }
    });
    t.ours += a;
    t.peer += nybench::PairTimer::Time([&] {
      for (const auto& n : c.names) peer += fnmatch(c.patterns[i].c_str(), n.c_str(), 0) == 0;
    });
    benchmark::DoNotOptimize(ours + peer);
    state.SetIterationTime(a);
  }
  t.Report(state, double(c.names.size()), "matches/s");
}

// The expression route (build once per pattern, then regex_match) as the peer of the loop; the
// ratio says how much the loop saves.
void RegexVsWildcard(benchmark::State& state) {
  static const Corpus c;
  nybench::PairTimer t;
  for (auto _ : state) {
    size_t ours = 0, peer = 0;
    const double a = nybench::PairTimer::Time([&] { ours = OursOverCorpus(c, false); });
    t.ours += a;
    t.peer += nybench::PairTimer::Time([&] {
      for (const auto& p : c.wpatterns) {
        std::wregex re;
        RegexHelpers::BuildRegex(CStdStr<wchar_t>(p), re);
        for (const auto& n : c.wnames) peer += std::regex_match(n, re);
      }
    });
    if (ours != peer) std::abort();  // '?' is literal in both: the same names match
    state.SetIterationTime(a);
  }
  t.Report(state, double(c.names.size() * c.patterns.size()), "matches/s");
}

}  // namespace

BENCHMARK(StartAndWaitTrue)->Name("CreateProcessW_true_vs_posix_spawn")->UseManualTime()->Iterations(1000);
BENCHMARK(WildcardVsFnmatch)->Name("WildcardTextCompare_vs_fnmatch")->UseManualTime();
BENCHMARK(WildcardVsFnmatchPattern)->Name("WildcardTextCompare_vs_fnmatch_pattern")->DenseRange(0, 6)->UseManualTime();
BENCHMARK(RegexVsWildcard)->Name("WildcardTextCompare_vs_BuildRegex_match")->UseManualTime();

BENCHMARK_MAIN();
