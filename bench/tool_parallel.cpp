// nybase onsets over many one-minute files with -j 1 and -j 2: the speed-up of the tool's parallel
// file processing, printed as the ratio of the two wall times (the target is 1.8x on 2 cores).
// NYBASE_BENCH_TOOL_FILES sets the number of files (default 200).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "BenchSupport.h"


namespace {

constexpr unsigned k_rate = 48000;
constexpr unsigned k_seconds = 60;

std::string g_tool;
std::vector<std::string> g_files;
double g_best[3] = {0, std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
double g_cpu[3] = {0, 0, 0};  // processor seconds of the child in its best run

void PutLE(std::vector<unsigned char>& out, uint32_t v, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<unsigned char>(v >> (8 * i)));
}

// A one-minute mono 16-bit file of noise bursts, different in every file.
void WriteFile(const std::string& path, uint32_t seed) {
  const uint32_t frames = k_rate * k_seconds;
  std::vector<unsigned char> b;
  b.reserve(44 + frames * 2);
  b.insert(b.end(), {'R', 'I', 'F', 'F'});
  PutLE(b, 36 + frames * 2, 4);
  b.insert(b.end(), {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '});
  PutLE(b, 16, 4);
  PutLE(b, 1, 2);
  PutLE(b, 1, 2);
  PutLE(b, k_rate, 4);
  PutLE(b, k_rate * 2, 4);
  PutLE(b, 2, 2);
  PutLE(b, 16, 2);
  b.insert(b.end(), {'d', 'a', 't', 'a'});
  PutLE(b, frames * 2, 4);
  uint32_t noise = seed * 2654435761u + 1;
  for (uint32_t i = 0; i < frames; ++i) {
    noise = noise * 1664525u + 1013904223u;
    const uint32_t phase = (i + seed * 997) % (k_rate / 2);  // a burst every half second
    const double env = phase < 4800 ? 1.0 - phase / 4800.0 : 0.0;
    const auto v = static_cast<int16_t>(env * static_cast<int32_t>((noise >> 16) & 0x7FFF) - env * 16384);
    PutLE(b, static_cast<uint16_t>(v), 2);
  }
  FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr || std::fwrite(b.data(), 1, b.size(), f) != b.size()) std::abort();
  std::fclose(f);
}

// Runs the tool with stdout to /dev/null; returns the wall time in seconds and the child's
// processor time (user + system) in `cpu`.
double RunOnsets(unsigned jobs, double& cpu) {
  std::vector<std::string> args = {g_tool, "onsets", "-j", std::to_string(jobs)};
  args.insert(args.end(), g_files.begin(), g_files.end());
  return nybench::RunQuiet(std::move(args), true, &cpu, true);
}

void BM_ToolOnsets(benchmark::State& state) {
  const auto jobs = static_cast<unsigned>(state.range(0));
  for (auto _ : state) {
    double cpu = 0;
    const double t = RunOnsets(jobs, cpu);
    state.SetIterationTime(t);
    if (t < g_best[jobs]) {
      g_best[jobs] = t;
      g_cpu[jobs] = cpu;
    }
  }
  state.counters["files"] = static_cast<double>(g_files.size());
  state.counters["files/s"] = static_cast<double>(g_files.size()) / g_best[jobs];
  state.counters["cores busy"] = g_cpu[jobs] / g_best[jobs];
}

BENCHMARK(BM_ToolOnsets)->Arg(1)->Arg(2)->Iterations(2)->UseManualTime()->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
  g_tool = nybench::FindTool();
  if (g_tool.empty()) return 1;
  const char* count = std::getenv("NYBASE_BENCH_TOOL_FILES");
  const int files = count != nullptr ? std::max(2, std::atoi(count)) : 200;
  char tmp[] = "/tmp/nybase-bench-tool-XXXXXX";
  if (mkdtemp(tmp) == nullptr) return 1;
  std::printf("writing %d one-minute files to %s ...\n", files, tmp);
  for (int i = 0; i < files; ++i) {
    g_files.push_back(std::string(tmp) + "/take" + std::to_string(i) + ".wav");
    WriteFile(g_files.back(), static_cast<uint32_t>(i));
  }

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::printf("  nybase onsets over %d one-minute files: -j 1 %.2f s, -j 2 %.2f s, speed-up %.2fx "
              "(target 1.8x on 2 cores; this machine has %ld)\n",
              files, g_best[1], g_best[2], g_best[1] / g_best[2], sysconf(_SC_NPROCESSORS_ONLN));
  std::printf("  cores kept busy: -j 1 %.2f, -j 2 %.2f (a loaded machine gives -j 2 less than 2)\n",
              g_cpu[1] / g_best[1], g_cpu[2] / g_best[2]);

  for (const std::string& f : g_files) std::remove(f.c_str());
  rmdir(tmp);
  return 0;
}
