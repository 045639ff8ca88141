// Streams and data helpers against their peers in one run: base64 against coreutils base64,
// WriteBytesMem appends against std::vector insert, a memory-mapped file against read(2), and
// the fixed-size pool against malloc/free. Sizes: NYBASE_BENCH_BASE64_MIB (default 64) and
// NYBASE_BENCH_MAP_MIB (default 256).
#include <benchmark/benchmark.h>

#include "BenchSupport.h"
#include <fcntl.h>
#include <nybase/data/FixedSizeMemoryPool.h>
#include <nybase/data/NyBase64.h>
#include <nybase/files/MemoryMappedFile.h>
#include <nybase/files/WriteBytesMem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

size_t EnvMiB(const char* name, size_t fallback) {
  const char* v = std::getenv(name);
  return v ? static_cast<size_t>(std::max(1l, std::atol(v))) : fallback;
}

std::string g_dir;
size_t g_base64Bytes = 0;
std::vector<unsigned char> g_raw;
std::vector<wchar_t> g_encoded;  // NyBase64 text of g_raw, without the final zero
std::string g_rawPath, g_textPath, g_mapPath;
size_t g_mapBytes = 0;

bool WriteAll(const std::string& path, const void* data, size_t size) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  const char* p = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t n = ::write(fd, p, std::min<size_t>(size, 1 << 24));
    if (n <= 0) break;
    p += n;
    size -= static_cast<size_t>(n);
  }
  ::close(fd);
  return size == 0;
}

uint64_t SumFile(const std::string& path, std::vector<unsigned char>& block) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  uint64_t sum = 0;
  ssize_t n;
  while ((n = ::read(fd, block.data(), block.size())) > 0) {
    for (ssize_t i = 0; i + 8 <= n; i += 8) {
      uint64_t w;
      std::memcpy(&w, block.data() + i, 8);
      sum += w;
    }
  }
  ::close(fd);
  return sum;
}

bool Setup() {
  char dir[] = "/tmp/nybase-bench-streams-XXXXXX";
  if (::mkdtemp(dir) == nullptr) return false;
  g_dir = dir;
  g_base64Bytes = EnvMiB("NYBASE_BENCH_BASE64_MIB", 64) << 20;
  g_raw.resize(g_base64Bytes);
  std::mt19937_64 rng(5);
  for (size_t i = 0; i + 8 <= g_raw.size(); i += 8) {
    const uint64_t v = rng();
    std::memcpy(g_raw.data() + i, &v, 8);
  }
  std::vector<char> text;
  NyBase64::Encode(g_raw.data(), g_raw.size(), text);
  g_encoded.assign(text.begin(), text.end() - 1);
  g_rawPath = g_dir + "/raw.bin";
  g_textPath = g_dir + "/text.b64";
  g_mapPath = g_dir + "/map.bin";
  if (!WriteAll(g_rawPath, g_raw.data(), g_raw.size()) || !WriteAll(g_textPath, text.data(), text.size() - 1)) {
    return false;
  }
  g_mapBytes = EnvMiB("NYBASE_BENCH_MAP_MIB", 256) << 20;
  std::vector<unsigned char> block(1 << 20);
  const int fd = ::open(g_mapPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  for (size_t i = 0; i < g_mapBytes; i += block.size()) {
    for (size_t j = 0; j < block.size(); j += 64) block[j] = static_cast<unsigned char>(i / block.size() + j);
    if (::write(fd, block.data(), block.size()) != static_cast<ssize_t>(block.size())) return false;
  }
  ::close(fd);
  std::vector<unsigned char> warm(1 << 20);
  benchmark::DoNotOptimize(SumFile(g_mapPath, warm));  // into the page cache
  benchmark::DoNotOptimize(SumFile(g_rawPath, warm));
  benchmark::DoNotOptimize(SumFile(g_textPath, warm));
  return true;
}

// Runs a shell command with its output discarded and returns its wall time in seconds.
double TimeCommand(const std::string& command) {
  const auto start = std::chrono::steady_clock::now();
  const int rc = std::system((command + " > /dev/null").c_str());
  const auto end = std::chrono::steady_clock::now();
  return rc == 0 ? std::chrono::duration<double>(end - start).count() : -1.0;
}

// Output vectors kept across repetitions: the steady state of a caller that reuses its buffer.
std::vector<char> g_text;
std::vector<unsigned char> g_data;

void BM_Base64EncodeNy(benchmark::State& state) {
  std::vector<char>& text = g_text;
  for (auto _ : state) {
    NyBase64::Encode(g_raw.data(), g_raw.size(), text);
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_base64Bytes));
}

void BM_Base64DecodeNy(benchmark::State& state) {
  std::vector<unsigned char>& data = g_data;
  for (auto _ : state) {
    NyBase64::Decode(g_encoded.data(), g_encoded.size(), data);
    if (data.size() != g_raw.size()) state.SkipWithError("decode size");
    benchmark::DoNotOptimize(data.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_base64Bytes));
}

// coreutils, from the page-cached file to /dev/null: its process start and file read included.
void BM_Base64EncodeCoreutils(benchmark::State& state) {
  for (auto _ : state) {
    const double t = TimeCommand("base64 -w0 " + g_rawPath);
    if (t < 0) state.SkipWithError("base64 failed");
    state.SetIterationTime(t);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_base64Bytes));
}

void BM_Base64DecodeCoreutils(benchmark::State& state) {
  for (auto _ : state) {
    const double t = TimeCommand("base64 -d " + g_textPath);
    if (t < 0) state.SkipWithError("base64 failed");
    state.SetIterationTime(t);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_base64Bytes));
}

constexpr int k_appendBytes = 1 << 20;  // bytes appended per iteration, in pieces of 1..64

// Arg 1: one object reused (Clear keeps its block); 0: a fresh object each time; 2: reused, but
// called through the NY::IWriteBytes interface as serialising code does (no inlining possible).
void BM_AppendWriteBytesMem(benchmark::State& state) {
  const unsigned char source[64] = {1, 2, 3};
  WriteBytesMem kept;
  NY::IWriteBytes& sink = kept;
  for (auto _ : state) {
    int done = 0;
    if (state.range(0) == 0) {
      WriteBytesMem fresh;
      for (int total = 0, n = 1; total < k_appendBytes; total += n, n = n % 64 + 1) fresh.WriteBytes(source, n, done);
      benchmark::DoNotOptimize(fresh.Bytes());
    } else if (state.range(0) == 1) {
      kept.Clear();
      for (int total = 0, n = 1; total < k_appendBytes; total += n, n = n % 64 + 1) kept.WriteBytes(source, n, done);
    } else {
      kept.Clear();
      for (int total = 0, n = 1; total < k_appendBytes; total += n, n = n % 64 + 1) sink.WriteBytes(source, n, done);
    }
    benchmark::DoNotOptimize(kept.Bytes());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * k_appendBytes);
}

void BM_AppendVector(benchmark::State& state) {
  const unsigned char source[64] = {1, 2, 3};
  const bool reuse = state.range(0) != 0;
  std::vector<uint8_t> kept;
  for (auto _ : state) {
    std::vector<uint8_t> fresh;
    std::vector<uint8_t>& v = reuse ? kept : fresh;
    v.clear();
    for (int total = 0, n = 1; total < k_appendBytes; total += n, n = n % 64 + 1) v.insert(v.end(), source, source + n);
    benchmark::DoNotOptimize(v.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * k_appendBytes);
}

void BM_ReadMapped(benchmark::State& state) {
  for (auto _ : state) {
    lu::MemoryMappedFile m;
    const auto* p = static_cast<const unsigned char*>(
        m.Map(lu::Path(CStdStr<wchar_t>(g_mapPath.c_str())), NyOpenModeRead, 0, 0));
    if (p == nullptr) {
      state.SkipWithError("map failed");
      return;
    }
    uint64_t sum = 0;
    for (size_t i = 0; i + 8 <= g_mapBytes; i += 8) {
      uint64_t w;
      std::memcpy(&w, p + i, 8);
      sum += w;
    }
    benchmark::DoNotOptimize(sum);
    m.Unmap();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_mapBytes));
}

void BM_ReadPosix(benchmark::State& state) {
  std::vector<unsigned char> block(1 << 20);
  for (auto _ : state) benchmark::DoNotOptimize(SumFile(g_mapPath, block));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_mapBytes));
}

constexpr size_t k_blockSize = 64;
constexpr int k_live = 16;  // blocks held at once

void BM_PoolGetPut(benchmark::State& state) {
  lu::FixedSizeMemoryPool pool(k_blockSize, k_live);
  void* held[k_live];
  for (auto _ : state) {
    for (auto& p : held) p = pool.Allocate();
    benchmark::DoNotOptimize(held);
    for (auto* p : held) pool.Deallocate(p);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * k_live);
}

void BM_MallocFree(benchmark::State& state) {
  void* held[k_live];
  for (auto _ : state) {
    for (auto& p : held) p = std::malloc(k_blockSize);
    benchmark::DoNotOptimize(held);
    for (auto* p : held) std::free(p);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * k_live);
}

}  // namespace

BENCHMARK(BM_Base64EncodeNy)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5);
BENCHMARK(BM_Base64EncodeCoreutils)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->UseManualTime();
BENCHMARK(BM_Base64DecodeNy)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5);
BENCHMARK(BM_Base64DecodeCoreutils)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->UseManualTime();
BENCHMARK(BM_AppendWriteBytesMem)->Arg(1)->Arg(0)->Arg(2)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(BM_AppendVector)->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(BM_ReadMapped)->Unit(benchmark::kMillisecond)->Iterations(2)->Repetitions(5);
BENCHMARK(BM_ReadPosix)->Unit(benchmark::kMillisecond)->Iterations(2)->Repetitions(5);
BENCHMARK(BM_PoolGetPut)->Repetitions(5);
BENCHMARK(BM_MallocFree)->Repetitions(5);

int main(int argc, char** argv) {
  nybench::InitializeInterleaved(argc, argv);
  if (!Setup()) {
    std::fprintf(stderr, "cannot prepare the files under %s\n", g_dir.c_str());
    return 1;
  }
  nybench::BestTimeReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::system(("rm -rf " + g_dir).c_str());
  auto best = [&](const char* name, bool cpu = false) {
    const auto& times = cpu ? reporter.bestCpu : reporter.bestReal;
    const auto it = times.find(name);
    return it == times.end() ? -1.0 : it->second;
  };
  // Wall time, or CPU time where both sides run in this process on one thread (steadier when
  // other work shares the machine).
  auto ratio = [&](const char* what, const char* ours, const char* theirs, const char* target, bool cpu = false) {
    const double a = best(ours, cpu);
    const double b = best(theirs, cpu);
    if (a > 0 && b > 0) std::printf("%-44s %7.2fx  (%s, %s time)\n", what, b / a, target, cpu ? "CPU" : "wall");
  };
  const double gb64 = static_cast<double>(g_base64Bytes) / 1e9;
  std::printf("\nbase64 over %zu MiB of bytes, mapped file %zu MiB, best of repetitions\n", g_base64Bytes >> 20,
              g_mapBytes >> 20);
  std::printf("NyBase64 encode %.2f GB/s, coreutils %.2f GB/s\n", gb64 / best("BM_Base64EncodeNy"),
              gb64 / best("BM_Base64EncodeCoreutils"));
  std::printf("NyBase64 decode %.2f GB/s, coreutils %.2f GB/s\n", gb64 / best("BM_Base64DecodeNy"),
              gb64 / best("BM_Base64DecodeCoreutils"));
  const double gbMap = static_cast<double>(g_mapBytes) / 1e9;
  std::printf("mapped read %.2f GB/s, read(2) %.2f GB/s\n", gbMap / best("BM_ReadMapped"),
              gbMap / best("BM_ReadPosix"));
  ratio("speed-up NyBase64 encode / coreutils", "BM_Base64EncodeNy", "BM_Base64EncodeCoreutils", "target >= 3");
  ratio("speed-up NyBase64 decode / coreutils", "BM_Base64DecodeNy", "BM_Base64DecodeCoreutils", "target >= 3");
  ratio("speed-up WriteBytesMem / vector (reused)", "BM_AppendWriteBytesMem/1", "BM_AppendVector/1", "target >= 1",
        true);
  ratio("speed-up WriteBytesMem / vector (fresh 1 MiB)", "BM_AppendWriteBytesMem/0", "BM_AppendVector/0",
        "target >= 1", true);
  ratio("speed-up WriteBytesMem via interface / vector", "BM_AppendWriteBytesMem/2", "BM_AppendVector/1",
        "reported", true);
  ratio("speed-up mapped / read(2)", "BM_ReadMapped", "BM_ReadPosix", "reported");
  ratio("speed-up pool / malloc+free", "BM_PoolGetPut", "BM_MallocFree", "target >= 2");
  benchmark::Shutdown();
  return 0;
}
