// Opening WAV files and walking their chunks: ReadChunks with 1k, 10k and 100k cue points and
// labels (time per marker must stay flat), and open + walk of a plain 1 GiB file, each against
// libsndfile's sf_open with its cue query on the same file. Prints the ratios.
#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <cstring>
#include <map>

#include <nybase/audio/NyWavFileReader.h>
#include <nybase/platform/NativePath.h>

#include "BenchWavFiles.h"

namespace {

constexpr unsigned k_allFlags = ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Cue | ChunkFlag_List |
                                ChunkFlag_Smpl | ChunkFlag_Hash;

std::string CuePath(int64_t n) { return nybench::ScratchDir() + "/cues" + std::to_string(n) + ".wav"; }
std::string PlainPath() { return nybench::ScratchDir() + "/plain1g.wav"; }

// fmt, 1 s of stereo 16-bit data, then a cue chunk and an adtl list with one label per cue.
void MakeCueFile(int64_t n) {
  std::vector<uint8_t> meta;
  nybench::PutId(meta, "cue ");
  nybench::Put32(meta, uint32_t(4 + 24 * n));
  nybench::Put32(meta, uint32_t(n));
  for (int64_t i = 0; i < n; ++i) {
    nybench::Put32(meta, uint32_t(i + 1));
    nybench::Put32(meta, uint32_t(i * 10));
    nybench::PutId(meta, "data");
    for (int j = 0; j < 3; ++j) nybench::Put32(meta, 0);
  }
  std::vector<uint8_t> labels;
  nybench::PutId(labels, "adtl");
  for (int64_t i = 0; i < n; ++i) {
    const std::string text = "Marker " + std::to_string(i + 1);
    nybench::PutId(labels, "labl");
    nybench::Put32(labels, uint32_t(4 + text.size() + 1));
    nybench::Put32(labels, uint32_t(i + 1));
    labels.insert(labels.end(), text.begin(), text.end());
    labels.push_back(0);
    if ((text.size() + 1) & 1) labels.push_back(0);
  }
  nybench::PutId(meta, "LIST");
  nybench::Put32(meta, uint32_t(labels.size()));
  meta.insert(meta.end(), labels.begin(), labels.end());

  const uint64_t dataBytes = 48000 * 4;
  auto file = nybench::WavHeader(1, 2, 16, dataBytes);
  const uint32_t riff = uint32_t(file.size() - 8 + dataBytes + meta.size());
  std::memcpy(file.data() + 4, &riff, 4);
  file.resize(file.size() + dataBytes, 0);
  file.insert(file.end(), meta.begin(), meta.end());
  FILE* f = std::fopen(CuePath(n).c_str(), "wb");
  std::fwrite(file.data(), 1, file.size(), f);
  std::fclose(f);
}

void MakePlainFile() {
  const uint64_t dataBytes = 1ull << 30;
  const auto header = nybench::WavHeader(1, 2, 16, dataBytes);
  FILE* f = std::fopen(PlainPath().c_str(), "wb");
  std::fwrite(header.data(), 1, header.size(), f);
  std::fclose(f);
  if (::truncate(PlainPath().c_str(), off_t(header.size() + dataBytes)) != 0) std::abort();
}

std::map<std::string, double> g_seconds;  // best time per operation

template <typename Op>
void Measure(benchmark::State& state, const std::string& key, Op op) {
  double best = 1e30;
  for (auto _ : state) {
    const double t0 = nybench::CpuSeconds();
    if (!op()) state.SkipWithError("open or walk failed");
    best = std::min(best, nybench::CpuSeconds() - t0);
  }
  g_seconds[key] = best;
}

bool OpenAndWalk(const std::string& path, unsigned expectMarkers) {
  NyWavFileReader reader;
  return reader.Open(lu::Path(lu::platform::FromNativePath(path))) && reader.ReadChunks(k_allFlags) &&
         reader.GetNumMarkers() == expectMarkers;
}

bool SndfileOpen(const std::string& path) {
  SF_INFO info{};
  SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
  if (!sf) return false;
  uint32_t cues = 0;
  sf_command(sf, SFC_GET_CUE_COUNT, &cues, sizeof(cues));
  sf_close(sf);
  return true;
}

void BM_NYBase_Cues(benchmark::State& state) {
  const int64_t n = state.range(0);
  Measure(state, "nybase/cues" + std::to_string(n), [&] { return OpenAndWalk(CuePath(n), unsigned(n)); });
  state.counters["ns/marker"] = g_seconds["nybase/cues" + std::to_string(n)] * 1e9 / double(n);
}
void BM_Sndfile_Cues(benchmark::State& state) {
  const int64_t n = state.range(0);
  Measure(state, "sndfile/cues" + std::to_string(n), [&] { return SndfileOpen(CuePath(n)); });
}
void BM_NYBase_Plain1GiB(benchmark::State& state) {
  Measure(state, "nybase/plain", [] { return OpenAndWalk(PlainPath(), 0); });
}
void BM_Sndfile_Plain1GiB(benchmark::State& state) {
  Measure(state, "sndfile/plain", [] { return SndfileOpen(PlainPath()); });
}

BENCHMARK(BM_NYBase_Cues)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Sndfile_Cues)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NYBase_Plain1GiB)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Sndfile_Plain1GiB)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  for (int64_t n : {1000, 10000, 100000}) MakeCueFile(n);
  MakePlainFile();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  std::printf("\n%-16s %14s %14s %12s %12s\n", "file", "nybase cpu-us", "sndfile cpu-us", "ns/marker",
              "vs sndfile");
  for (const char* key : {"cues1000", "cues10000", "cues100000", "plain"}) {
    const double ours = g_seconds[std::string("nybase/") + key];
    const double sf = g_seconds[std::string("sndfile/") + key];
    const std::string k(key);
    const double markers = k == "plain" ? 0 : std::stod(k.substr(4));
    std::printf("%-16s %14.1f %14.1f %12.1f %11.2fx\n", key, ours * 1e6, sf * 1e6,
                markers ? ours * 1e9 / markers : 0.0, ours > 0 ? sf / ours : 0.0);
  }
  benchmark::Shutdown();
  nybench::RemoveScratch();
  return 0;
}
