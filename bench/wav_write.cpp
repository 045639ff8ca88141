// Writing 256 MiB of float samples as 16-bit and 24-bit stereo WAV: NyWavFileWriter against
// libsndfile's sf_writef_float, both to the same directory (the system's temporary folder by
// default, NYBASE_BENCH_DIR to choose), in the same run.
#include <benchmark/benchmark.h>

#include "BenchSupport.h"
#include <sndfile.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <nybase/audio/NyWavFileWriter.h>

namespace {

constexpr size_t k_totalFloats = (256u << 20) / sizeof(float);  // 256 MiB of input
constexpr size_t k_blockFrames = 1u << 16;                       // frames per write call
constexpr unsigned k_channels = 2;

std::vector<float> g_block;
std::string g_path;

void MakeInput() {
  g_block.resize(k_blockFrames * k_channels);
  for (size_t i = 0; i < g_block.size(); ++i) g_block[i] = static_cast<float>(0.9 * std::sin(0.0123 * double(i)));
}

WAVEFORMATEXTENSIBLE Format(uint16_t bits) {
  WAVEFORMATEXTENSIBLE f{};
  f.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
  f.Format.nChannels = k_channels;
  f.Format.nSamplesPerSec = 48000;
  f.Format.nBlockAlign = static_cast<uint16_t>(k_channels * bits / 8);
  f.Format.nAvgBytesPerSec = 48000u * f.Format.nBlockAlign;
  f.Format.wBitsPerSample = bits;
  f.Format.cbSize = 22;
  f.Samples.wValidBitsPerSample = bits;
  f.dwChannelMask = 3;
  f.SubFormat = KSDATAFORMAT_SUBTYPE_PCM;
  return f;
}

void Remove(benchmark::State& state) {
  state.PauseTiming();
  ::unlink(g_path.c_str());
  state.ResumeTiming();
}

void BM_NyWavFileWriter(benchmark::State& state) {
  const auto bits = static_cast<uint16_t>(state.range(0));
  const size_t blocks = k_totalFloats / g_block.size();
  for (auto _ : state) {
    NyWavFileWriter writer;
    if (!writer.Open(lu::Path(CStdStr<wchar_t>(g_path.c_str())), false)) {
      state.SkipWithError("open failed");
      return;
    }
    writer.SetFormat(Format(bits));
    bool ok = writer.WriteChunks(0);
    for (size_t b = 0; ok && b < blocks; ++b) ok = writer.WriteReal32AsPCMData(k_blockFrames, g_block.data());
    ok = writer.Close() && ok;
    if (!ok) state.SkipWithError("write failed");
    Remove(state);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * k_totalFloats * sizeof(float)));
}

void BM_SndfileWritefFloat(benchmark::State& state) {
  const int bits = static_cast<int>(state.range(0));
  const size_t blocks = k_totalFloats / g_block.size();
  for (auto _ : state) {
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = k_channels;
    info.format = SF_FORMAT_WAV | (bits == 16 ? SF_FORMAT_PCM_16 : SF_FORMAT_PCM_24);
    SNDFILE* sf = sf_open(g_path.c_str(), SFM_WRITE, &info);
    if (sf == nullptr) {
      state.SkipWithError("open failed");
      return;
    }
    bool ok = true;
    for (size_t b = 0; ok && b < blocks; ++b) {
      ok = sf_writef_float(sf, g_block.data(), k_blockFrames) == static_cast<sf_count_t>(k_blockFrames);
    }
    ok = sf_close(sf) == 0 && ok;
    if (!ok) state.SkipWithError("write failed");
    Remove(state);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * k_totalFloats * sizeof(float)));
}

}  // namespace

BENCHMARK(BM_NyWavFileWriter)->Arg(16)->Arg(24)->Unit(benchmark::kMillisecond)->Repetitions(5)->Iterations(2);
BENCHMARK(BM_SndfileWritefFloat)->Arg(16)->Arg(24)->Unit(benchmark::kMillisecond)->Repetitions(5)->Iterations(2);

int main(int argc, char** argv) {
  nybench::InitializeInterleaved(argc, argv);
  const char* dir = std::getenv("NYBASE_BENCH_DIR");
  g_path = std::string(dir ? dir : "/tmp") + "/nybase-bench-wav-write-" + std::to_string(::getpid()) + ".wav";
  MakeInput();
  nybench::BestTimeReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  ::unlink(g_path.c_str());
  std::printf("256 MiB of float input, stereo, %zu frames per call, best of repetitions, %s\n", k_blockFrames,
              g_path.c_str());
  for (const char* width : {"16", "24"}) {
    const auto ny = reporter.bestReal.find(std::string("BM_NyWavFileWriter/") + width);
    const auto sf = reporter.bestReal.find(std::string("BM_SndfileWritefFloat/") + width);
    if (ny == reporter.bestReal.end() || sf == reporter.bestReal.end()) continue;
    const double nyCpu = reporter.bestCpu[ny->first];
    const double sfCpu = reporter.bestCpu[sf->first];
    std::printf("%s-bit: NyWavFileWriter %.0f ms (cpu %.0f), sf_writef_float %.0f ms (cpu %.0f), "
                "speed ratio %.2fx wall, %.2fx cpu (target >= 1.0, aim 1.5)\n",
                width, ny->second * 1e3, nyCpu * 1e3, sf->second * 1e3, sfCpu * 1e3, sf->second / ny->second,
                sfCpu / nyCpu);
  }
  benchmark::Shutdown();
  return 0;
}
