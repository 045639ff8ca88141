// NyWavFileGenerator::WriteTone of 10 minutes of 48 kHz stereo 16-bit sine against
// `sox -n -r 48000 -c 2 -b 16 OUT synth 600 sine 1000`, and NyMediaFileWriter/NyMediaFileReader
// wrapping and reading back a 256 MiB payload against `cp` of the same file. Each pair runs in the
// same iteration (ratio = peer time / our time); files go to the system's temporary folder, or
// NYBASE_BENCH_DIR.
#include <benchmark/benchmark.h>

#include "BenchSupport.h"
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <nybase/audio/NyMediaFileReader.h>
#include <nybase/audio/NyMediaFileWriter.h>
#include <nybase/audio/NyWavFileGenerator.h>
#include <nybase/platform/NativePath.h>


namespace {

constexpr double k_toneSeconds = 600;
constexpr size_t k_payloadBytes = 256u << 20;
std::string g_dir;

lu::Path LibraryPath(const std::string& native) { return lu::Path(lu::platform::FromNativePath(native)); }

void BM_ToneVsSox(benchmark::State& state) {
  const std::string ours = g_dir + "/nybase-bench-tone.wav", peer = g_dir + "/nybase-bench-sox.wav";
  nybench::PairTimer timer;
  for (auto _ : state) {
    const double t = nybench::PairTimer::Time([&] {
      NyError* error = nullptr;
      NyWavFileGenerator::WriteTone(LibraryPath(ours), NyWavFileGenerator::BitDepth_16, 48000,
                                    NyChannelConfig(2, 1, 3), -6, k_toneSeconds, 0, 0,
                                    NyWavFileGenerator::Waveform_Sine, 1000, ~0ull, error);
      if (error) std::abort();
    });
    timer.ours += t;
    timer.peer += nybench::PairTimer::Time([&] {
      nybench::RunQuiet({"sox", "-n", "-r", "48000", "-c", "2", "-b", "16", peer, "synth", "600", "sine", "1000"});
    });
    state.SetIterationTime(t);
  }
  timer.Report(state);
  state.counters["x_realtime"] = k_toneSeconds * static_cast<double>(state.iterations()) / timer.ours;
  ::unlink(ours.c_str());
  ::unlink(peer.c_str());
}

void BM_ContainerVsCp(benchmark::State& state) {
  const std::string payload = g_dir + "/nybase-bench-payload", wrapped = g_dir + "/nybase-bench-wrapped",
                    copy = g_dir + "/nybase-bench-copy";
  {
    std::vector<unsigned char> block(1 << 20);
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(i * 31 + (i >> 9));
    FILE* f = std::fopen(payload.c_str(), "wb");
    for (size_t n = 0; n < k_payloadBytes; n += block.size()) std::fwrite(block.data(), 1, block.size(), f);
    std::fclose(f);
  }
  std::vector<unsigned char> buffer(1 << 20);
  nybench::PairTimer write, both;
  for (auto _ : state) {
    const double w = nybench::PairTimer::Time([&] {
      NyMediaFileWriter writer(NyMediaFileWriter::MediaType_PLUG, false);
      unsigned char hash[16] = {1};
      writer.SetHash(hash, 16);
      if (!writer.OpenSourceFile(LibraryPath(payload)) || !writer.OpenDestinationFile(LibraryPath(wrapped)) ||
          !writer.WriteFile() || !writer.CloseFiles()) {
        std::abort();
      }
    });
    const double r = nybench::PairTimer::Time([&] {
      NyMediaFileReader reader(NyMediaFileReader::MediaType_PLUG, false);
      if (!reader.Open(LibraryPath(wrapped)) || !reader.HasHeader()) std::abort();
      for (size_t n = 0; n < k_payloadBytes; n += buffer.size()) {
        if (!reader.ReadData(buffer.data(), static_cast<unsigned>(buffer.size()))) std::abort();
      }
    });
    const double c = nybench::PairTimer::Time([&] { nybench::RunQuiet({"cp", payload, copy}); });
    write.ours += w;
    write.peer += c;
    both.ours += w + r;
    both.peer += c;
    state.SetIterationTime(w);
  }
  write.Report(state, static_cast<double>(k_payloadBytes), "bytes/s");
  state.counters["ratio_write_and_read"] = both.peer / both.ours;
  for (const std::string& f : {payload, wrapped, copy}) ::unlink(f.c_str());
}

BENCHMARK(BM_ToneVsSox)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1)->Repetitions(3);
BENCHMARK(BM_ContainerVsCp)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1)->Repetitions(3);

}  // namespace

int main(int argc, char** argv) {
  const char* dir = std::getenv("NYBASE_BENCH_DIR");
  g_dir = dir ? dir : "/tmp";
  nybench::InitializeInterleaved(argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
