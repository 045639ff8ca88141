// The data copy of NyWavFile against cp on the same filesystem, and the in-place updates at two
// data sizes (their cost must not depend on the data size). Prints the ratios.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <nybase/audio/NyWavFile.h>
#include <nybase/platform/NativePath.h>

namespace {

constexpr uint64_t k_mib = 1024 * 1024;

std::string g_dir;
double g_oursBytesPerSecond = 0, g_cpBytesPerSecond = 0;
double g_updateSeconds[2] = {0, 0};

lu::Path ToPath(const std::string& native) { return lu::Path(lu::platform::FromNativePath(native)); }

// A 16-bit stereo file with a cue and a loop, and `dataBytes` of samples.
std::string MakeFile(const std::string& name, uint64_t dataBytes) {
  const std::string path = g_dir + "/" + name;
  FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) return {};
  auto u32 = [f](uint32_t v) { std::fwrite(&v, 4, 1, f); };
  auto u16 = [f](uint16_t v) { std::fwrite(&v, 2, 1, f); };
  std::fwrite("RIFF", 1, 4, f);
  u32(uint32_t(4 + 24 + 36 + 68 + 8 + dataBytes));
  std::fwrite("WAVEfmt ", 1, 8, f);
  u32(16), u16(1), u16(2), u32(48000), u32(192000), u16(4), u16(16);
  std::fwrite("cue ", 1, 4, f);
  u32(28), u32(1), u32(1), u32(1000), std::fwrite("data", 1, 4, f), u32(0), u32(0), u32(1000);
  std::fwrite("smpl", 1, 4, f);
  u32(60);
  for (uint32_t v : {0u, 0u, 0u, 60u, 0u, 0u, 0u, 1u, 0u, 0u, 0u, 100u, 5000u, 0u, 0u}) u32(v);
  std::fwrite("data", 1, 4, f);
  u32(uint32_t(dataBytes));
  std::vector<char> block(k_mib);
  for (size_t i = 0; i < block.size(); ++i) block[i] = char(i * 31);
  for (uint64_t left = dataBytes; left > 0;) {
    const size_t n = size_t(std::min<uint64_t>(left, block.size()));
    std::fwrite(block.data(), 1, n, f);
    left -= n;
  }
  std::fclose(f);
  return path;
}

void BM_WriteDataChunk(benchmark::State& state) {
  const std::string source = g_dir + "/big.wav", target = g_dir + "/copy.wav";
  NyWavFile wav;
  if (!wav.Open(ToPath(source), false)) {
    state.SkipWithError("cannot open the source");
    return;
  }
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    {
      lu::File out;
      out.Open(ToPath(target), NyOpenModeWriteOverwrite, 0);
      const bool ok = wav.WriteRiffChunk(out, false) && wav.WriteFormatChunk(out, false) &&
                      wav.WriteDataChunk(out, false) && wav.UpdateRiffChunkSize(out, false);
      if (!ok) state.SkipWithError("copy failed");
      out.Close();
    }
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.SetIterationTime(s);
    const double rate = double(wav.GetDataChunk().GetChunkSize()) / s;
    if (rate > g_oursBytesPerSecond) g_oursBytesPerSecond = rate;
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * wav.GetDataChunk().GetChunkSize());
}

void BM_cp(benchmark::State& state) {
  const std::string command = "cp " + g_dir + "/big.wav " + g_dir + "/cp.wav";
  uint64_t bytes = 0;
  if (FILE* f = std::fopen((g_dir + "/big.wav").c_str(), "rb")) {
    std::fseek(f, 0, SEEK_END);
    bytes = uint64_t(std::ftell(f));
    std::fclose(f);
  }
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    if (std::system(command.c_str()) != 0) state.SkipWithError("cp failed");
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.SetIterationTime(s);
    const double rate = double(bytes) / s;
    if (rate > g_cpBytesPerSecond) g_cpBytesPerSecond = rate;
  }
  state.SetBytesProcessed(int64_t(state.iterations() * bytes));
}

void BM_InPlaceUpdates(benchmark::State& state) {
  const std::string path = g_dir + (state.range(0) == 0 ? "/small.wav" : "/big.wav");
  FILE* stream = std::fopen(path.c_str(), "r+b");
  if (stream == nullptr) {
    state.SkipWithError("cannot open");
    return;
  }
  lu::File file = lu::File::CreateOwner(stream);
  NyRiffChunk riff;
  NyFmtChunk fmt;
  NyCueChunk cue;
  NySmplChunk smpl;
  NyDataChunk data;
  riff.Init(file, nullptr);
  fmt.Init(file, &riff);
  cue.Init(file, &riff);
  smpl.Init(file, &riff);
  data.Init(file, &riff);
  double best = 1e9;
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    WaveFormatExtensible format = fmt.GetFormat();
    file.SetFilePointer(0, lu::FilePointerBegin);
    benchmark::DoNotOptimize(cue.UpdateCueInfo(1.0, 0x7FFFFFFF, false) + smpl.UpdateLoopInfo(1.0, 0x7FFFFFFF, false) +
                             fmt.UpdateFormatInfo(format, false) + data.UpdateChunkSize(data.GetChunkSize(), false) +
                             riff.UpdateRiffChunkSize(file, false));
    file.Flush();
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.SetIterationTime(s);
    if (s < best) best = s;
  }
  g_updateSeconds[state.range(0)] = best;
}

BENCHMARK(BM_WriteDataChunk)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_cp)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_InPlaceUpdates)->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(200);

}  // namespace

int main(int argc, char** argv) {
  // Next to the build, on the filesystem the copies run on (override with NYBASE_BENCH_DIR).
  const char* base = std::getenv("NYBASE_BENCH_DIR");
  std::string pattern = std::string(base ? base : ".") + "/nybase-bench-chunks-XXXXXX";
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  if (::mkdtemp(buffer.data()) == nullptr) return 1;
  g_dir = buffer.data();
  const uint64_t bigMiB = std::getenv("NYBASE_BENCH_BIG_MIB") ? std::strtoull(std::getenv("NYBASE_BENCH_BIG_MIB"), nullptr, 10) : 1024;
  MakeFile("small.wav", 10 * k_mib);
  MakeFile("big.wav", bigMiB * k_mib);

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  if (g_cpBytesPerSecond > 0) {
    std::printf("WriteDataChunk / cp throughput ratio: %.2f (%.0f MiB/s vs %.0f MiB/s, %llu MiB)\n",
                g_oursBytesPerSecond / g_cpBytesPerSecond, g_oursBytesPerSecond / k_mib, g_cpBytesPerSecond / k_mib,
                static_cast<unsigned long long>(bigMiB));
  }
  if (g_updateSeconds[0] > 0) {
    std::printf("in-place updates, %llu MiB / 10 MiB time ratio: %.2f (%.1f us vs %.1f us)\n",
                static_cast<unsigned long long>(bigMiB), g_updateSeconds[1] / g_updateSeconds[0],
                g_updateSeconds[1] * 1e6, g_updateSeconds[0] * 1e6);
  }
  for (const char* name : {"small.wav", "big.wav", "copy.wav", "cp.wav"}) ::unlink((g_dir + "/" + name).c_str());
  ::rmdir(g_dir.c_str());
  return 0;
}
