// Tree operations on 100,000 files in 1,000 folders against their peers in one run: the listings
// against std::filesystem::recursive_directory_iterator and `find -type f`, CopyFilesRecursive
// against `cp -r`, RemoveDirectoryRecursive against `rm -rf`; and `nybase info -r` over 10,000
// small WAV files against `soxi` given the same files in one call. Prints the ratios (peer time
// over ours: above 1 means faster) and files per second.
// NYBASE_BENCH_DIR_FILES scales the tree (default 100000, kept at 100 files a folder);
// NYBASE_BENCH_WAV_FILES the catalogue (default 10000); NYBASE_BENCH_DIR_ROOT the folder the trees
// are made in (default /tmp; /dev/shm measures the code rather than the disk's journal).
#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <nybase/files/DirectoryRecursive.h>
#include <nybase/platform/NativePath.h>

#include "BenchSupport.h"


namespace {

using Clock = std::chrono::steady_clock;

std::string g_root;      // the generated tree
std::string g_scratch;   // copies and removals happen here
std::string g_wavDir;    // the catalogue
std::vector<std::string> g_wavFiles;
std::string g_tool;
size_t g_files = 0;
std::map<std::string, double> g_best;

std::wstring Wide(const std::string& native) { return lu::platform::FromNativePath(native); }

void Keep(const std::string& name, double seconds) {
  auto it = g_best.find(name);
  if (it == g_best.end() || seconds < it->second) g_best[name] = seconds;
}

double Since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

void WriteFile(const std::string& path, const std::vector<unsigned char>& bytes) {
  FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) std::abort();
  std::fclose(f);
}

void PutLE(std::vector<unsigned char>& out, uint32_t v, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<unsigned char>(v >> (8 * i)));
}

void PutTag(std::vector<unsigned char>& out, const char* tag) {
  for (; *tag; ++tag) out.push_back(static_cast<unsigned char>(*tag));
}

// A 0.1 s mono 16-bit WAV file.
std::vector<unsigned char> SmallWav(uint32_t seed) {
  const uint32_t frames = 4800;
  std::vector<unsigned char> b;
  PutTag(b, "RIFF");
  PutLE(b, 36 + frames * 2, 4);
  PutTag(b, "WAVEfmt ");
  PutLE(b, 16, 4);
  PutLE(b, 1, 2);
  PutLE(b, 1, 2);
  PutLE(b, 48000, 4);
  PutLE(b, 96000, 4);
  PutLE(b, 2, 2);
  PutLE(b, 16, 2);
  PutTag(b, "data");
  PutLE(b, frames * 2, 4);
  for (uint32_t i = 0; i < frames; ++i) PutLE(b, (i * 7919u + seed) & 0xFFFF, 2);
  return b;
}

// --- Listings --------------------------------------------------------------------------------

void BM_ListDirectoryRecursive(benchmark::State& state) {
  const std::wstring root = Wide(g_root);
  for (auto _ : state) {
    const auto start = Clock::now();
    std::vector<CStdStr<wchar_t>> out;
    lu::ListDirectoryRecursive(root, out);
    Keep("list", Since(start));
    if (out.size() != g_files) state.SkipWithError("wrong count");
  }
}

void BM_GetFilesRecursive(benchmark::State& state) {
  const std::wstring root = Wide(g_root);
  for (auto _ : state) {
    const auto start = Clock::now();
    std::set<CStdStr<wchar_t>> out;
    lu::GetFilesRecursive(root, out, L"*", 0);
    Keep("files", Since(start));
    if (out.size() != g_files) state.SkipWithError("wrong count");
  }
}

void BM_StdRecursiveIterator(benchmark::State& state) {
  for (auto _ : state) {
    const auto start = Clock::now();
    std::vector<std::string> out;
    for (const auto& e : std::filesystem::recursive_directory_iterator(g_root)) {
      if (!e.is_directory()) out.push_back(e.path().string());
    }
    Keep("std", Since(start));
    if (out.size() != g_files) state.SkipWithError("wrong count");
  }
}

void BM_FindTypeF(benchmark::State& state) {
  for (auto _ : state) Keep("find", nybench::RunQuiet({"find", g_root, "-type", "f"}));
}

// --- Copy and removal: a fresh target for every repetition -------------------------------------

void BM_CopyFilesRecursive(benchmark::State& state) {
  for (auto _ : state) {
    const std::string target = g_scratch + "/ours";
    const auto start = Clock::now();
    const bool ok = lu::CopyFilesRecursive(Wide(g_root), Wide(target), nullptr, true);
    const double t = Since(start);
    state.SetIterationTime(t);
    Keep("copy", t);
    if (!ok) state.SkipWithError("copy failed");
    nybench::RunQuiet({"rm", "-rf", target});
  }
}

void BM_CpR(benchmark::State& state) {
  for (auto _ : state) {
    const std::string target = g_scratch + "/cp";
    const double t = nybench::RunQuiet({"cp", "-r", g_root, target});
    state.SetIterationTime(t);
    Keep("cp", t);
    nybench::RunQuiet({"rm", "-rf", target});
  }
}

void BM_RemoveDirectoryRecursive(benchmark::State& state) {
  for (auto _ : state) {
    const std::string target = g_scratch + "/ours-rm";
    nybench::RunQuiet({"cp", "-r", g_root, target});
    const auto start = Clock::now();
    lu::RemoveDirectoryRecursive(Wide(target), nullptr);
    const double t = Since(start);
    state.SetIterationTime(t);
    Keep("remove", t);
    if (access(target.c_str(), F_OK) == 0) state.SkipWithError("tree left behind");
  }
}

void BM_RmRf(benchmark::State& state) {
  for (auto _ : state) {
    const std::string target = g_scratch + "/rm";
    nybench::RunQuiet({"cp", "-r", g_root, target});
    const double t = nybench::RunQuiet({"rm", "-rf", target});
    state.SetIterationTime(t);
    Keep("rm", t);
  }
}

// --- The catalogue ---------------------------------------------------------------------------

void BM_NybaseInfoRecursive(benchmark::State& state) {
  for (auto _ : state) {
    const double t = nybench::RunQuiet({g_tool, "info", "-r", g_wavDir});
    state.SetIterationTime(t);
    Keep("info", t);
  }
}

void BM_Soxi(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<std::string> args = {"soxi"};
    args.insert(args.end(), g_wavFiles.begin(), g_wavFiles.end());
    const double t = nybench::RunQuiet(args);
    state.SetIterationTime(t);
    Keep("soxi", t);
  }
}

BENCHMARK(BM_ListDirectoryRecursive)->Repetitions(5)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetFilesRecursive)->Repetitions(5)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StdRecursiveIterator)->Repetitions(5)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FindTypeF)->Repetitions(5)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CopyFilesRecursive)->Repetitions(2)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK(BM_CpR)->Repetitions(2)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK(BM_RemoveDirectoryRecursive)->Repetitions(2)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK(BM_RmRf)->Repetitions(2)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK(BM_NybaseInfoRecursive)->Repetitions(3)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Soxi)->Repetitions(3)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

void Ratio(const char* what, const char* ours, const char* peer, double target, size_t files) {
  const double a = g_best[ours], b = g_best[peer];
  std::printf("  %-44s %8.0f files/s vs %8.0f files/s: %.2fx (target %.1fx)\n", what, files / a, files / b, b / a,
              target);
}

}  // namespace

int main(int argc, char** argv) {
  g_tool = nybench::FindTool();
  if (g_tool.empty()) return 1;
  const char* count = std::getenv("NYBASE_BENCH_DIR_FILES");
  g_files = count != nullptr ? static_cast<size_t>(std::max(100, std::atoi(count))) : 100000;
  const char* wavCount = std::getenv("NYBASE_BENCH_WAV_FILES");
  const int wavs = wavCount != nullptr ? std::max(10, std::atoi(wavCount)) : 10000;

  const char* base = std::getenv("NYBASE_BENCH_DIR_ROOT");
  std::string pattern = std::string(base != nullptr ? base : "/tmp") + "/nybase-bench-dir-XXXXXX";
  char* tmp = pattern.data();
  if (mkdtemp(tmp) == nullptr) return 1;
  g_root = std::string(tmp) + "/tree";
  g_scratch = std::string(tmp) + "/scratch";
  g_wavDir = std::string(tmp) + "/wavs";
  std::filesystem::create_directories(g_scratch);
  // 100 files a folder, folders in ten groups: 1,000 folders for 100,000 files.
  const size_t folders = (g_files + 99) / 100;
  std::printf("writing %zu files in %zu folders and %d WAV files under %s ...\n", g_files, folders, wavs, tmp);
  const std::vector<unsigned char> content(64, 'x');
  for (size_t f = 0; f < folders; ++f) {
    const std::string folder = g_root + "/g" + std::to_string(f % 10) + "/d" + std::to_string(f);
    std::filesystem::create_directories(folder);
    for (size_t i = 0; i < 100 && f * 100 + i < g_files; ++i) WriteFile(folder + "/file" + std::to_string(i) + ".dat", content);
  }
  for (int i = 0; i < wavs; ++i) {
    const std::string folder = g_wavDir + "/set" + std::to_string(i / 500);
    std::filesystem::create_directories(folder);
    g_wavFiles.push_back(folder + "/take" + std::to_string(i) + ".wav");
    WriteFile(g_wavFiles.back(), SmallWav(static_cast<uint32_t>(i)));
  }

  nybench::InitializeInterleaved(argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();

  std::printf("best of the repetitions (the machine may be shared with other work):\n");
  Ratio("ListDirectoryRecursive vs recursive_directory_iterator", "list", "std", 1.0, g_files);
  Ratio("ListDirectoryRecursive vs find -type f", "list", "find", 1.0, g_files);
  Ratio("GetFilesRecursive vs recursive_directory_iterator", "files", "std", 1.0, g_files);
  Ratio("GetFilesRecursive vs find -type f", "files", "find", 1.0, g_files);
  Ratio("CopyFilesRecursive vs cp -r", "copy", "cp", 0.8, g_files);
  Ratio("RemoveDirectoryRecursive vs rm -rf", "remove", "rm", 0.8, g_files);
  Ratio("nybase info -r vs soxi (one call)", "info", "soxi", 5.0, g_wavFiles.size());

  nybench::RunQuiet({"rm", "-rf", tmp});
  return 0;
}
