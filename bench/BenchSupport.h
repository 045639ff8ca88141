// Shared benchmark plumbing: interleaved repetitions and a reporter that keeps the best times.
#pragma once

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace nybench {

// benchmark::Initialize with random interleaving of repetitions switched on, so that drift in
// the machine's speed does not favour either side of a comparison.
inline void InitializeInterleaved(int argc, char** argv) {
  static std::string interleave = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> args(argv, argv + argc);
  args.insert(args.begin() + 1, interleave.data());
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
}

// Keeps the fastest wall and CPU time per iteration of each benchmark across its repetitions,
// keyed by "Function" or "Function/args". On a shared machine the CPU time is the steadier.
class BestTimeReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.iterations == 0 || r.error_occurred) continue;
      const double n = static_cast<double>(r.iterations);
      std::string name = r.run_name.function_name;
      if (!r.run_name.args.empty()) name += "/" + r.run_name.args;
      Keep(bestReal, name, r.real_accumulated_time / n);
      Keep(bestCpu, name, r.cpu_accumulated_time / n);
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> bestReal;
  std::map<std::string, double> bestCpu;

 private:
  static void Keep(std::map<std::string, double>& best, const std::string& name, double t) {
    auto it = best.find(name);
    if (it == best.end() || t < it->second) best[name] = t;
  }
};

// Times the library and its peer on the same input inside one iteration, so that their ratio is
// measured under the same conditions: `ratio` is peer time / library time (above 1 means the
// library is faster). Report the library's time as the iteration's (UseManualTime).
struct PairTimer {
  double ours = 0;
  double peer = 0;
  template <typename F>
  static double Time(F&& f) {
    const auto t0 = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  }
  // Adds the ratio, and items per second of each side when `itemsPerIteration` is given.
  void Report(benchmark::State& state, double itemsPerIteration = 0, const char* unit = "items/s") const {
    const double n = static_cast<double>(state.iterations());
    state.counters["ratio"] = peer / ours;
    if (itemsPerIteration > 0) {
      state.counters[std::string("ny_") + unit] = itemsPerIteration * n / ours;
      state.counters[std::string("peer_") + unit] = itemsPerIteration * n / peer;
    }
  }
};

// The nybase tool beside the benchmarks in the build tree (<build>/bench/../tools/nybase/nybase);
// empty, with a line on stderr, when it is not built there.
inline std::string FindTool() {
  char self[4096];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return {};
  self[n] = '\0';
  std::string dir(self);
  const std::string tool = dir.substr(0, dir.find_last_of('/')) + "/../tools/nybase/nybase";
  if (access(tool.c_str(), X_OK) == 0) return tool;
  std::fprintf(stderr, "the nybase tool is not built at %s\n", tool.c_str());
  return {};
}

// Runs a program (found on PATH) with stdout, and stderr unless `keepStderr`, to /dev/null and
// returns its wall time in seconds; its processor time (user + system) goes to `cpu` when given.
// A program that cannot start, or exits other than 0 when `mustSucceed`, ends the benchmark.
inline double RunQuiet(std::vector<std::string> args, bool mustSucceed = true, double* cpu = nullptr,
                       bool keepStderr = false) {
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  if (!keepStderr) posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  const auto start = std::chrono::steady_clock::now();
  pid_t pid = 0;
  if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
    std::fprintf(stderr, "%s cannot be started\n", args[0].c_str());
    std::exit(1);
  }
  int status = 0;
  struct rusage usage {};
  wait4(pid, &status, 0, &usage);
  const double t = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  posix_spawn_file_actions_destroy(&actions);
  if (cpu != nullptr) {
    *cpu = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  }
  if (mustSucceed && (!WIFEXITED(status) || WEXITSTATUS(status) != 0)) {
    std::fprintf(stderr, "%s failed (status %d)\n", args[0].c_str(), status);
    std::exit(1);
  }
  return t;
}

}  // namespace nybench
