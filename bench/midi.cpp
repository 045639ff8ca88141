// Standard MIDI files: Validate and Convert of a 32 MiB, 16-track file through NyMidiFile against
// the same file read into a sequence by portSMF, the peer.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include "BenchSupport.h"

#include <cstring>  // allegro.h uses memcpy without including it
#include <portSMF/allegro.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <nybase/audio/NyMidiFile.h>
#include <nybase/platform/NativePath.h>

namespace {

constexpr int k_tracks = 16;
constexpr size_t k_trackBytes = size_t{2} << 20;  // 16 x 2 MiB of events

std::string g_dir;
std::string g_file;
size_t g_fileSize = 0;

void VarLen(std::vector<uint8_t>& b, uint32_t v) {
  uint8_t tmp[4];
  int n = 0;
  do {
    tmp[n++] = uint8_t(v & 0x7F);
    v >>= 7;
  } while (v != 0);
  while (n-- > 0) b.push_back(uint8_t(tmp[n] | (n > 0 ? 0x80 : 0)));
}

// One track of typical playing on its own channel: short notes (note-off as a note-on of velocity
// 0, under running status), controllers, pitch bends, and now and then a text event.
std::vector<uint8_t> MakeTrack(int channel) {
  std::vector<uint8_t> b;
  uint32_t seed = 12345u + uint32_t(channel) * 977u;
  auto next = [&seed] { return (seed = seed * 1664525u + 1013904223u) >> 8; };
  uint8_t running = 0;
  auto status = [&](uint8_t s) {
    if (s != running) b.push_back(s);
    running = s;
  };
  std::vector<uint8_t> held;
  while (b.size() < k_trackBytes) {
    VarLen(b, next() % 8 == 0 ? next() % 400 : next() % 24);
    const uint32_t kind = next() % 16;
    if (kind < 8 && held.size() < 4) {
      const uint8_t note = uint8_t(36 + next() % 60);
      status(uint8_t(0x90 | channel));
      b.push_back(note);
      b.push_back(uint8_t(1 + next() % 126));
      held.push_back(note);
    } else if (kind < 12 && !held.empty()) {
      status(uint8_t(0x90 | channel));
      b.push_back(held.front());
      b.push_back(0);
      held.erase(held.begin());
    } else if (kind < 14) {
      status(uint8_t(0xB0 | channel));
      b.push_back(uint8_t(next() % 2 ? 7 : 11));
      b.push_back(uint8_t(next() % 128));
    } else if (kind < 15) {
      status(uint8_t(0xE0 | channel));
      b.push_back(uint8_t(next() % 128));
      b.push_back(uint8_t(next() % 128));
    } else {
      b.insert(b.end(), {0xFF, 0x01, 0x04, 'c', 'u', 'e', '!'});
      running = 0;
    }
  }
  for (uint8_t note : held) {
    b.insert(b.end(), {0x00, uint8_t(0x80 | channel), note, 0x00});
  }
  b.insert(b.end(), {0x00, 0xFF, 0x2F, 0x00});
  return b;
}

bool WriteFile() {
  char dir[] = "/tmp/nybase-bench-midi-XXXXXX";
  if (::mkdtemp(dir) == nullptr) return false;
  g_dir = dir;
  g_file = g_dir + "/big.mid";
  std::vector<uint8_t> file = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 1, 0, k_tracks, 0x01, 0xE0};
  for (int t = 0; t < k_tracks; ++t) {
    std::vector<uint8_t> track = MakeTrack(t);
    if (t == 0) track.insert(track.begin(), {0x00, 0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20});
    const auto n = uint32_t(track.size());
    file.insert(file.end(),
                {'M', 'T', 'r', 'k', uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)});
    file.insert(file.end(), track.begin(), track.end());
  }
  g_fileSize = file.size();
  FILE* f = std::fopen(g_file.c_str(), "wb");
  const bool ok = f != nullptr && std::fwrite(file.data(), 1, file.size(), f) == file.size();
  return f != nullptr && std::fclose(f) == 0 && ok;
}

lu::Path LibraryPath(const std::string& native) { return lu::Path(lu::platform::FromNativePath(native)); }

void BM_PortSmfRead(benchmark::State& state) {
  for (auto _ : state) {
    Alg_seq seq(g_file.c_str(), true);
    if (seq.get_read_error() != 0) {
      state.SkipWithError("portSMF could not read the file");
      break;
    }
    long events = 0;
    for (int t = 0; t < seq.tracks(); ++t) events += seq.track(t)->length();
    benchmark::DoNotOptimize(events);
    state.counters["events"] = double(events);
  }
  state.SetBytesProcessed(int64_t(state.iterations() * g_fileSize));
}

// Open and Validate: load, check every track, merge into the stream.
void BM_NyValidate(benchmark::State& state) {
  for (auto _ : state) {
    NyMidiFile midi;
    if (midi.Open(LibraryPath(g_file)) != NYRESULT_SUCCESS || midi.Validate() != NYRESULT_SUCCESS) {
      state.SkipWithError("Validate failed");
      break;
    }
    NyMidiInfo info;
    midi.GetMidiInfo(info);
    state.counters["events"] = info.numEvents;
  }
  state.SetBytesProcessed(int64_t(state.iterations() * g_fileSize));
}

// Open, Validate and Convert to a file, the full road of a caller.
void BM_NyValidateConvert(benchmark::State& state) {
  const lu::Path out = LibraryPath(g_dir + "/out.nym");
  for (auto _ : state) {
    NyMidiFile midi;
    if (midi.Open(LibraryPath(g_file)) != NYRESULT_SUCCESS || midi.Validate() != NYRESULT_SUCCESS ||
        midi.Convert(out) != NYRESULT_SUCCESS) {
      state.SkipWithError("Convert failed");
      break;
    }
  }
  state.SetBytesProcessed(int64_t(state.iterations() * g_fileSize));
}

// Open and Convert alone: the stream written without the dry walk.
void BM_NyConvert(benchmark::State& state) {
  const lu::Path out = LibraryPath(g_dir + "/out.nym");
  for (auto _ : state) {
    NyMidiFile midi;
    if (midi.Open(LibraryPath(g_file)) != NYRESULT_SUCCESS || midi.Convert(out) != NYRESULT_SUCCESS) {
      state.SkipWithError("Convert failed");
      break;
    }
  }
  state.SetBytesProcessed(int64_t(state.iterations() * g_fileSize));
}

}  // namespace

BENCHMARK(BM_PortSmfRead)->Unit(benchmark::kMillisecond)->Repetitions(3)->Iterations(1);
BENCHMARK(BM_NyValidate)->Unit(benchmark::kMillisecond)->Repetitions(3)->Iterations(2);
BENCHMARK(BM_NyValidateConvert)->Unit(benchmark::kMillisecond)->Repetitions(3)->Iterations(2);
BENCHMARK(BM_NyConvert)->Unit(benchmark::kMillisecond)->Repetitions(3)->Iterations(2);

int main(int argc, char** argv) {
  nybench::InitializeInterleaved(argc, argv);
  if (!WriteFile()) {
    std::fprintf(stderr, "cannot write the test file under /tmp\n");
    return 1;
  }
  nybench::BestTimeReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("file %.2f MiB, %d tracks, best of repetitions\n", double(g_fileSize) / (1u << 20), k_tracks);
  const double mb = double(g_fileSize) / 1e6;
  for (const char* ours : {"BM_NyValidate", "BM_NyValidateConvert", "BM_NyConvert"}) {
    if (!reporter.bestReal.count(ours) || !reporter.bestReal.count("BM_PortSmfRead")) continue;
    std::printf("%s: %.0f MB/s of source; peer read / ours: wall %.2f, CPU %.2f (target >= 3)\n", ours,
                mb / reporter.bestReal[ours], reporter.bestReal["BM_PortSmfRead"] / reporter.bestReal[ours],
                reporter.bestCpu["BM_PortSmfRead"] / reporter.bestCpu[ours]);
  }
  std::remove((g_dir + "/out.nym").c_str());
  std::remove(g_file.c_str());
  ::rmdir(g_dir.c_str());
  benchmark::Shutdown();
  return 0;
}
