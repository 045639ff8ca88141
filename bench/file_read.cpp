// Reading a large page-cached file through lu::File::Read in 1 MiB blocks against plain read(2).
#include <benchmark/benchmark.h>

#include "BenchSupport.h"
#include <fcntl.h>
#include <nybase/files/File.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr size_t k_block = 1 << 20;
std::string g_path;
size_t g_fileBytes = 0;

// Writes the file once with real (not sparse) data and reads it once so it is in the page cache.
bool MakeFile() {
  const char* mib = std::getenv("NYBASE_BENCH_FILE_MIB");
  const size_t blocks = mib ? std::max(1l, std::atol(mib)) : 1024;
  char name[64];
  std::snprintf(name, sizeof name, "/tmp/nybase-bench-file-read-%d.bin", static_cast<int>(::getpid()));
  g_path = name;
  const int fd = ::open(g_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  std::vector<unsigned char> block(k_block);
  for (size_t i = 0; i < blocks; ++i) {
    for (size_t j = 0; j < block.size(); j += 4096) block[j] = static_cast<unsigned char>(i + j);
    if (::write(fd, block.data(), block.size()) != static_cast<ssize_t>(block.size())) {
      ::close(fd);
      return false;
    }
  }
  ::close(fd);
  g_fileBytes = blocks * k_block;
  const int rfd = ::open(g_path.c_str(), O_RDONLY | O_CLOEXEC);
  while (::read(rfd, block.data(), block.size()) > 0) {
  }
  ::close(rfd);
  return true;
}

void BM_LuFileRead(benchmark::State& state) {
  std::vector<unsigned char> block(k_block);
  for (auto _ : state) {
    lu::File f;
    if (f.Open(lu::Path(CStdStr<wchar_t>(g_path.c_str())), NyOpenModeRead, 0) != 1) {
      state.SkipWithError("open failed");
      return;
    }
    size_t total = 0;
    unsigned int done = 0;
    while (f.Read(block.data(), k_block, done) && done > 0) total += done;
    benchmark::DoNotOptimize(total);
    if (total != g_fileBytes) state.SkipWithError("short read");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_fileBytes));
}

void BM_PosixRead(benchmark::State& state) {
  std::vector<unsigned char> block(k_block);
  for (auto _ : state) {
    const int fd = ::open(g_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
      state.SkipWithError("open failed");
      return;
    }
    size_t total = 0;
    ssize_t n;
    while ((n = ::read(fd, block.data(), block.size())) > 0) total += static_cast<size_t>(n);
    benchmark::DoNotOptimize(total);
    ::close(fd);
    if (total != g_fileBytes) state.SkipWithError("short read");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_fileBytes));
}

}  // namespace

BENCHMARK(BM_PosixRead)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(1.0);
BENCHMARK(BM_LuFileRead)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(1.0);

int main(int argc, char** argv) {
  nybench::InitializeInterleaved(argc, argv);
  if (!MakeFile()) {
    std::fprintf(stderr, "cannot write the test file %s\n", g_path.c_str());
    ::unlink(g_path.c_str());
    return 1;
  }
  nybench::BestTimeReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  ::unlink(g_path.c_str());
  const auto lu = reporter.bestReal.find("BM_LuFileRead");
  const auto posix = reporter.bestReal.find("BM_PosixRead");
  if (lu != reporter.bestReal.end() && posix != reporter.bestReal.end()) {
    const double gib = static_cast<double>(g_fileBytes) / (1u << 30);
    std::printf("file %.2f GiB, 1 MiB blocks, best of repetitions\n", gib);
    std::printf("lu::File::Read  %.2f GiB/s\n", gib / lu->second);
    std::printf("read(2)         %.2f GiB/s\n", gib / posix->second);
    std::printf("ratio lu::File / read(2) time: %.3f (target <= 1.05)\n", lu->second / posix->second);
  }
  benchmark::Shutdown();
  return 0;
}
