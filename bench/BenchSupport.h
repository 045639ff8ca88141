// Shared benchmark plumbing: interleaved repetitions and a reporter that keeps the best times.
#pragma once

#include <benchmark/benchmark.h>

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

}  // namespace nybench
