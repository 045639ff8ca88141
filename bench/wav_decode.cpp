// Decoding page-cached WAV files to float: the NYBase reader against libsndfile's sf_readf_float and
// against memcpy of the same bytes (the physical limit), for 16-bit stereo, 24-bit 6-channel and
// float stereo files of 256 MiB each. Prints samples per second and the ratios.
#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <cmath>
#include <cstring>
#include <map>
#include <random>

#include <nybase/audio/NyWavFileReader.h>
#include <nybase/platform/NativePath.h>

#include "BenchSupport.h"
#include "BenchWavFiles.h"

namespace {

constexpr uint64_t k_dataBytes = 256ull << 20;
constexpr unsigned k_blockFrames = 8192;

struct Kind {
  const char* name;
  uint16_t tag, channels, bits;
};
const Kind k_kinds[] = {{"pcm16_stereo", 1, 2, 16}, {"pcm24_6ch", 1, 6, 24}, {"float_stereo", 3, 2, 32}};

std::string PathOf(const Kind& k) { return nybench::ScratchDir() + "/" + k.name + ".wav"; }

// Writes the file once: random samples in range (floats within [-1, 1)).
void MakeFile(const Kind& k) {
  const std::string path = PathOf(k);
  FILE* f = std::fopen(path.c_str(), "wb");
  const uint64_t bytes = k_dataBytes - k_dataBytes % (uint64_t(k.channels) * k.bits / 8);
  const auto header = nybench::WavHeader(k.tag, k.channels, k.bits, bytes);
  std::fwrite(header.data(), 1, header.size(), f);
  std::mt19937 rng(7);
  std::vector<uint8_t> block(1 << 20);
  for (uint64_t done = 0; done < bytes;) {
    if (k.tag == 3) {
      for (size_t i = 0; i + 4 <= block.size(); i += 4) {
        const float v = float(int32_t(rng())) / 2147483648.0f;
        std::memcpy(&block[i], &v, 4);
      }
    } else {
      for (size_t i = 0; i + 4 <= block.size(); i += 4) {
        const uint32_t r = rng();
        std::memcpy(&block[i], &r, 4);
      }
    }
    const size_t n = size_t(std::min<uint64_t>(block.size(), bytes - done));
    std::fwrite(block.data(), 1, n, f);
    done += n;
  }
  std::fclose(f);
  // Page the file in.
  std::vector<uint8_t> sink(1 << 20);
  f = std::fopen(path.c_str(), "rb");
  while (std::fread(sink.data(), 1, sink.size(), f) == sink.size()) {
  }
  std::fclose(f);
}

uint64_t SamplesOf(const Kind& k) { return k_dataBytes / (k.bits / 8) / k.channels * k.channels; }

// Best samples/s of each (peer, kind).
std::map<std::string, double> g_best;
void Record(const std::string& key, double samplesPerSecond) {
  double& best = g_best[key];
  best = std::max(best, samplesPerSecond);
}

template <typename Pass>
void Measure(benchmark::State& state, const std::string& key, const Kind& k, Pass pass) {
  for (auto _ : state) {
    const double t0 = nybench::CpuSeconds();
    const uint64_t samples = pass();
    const double s = nybench::CpuSeconds() - t0;
    if (samples != SamplesOf(k)) state.SkipWithError("short decode");
    Record(key, double(samples) / s);
  }
  state.counters["samples/s"] =
      benchmark::Counter(double(SamplesOf(k)) * double(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_NYBase(benchmark::State& state) {
  const Kind& k = k_kinds[state.range(0)];
  std::vector<float> out(size_t(k_blockFrames) * k.channels);
  NyWavFileReader reader;
  if (!reader.Open(lu::Path(lu::platform::FromNativePath(PathOf(k)))) ||
      !reader.ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data)) {
    state.SkipWithError("open failed");
    return;
  }
  Measure(state, std::string("nybase/") + k.name, k, [&] {
    reader.SeekToAudioFrame(0);
    uint64_t samples = 0;
    while (unsigned got = reader.ReadPCMDataAsFloat32(k_blockFrames, out.data())) {
      samples += uint64_t(got) * k.channels;
    }
    benchmark::DoNotOptimize(out.data());
    return samples;
  });
}

void BM_Sndfile(benchmark::State& state) {
  const Kind& k = k_kinds[state.range(0)];
  std::vector<float> out(size_t(k_blockFrames) * k.channels);
  SF_INFO info{};
  SNDFILE* sf = sf_open(PathOf(k).c_str(), SFM_READ, &info);
  if (!sf) {
    state.SkipWithError("sf_open failed");
    return;
  }
  Measure(state, std::string("sndfile/") + k.name, k, [&] {
    sf_seek(sf, 0, SEEK_SET);
    uint64_t samples = 0;
    while (sf_count_t got = sf_readf_float(sf, out.data(), k_blockFrames)) {
      samples += uint64_t(got) * k.channels;
    }
    benchmark::DoNotOptimize(out.data());
    return samples;
  });
  sf_close(sf);
}

// The same bytes read from the page cache and copied once: no conversion at all.
void BM_Memcpy(benchmark::State& state) {
  const Kind& k = k_kinds[state.range(0)];
  const size_t blockBytes = size_t(k_blockFrames) * k.channels * (k.bits / 8);
  std::vector<uint8_t> in(blockBytes), out(blockBytes);
  FILE* f = std::fopen(PathOf(k).c_str(), "rb");
  Measure(state, std::string("memcpy/") + k.name, k, [&] {
    std::fseek(f, 44, SEEK_SET);
    uint64_t bytes = 0;
    while (size_t got = std::fread(in.data(), 1, blockBytes, f)) {
      std::memcpy(out.data(), in.data(), got);
      bytes += got;
    }
    benchmark::DoNotOptimize(out.data());
    return bytes / (k.bits / 8);
  });
  std::fclose(f);
}

void Args(benchmark::internal::Benchmark* b) {
  // Repetitions in random order, so neither reader always runs right after the other's files.
  b->DenseRange(0, 2)->Iterations(2)->Repetitions(5)->Unit(benchmark::kMillisecond)->UseRealTime();
}
BENCHMARK(BM_NYBase)->Apply(Args);
BENCHMARK(BM_Sndfile)->Apply(Args);
BENCHMARK(BM_Memcpy)->Apply(Args);

}  // namespace

int main(int argc, char** argv) {
  for (const Kind& k : k_kinds) MakeFile(k);
  nybench::InitializeInterleaved(argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  std::printf("\n%-14s %14s %14s %14s %10s %10s\n", "file", "nybase S/cpu-s", "sndfile", "memcpy",
              "vs sndfile", "vs memcpy");
  for (const Kind& k : k_kinds) {
    const double ours = g_best[std::string("nybase/") + k.name];
    const double sf = g_best[std::string("sndfile/") + k.name];
    const double mc = g_best[std::string("memcpy/") + k.name];
    std::printf("%-14s %14.4g %14.4g %14.4g %9.2fx %9.2fx\n", k.name, ours, sf, mc,
                sf > 0 ? ours / sf : 0.0, mc > 0 ? ours / mc : 0.0);
  }
  benchmark::Shutdown();
  nybench::RemoveScratch();
  return 0;
}
