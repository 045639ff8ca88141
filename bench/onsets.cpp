// Onset detection of a 10-minute 48 kHz stereo file against aubio's spectral-flux detector, with
// the share of each stage, peak memory of the file form at 10 and 60 minutes, and the spectrum of
// a 60-minute file.
#include <aubio/aubio.h>
#include <benchmark/benchmark.h>
#include <sndfile.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <nybase/NYBase.h>
#include <nybase/analysis/internal/OnsetAnalysis.h>

namespace detail = lu::analysis::detail;

namespace {

constexpr unsigned int k_rate = 48000;
constexpr unsigned int k_hop = k_rate / 100;
constexpr unsigned int k_window = 2048;
constexpr unsigned int k_chunk = 32768 / k_hop * k_hop;

std::string g_file10, g_file60;
double g_bestNy = std::numeric_limits<double>::max();
double g_bestAubio = std::numeric_limits<double>::max();
double g_cpuNy = std::numeric_limits<double>::max();
double g_cpuAubio = std::numeric_limits<double>::max();
size_t g_nyMarkers = 0, g_aubioOnsets = 0;

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Processor time of this process: the VM's two cores are shared, so wall time alone overstates
// the cost whenever other work runs; both are reported.
double Cpu() {
  timespec ts{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

lu::Path ToPath(const std::string& native) { return lu::Path(CStdStr<wchar_t>(native.c_str())); }

// 16-bit stereo: four bursts a second (noise and 440/1320 Hz tones, 80 ms, varying level) over
// noise at -60 dB. Kept between runs when a file of the right length is already there.
bool MakeFile(const std::string& path, unsigned int minutes) {
  const sf_count_t frames = sf_count_t{minutes} * 60 * k_rate;
  SF_INFO info{};
  if (SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info)) {
    sf_close(f);
    if (info.frames == frames && info.channels == 2 && info.samplerate == static_cast<int>(k_rate)) return true;
  }
  info = SF_INFO{};
  info.samplerate = k_rate;
  info.channels = 2;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
  if (!f) return false;
  std::vector<short> block(2 * k_rate);
  uint32_t seed = 12345;
  auto noise = [&seed] {
    seed = seed * 1664525u + 1013904223u;
    return static_cast<float>(static_cast<int32_t>(seed)) / 2147483648.0f;
  };
  for (sf_count_t second = 0; second < frames / k_rate; ++second) {
    for (unsigned int i = 0; i < k_rate; ++i) {
      const unsigned int burst = i / (k_rate / 4), at = i % (k_rate / 4);
      float v = 0.001f * noise();
      if (at < k_rate * 8 / 100) {
        const float level = 0.3f + 0.15f * static_cast<float>((second + burst) % 5);
        const float fade = std::min(1.0f, static_cast<float>(k_rate * 8 / 100 - at) / (k_rate / 50));
        const float tone = std::sin(6.2831853f * (burst % 2 ? 440.0f : 1320.0f) * at / k_rate);
        v += level * fade * (burst == 0 ? noise() : tone);
      }
      block[2 * i] = static_cast<short>(std::lrint(v * 32767.0f));
      block[2 * i + 1] = static_cast<short>(std::lrint(v * 0.7f * 32767.0f));
    }
    if (sf_writef_short(f, block.data(), k_rate) != k_rate) {
      sf_close(f);
      return false;
    }
  }
  sf_close(f);
  return true;
}

size_t RunNy(const std::string& path) {
  NyOnsetDetector d;
  d.SetSource(ToPath(path));
  std::vector<double> times;
  d.GetMarkerTimes(times, 1.0f);
  return times.size();
}

// aubio's spectral-flux detector with the same window and hop; its source mixes to mono.
size_t RunAubio(const std::string& path) {
  aubio_source_t* src = new_aubio_source(path.c_str(), 0, k_hop);
  if (!src) return 0;
  aubio_onset_t* onset = new_aubio_onset("specflux", k_window, k_hop, aubio_source_get_samplerate(src));
  fvec_t* in = new_fvec(k_hop);
  fvec_t* out = new_fvec(1);
  uint_t read = 0;
  size_t count = 0;
  do {
    aubio_source_do(src, in, &read);
    aubio_onset_do(onset, in, out);
    if (out->data[0] != 0) ++count;
  } while (read == k_hop);
  del_fvec(out);
  del_fvec(in);
  del_aubio_onset(onset);
  del_aubio_source(src);
  return count;
}

void BM_NyOnsetDetector(benchmark::State& state) {
  for (auto _ : state) {
    const double t0 = Now(), c0 = Cpu();
    g_nyMarkers = RunNy(g_file10);
    const double t = Now() - t0;
    state.SetIterationTime(t);
    g_bestNy = std::min(g_bestNy, t);
    g_cpuNy = std::min(g_cpuNy, Cpu() - c0);
  }
  state.counters["x_realtime"] = 600.0 / g_bestNy;
  state.counters["x_realtime_cpu"] = 600.0 / g_cpuNy;
}

void BM_AubioSpecflux(benchmark::State& state) {
  for (auto _ : state) {
    const double t0 = Now(), c0 = Cpu();
    g_aubioOnsets = RunAubio(g_file10);
    const double t = Now() - t0;
    state.SetIterationTime(t);
    g_bestAubio = std::min(g_bestAubio, t);
    g_cpuAubio = std::min(g_cpuAubio, Cpu() - c0);
  }
  state.counters["x_realtime"] = 600.0 / g_bestAubio;
  state.counters["x_realtime_cpu"] = 600.0 / g_cpuAubio;
}

// Each stage of the file form timed on its own over the same amount of work as the 10-minute file.
void StageShares() {
  std::unique_ptr<NyAudioFileReader> reader(NyAudioFileReader::Create(ToPath(g_file10), nullptr));
  if (!reader || !reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data)) return;
  const unsigned int frames = reader->GetNumFrames();
  const size_t windows = frames / k_hop;
  std::vector<float> buffer((k_chunk + k_window) * 2), mono(k_chunk + k_window);

  double t0 = Cpu();
  reader->SeekToAudioFrame(0);
  while (reader->ReadPCMDataAsFloat32(k_chunk, buffer.data()) != 0) {
  }
  const double decode = Cpu() - t0;

  t0 = Cpu();
  for (size_t done = 0; done < frames; done += k_chunk) detail::Downmix(buffer.data(), 2, k_chunk, mono.data());
  const double downmix = Cpu() - t0;

  detail::SpectralFlux flux;
  flux.Init();
  float sink = 0;
  const size_t perChunk = k_chunk / k_hop;
  t0 = Cpu();
  for (size_t w = 0; w < windows; ++w) flux.Window(mono.data() + (w % perChunk) * k_hop);
  const double window = Cpu() - t0;
  t0 = Cpu();
  for (size_t w = 0; w < windows; ++w) flux.Transform();
  const double fft = Cpu() - t0;
  t0 = Cpu();
  for (size_t w = 0; w < windows; ++w) sink += flux.PowerAndFlux();
  const double powerFlux = Cpu() - t0;
  benchmark::DoNotOptimize(sink);

  const double sum = decode + downmix + window + fft + powerFlux;
  std::printf("stages over %zu windows (processor ms, share of their sum %.0f ms; whole SetSource %.0f ms of processor time):\n", windows,
              sum * 1e3, g_cpuNy * 1e3);
  std::printf("  decode %.0f (%.1f%%)  downmix %.0f (%.1f%%)  window %.0f (%.1f%%)  power+flux %.0f (%.1f%%)\n",
              decode * 1e3, 100 * decode / sum, downmix * 1e3, 100 * downmix / sum, window * 1e3,
              100 * window / sum, powerFlux * 1e3, 100 * powerFlux / sum);
  std::printf("  FFT %.0f (%.1f%%); everything around the FFT: %.1f%%\n", fft * 1e3, 100 * fft / sum,
              100 * (sum - fft) / sum);
}

// Peak resident memory (KiB) and processor seconds of a child process that analyses `path` (empty: does
// nothing), so that each measurement starts from the same state.
std::pair<long, double> ChildPeak(const std::string& path) {
  int fds[2];
  if (::pipe(fds) != 0) return {-1, 0};
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::close(fds[0]);
    const double t0 = Cpu();
    if (!path.empty()) RunNy(path);
    const double t = Cpu() - t0;
    if (::write(fds[1], &t, sizeof t) != sizeof t) ::_exit(1);
    ::_exit(0);
  }
  ::close(fds[1]);
  double seconds = 0;
  if (::read(fds[0], &seconds, sizeof seconds) != sizeof seconds) seconds = -1;
  ::close(fds[0]);
  int status = 0;
  struct rusage usage {};
  if (pid < 0 || ::wait4(pid, &status, 0, &usage) != pid) return {-1, 0};
  return {usage.ru_maxrss, seconds};
}

}  // namespace

BENCHMARK(BM_NyOnsetDetector)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AubioSpecflux)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  const char* dirEnv = std::getenv("NYBASE_BENCH_DIR");
  const std::string dir = dirEnv ? dirEnv : "/tmp/nybase-bench-onsets";
  ::mkdir(dir.c_str(), 0700);
  g_file10 = dir + "/bursts-10min.wav";
  g_file60 = dir + "/bursts-60min.wav";
  if (!MakeFile(g_file10, 10) || !MakeFile(g_file60, 60)) {
    std::fprintf(stderr, "bench_onsets: cannot write the input files in %s\n", dir.c_str());
    return 1;
  }
  // Both readers start from a page-cached file.
  RunAubio(g_file10);

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();

  std::printf("\n10 min, 48 kHz stereo 16-bit (best of 3; wall, then processor time):\n");
  std::printf("  NyOnsetDetector::SetSource  %6.0f ms = %5.0fx real time | %6.0f ms = %5.0fx (%zu markers)\n",
              g_bestNy * 1e3, 600.0 / g_bestNy, g_cpuNy * 1e3, 600.0 / g_cpuNy, g_nyMarkers);
  std::printf("  aubio specflux 2048 / 480   %6.0f ms = %5.0fx real time | %6.0f ms = %5.0fx (%zu onsets)\n",
              g_bestAubio * 1e3, 600.0 / g_bestAubio, g_cpuAubio * 1e3, 600.0 / g_cpuAubio, g_aubioOnsets);
  std::printf("  speed ratio NyOnsetDetector / aubio: %.2fx wall, %.2fx processor\n", g_bestAubio / g_bestNy,
              g_cpuAubio / g_cpuNy);
  StageShares();

  const auto base = ChildPeak("");
  const auto ten = ChildPeak(g_file10);
  const auto sixty = ChildPeak(g_file60);
  std::printf("peak RSS of a child process: idle %ld KiB, 10 min %ld KiB, 60 min %ld KiB; 60 - 10 = %ld KiB\n",
              base.first, ten.first, sixty.first, sixty.first - ten.first);
  std::printf("  60-minute SetSource in that child: %.2f s of processor time = %.0fx real time\n", sixty.second,
              3600.0 / sixty.second);

  FFTHelper fft(4096, FFTHelper::Hann);
  std::vector<float> spectrum;
  unsigned int rate = 0;
  const double t0 = Now(), c0 = Cpu();
  const bool ok = fft.GetSpectrum(ToPath(g_file60), spectrum, rate, nullptr);
  const double t = Now() - t0, c = Cpu() - c0;
  std::printf("GetSpectrum, 60 min, n = 4096: %s in %.2f s wall, %.2f s processor (%.0fx real time); "
              "strongest above -1 dB: %.0f Hz\n",
              ok ? "ok" : "FAILED", t, c, 3600.0 / c, FFTHelper::FindMaximumFrequency(spectrum, rate, -1.0));
  return 0;
}
